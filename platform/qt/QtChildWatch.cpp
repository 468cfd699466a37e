// Children watched through process file descriptors on the main thread's event loop.
#include "platform/qt/QtChildWatch.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <QSocketNotifier>

namespace {

// glibc 2.36 declares pidfd_open without C linkage for C++, so the system call is made directly.
int OpenProcessFd(pid_t pid) {
    return static_cast<int>(::syscall(SYS_pidfd_open, pid, 0));
}

} // namespace

CQtChildWatch::CQtChildWatch() : previous_(CChildWatch::Install(this)) {}

CQtChildWatch::~CQtChildWatch() {
    CChildWatch::Install(previous_);
    for (auto& [pid, child] : children_) {
        child.notifier.reset();
        ::close(child.fd);
        CChildWatch::Current().Watch(pid, {});
    }
}

void CQtChildWatch::Watch(pid_t pid, EndHandler onEnd) {
    int fd = OpenProcessFd(pid);
    if (fd < 0) {
        // A kernel without pidfd (before 5.3): the child is reaped in the background and its
        // status goes unread, so the hand-over counts as done.
        previous_->Watch(pid, {});
        return;
    }
    Child& child = children_[pid];
    child.fd = fd;
    child.onEnd = std::move(onEnd);
    child.notifier = std::make_unique<QSocketNotifier>(fd, QSocketNotifier::Read);
    QObject::connect(child.notifier.get(), &QSocketNotifier::activated, child.notifier.get(),
                     [this, pid] { OnEnded(pid); });
}

void CQtChildWatch::OnEnded(pid_t pid) {
    auto found = children_.find(pid);
    if (found == children_.end())
        return;
    // The child leaves the map before its callback runs: the callback may start the next helper.
    Child child = std::move(found->second);
    children_.erase(found);
    child.notifier->setEnabled(false);
    child.notifier.release()->deleteLater();
    ::close(child.fd);
    int status = Reap(pid);
    if (child.onEnd)
        child.onEnd(status);
}
