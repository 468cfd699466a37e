// The child watch of the window program: a child's end arrives as an event of the main thread's
// loop, so that what follows from it (a box, a beep, the next helper) runs on the main thread.
#pragma once

#include <sys/types.h>

#include <map>
#include <memory>

#include "platform/ChildWatch.h"

class QSocketNotifier;

// While it lives, it is the process's child watch. Each child gets a process file descriptor
// (pidfd), which becomes readable when the child ends; a notifier on the main thread's loop then
// reaps the child and calls back. One object per process, made and used on the main thread only.
// When it goes, the children it still watches are handed to the watch it replaced, to be reaped
// there, and their callbacks are dropped: nothing calls back into objects that are gone.
class CQtChildWatch : public CChildWatch {
public:
    CQtChildWatch();
    ~CQtChildWatch() override;
    CQtChildWatch(const CQtChildWatch&) = delete;
    CQtChildWatch& operator=(const CQtChildWatch&) = delete;

    void Watch(pid_t pid, EndHandler onEnd) override;

    // How many children are being watched.
    size_t Watching() const { return children_.size(); }

private:
    struct Child {
        int fd = -1;
        EndHandler onEnd;
        std::unique_ptr<QSocketNotifier> notifier;
    };

    void OnEnded(pid_t pid);

    std::map<pid_t, Child> children_;
    CChildWatch* previous_ = nullptr;
};
