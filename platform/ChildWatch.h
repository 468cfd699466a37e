// Learning that a helper program has ended, and how, without waiting for it.
#pragma once

#include <sys/types.h>

#include <functional>

// Reaps a child process once it has ended and calls back with its exit status: the status it
// exited with, or 128 plus the signal that ended it. The process has one watch in use. The window
// program installs one that calls back on its main thread (platform/qt/QtChildWatch.h); without
// it, the default watch waits on a thread of its own and calls back on that thread.
class CChildWatch {
public:
    using EndHandler = std::function<void(int status)>;

    virtual ~CChildWatch() = default;
    // Takes charge of pid, a child of this process that nobody else waits for. onEnd may be empty:
    // the child is then only reaped.
    virtual void Watch(pid_t pid, EndHandler onEnd) = 0;

    // The watch in use. Any thread.
    static CChildWatch& Current();
    // Makes watch the one in use (null: the default again) and returns the one it replaces.
    static CChildWatch* Install(CChildWatch* watch);
    // Waits for pid to end, reaps it and returns its exit status as above; -1 when pid is not a
    // child that can be waited for.
    static int Reap(pid_t pid);
};
