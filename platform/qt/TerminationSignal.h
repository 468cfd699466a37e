// The end of the session as this platform announces it to a program without a session protocol:
// SIGTERM, which a desktop sends at log-out and `kill` sends by default. Main thread only.
#pragma once

#include <functional>
#include <memory>

class QSocketNotifier;

// While it lives, a SIGTERM does not end the process at once: the signal handler only writes a
// byte into a pipe, and the event loop of the main thread then runs onTerminate. One object per
// process; the default action comes back when it is destroyed.
class CTerminationSignal {
public:
    explicit CTerminationSignal(std::function<void()> onTerminate);
    CTerminationSignal(const CTerminationSignal&) = delete;
    CTerminationSignal& operator=(const CTerminationSignal&) = delete;
    ~CTerminationSignal();

    // False when the pipe or the handler could not be set up; SIGTERM then keeps its default.

private:
    void OnReadable();

    std::function<void()> onTerminate_;
    std::unique_ptr<QSocketNotifier> notifier_;
    bool active_ = false;
};
