// SIGTERM and SIGINT for lunavex-batch: taken by a thread of their own, so that a request to stop
// ends the batch between two files instead of in the middle of one. No Qt.
#pragma once

#include <functional>

namespace lvx {

// Blocks SIGTERM and SIGINT in the calling thread, and so in every thread started after it, and
// starts a thread that waits for them. The first one is recorded (StopSignal) and the waker, when
// one is set, is called on that thread; a second one ends the process by that signal at once, for
// a user who will not wait for the file in work (outputs are replaced whole, so none is left
// half-written). Main thread, once, before any other thread starts; false when the thread could
// not start, and the signals then keep their default action.
bool CatchStopSignals();

// The number of the signal that asked the run to stop; 0 while none has. Any thread.
int StopSignal();

// Sets what a stop signal calls so that a thread waiting on a condition looks at StopSignal()
// again; an empty function removes it. The call happens under a lock that this function also
// takes, so once it returns the old waker is never called again. Any thread that does not hold a
// lock that wake takes.
void SetStopWaker(std::function<void()> wake);

} // namespace lvx
