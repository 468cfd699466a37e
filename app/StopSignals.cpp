// SIGTERM and SIGINT received by a waiting thread instead of a handler, so that what they start
// may take locks and wake other threads.
#include "app/StopSignals.h"

#include <atomic>
#include <csignal>
#include <mutex>
#include <pthread.h>
#include <system_error>
#include <thread>

namespace lvx {
namespace {

std::atomic<int> g_signal{0};
std::mutex g_wakerMutex;
std::function<void()> g_waker;

sigset_t StopSet() {
    sigset_t set;
    ::sigemptyset(&set);
    ::sigaddset(&set, SIGTERM);
    ::sigaddset(&set, SIGINT);
    return set;
}

[[noreturn]] void EndBySignal(int signal) {
    std::signal(signal, SIG_DFL);
    sigset_t one;
    ::sigemptyset(&one);
    ::sigaddset(&one, signal);
    ::pthread_sigmask(SIG_UNBLOCK, &one, nullptr);
    ::raise(signal);
    std::_Exit(128 + signal); // not reached: the default action ends the process
}

void WaitForSignals(sigset_t set) {
    for (;;) {
        int signal = 0;
        if (::sigwait(&set, &signal) != 0)
            continue;
        if (g_signal.load() != 0)
            EndBySignal(signal);
        std::lock_guard lock(g_wakerMutex);
        g_signal.store(signal);
        if (g_waker)
            g_waker();
    }
}

} // namespace

bool CatchStopSignals() {
    const sigset_t set = StopSet();
    sigset_t old;
    if (::pthread_sigmask(SIG_BLOCK, &set, &old) != 0)
        return false;
    try {
        // The thread waits until the process ends; nothing joins it.
        std::thread(WaitForSignals, set).detach();
    } catch (const std::system_error&) {
        ::pthread_sigmask(SIG_SETMASK, &old, nullptr);
        return false;
    }
    return true;
}

int StopSignal() {
    return g_signal.load();
}

void SetStopWaker(std::function<void()> wake) {
    std::lock_guard lock(g_wakerMutex);
    g_waker = std::move(wake);
}

} // namespace lvx
