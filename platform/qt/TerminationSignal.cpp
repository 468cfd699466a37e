// SIGTERM handed from its signal handler to the main thread's event loop through a pipe.
#include "platform/qt/TerminationSignal.h"

#include <cerrno>
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <QSocketNotifier>

namespace {

// The pipe's two ends; the handler may only make async-signal-safe calls, so it writes one byte.
int g_pipe[2] = {-1, -1};

void OnSigterm(int) {
    const int saved = errno;
    const char byte = 1;
    [[maybe_unused]] ssize_t written = ::write(g_pipe[1], &byte, 1);
    errno = saved;
}

} // namespace

CTerminationSignal::CTerminationSignal(std::function<void()> onTerminate)
    : onTerminate_(std::move(onTerminate)) {
    if (g_pipe[0] >= 0 || ::pipe2(g_pipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    notifier_ = std::make_unique<QSocketNotifier>(g_pipe[0], QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                     [this] { OnReadable(); });
    struct sigaction action {};
    action.sa_handler = OnSigterm;
    ::sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    active_ = ::sigaction(SIGTERM, &action, nullptr) == 0;
}

CTerminationSignal::~CTerminationSignal() {
    if (active_)
        ::signal(SIGTERM, SIG_DFL);
    notifier_.reset();
    for (int& fd : g_pipe) {
        if (fd >= 0)
            ::close(fd);
        fd = -1;
    }
}

void CTerminationSignal::OnReadable() {
    char bytes[16];
    while (::read(g_pipe[0], bytes, sizeof bytes) > 0) {
    }
    if (onTerminate_)
        onTerminate_();
}
