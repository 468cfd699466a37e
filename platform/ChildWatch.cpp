// The process's child watch and the default one, which waits on a thread per child.
#include "platform/ChildWatch.h"

#include <sys/wait.h>

#include <atomic>
#include <cerrno>
#include <thread>

namespace {

class CThreadChildWatch : public CChildWatch {
public:
    void Watch(pid_t pid, EndHandler onEnd) override {
        std::thread([pid, onEnd = std::move(onEnd)] {
            int status = Reap(pid);
            if (onEnd)
                onEnd(status);
        }).detach();
    }
};

CThreadChildWatch g_defaultWatch;
std::atomic<CChildWatch*> g_watch{&g_defaultWatch};

} // namespace

CChildWatch& CChildWatch::Current() {
    return *g_watch.load();
}

CChildWatch* CChildWatch::Install(CChildWatch* watch) {
    return g_watch.exchange(watch ? watch : &g_defaultWatch);
}

int CChildWatch::Reap(pid_t pid) {
    int status = 0;
    pid_t got;
    do {
        got = ::waitpid(pid, &status, 0);
    } while (got < 0 && errno == EINTR);
    if (got < 0)
        return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
