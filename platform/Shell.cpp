// The desktop hand-over through xdg-open and gdbus, run as child processes.
#include "platform/Shell.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

#include "foundation/Exception.h"
#include "foundation/Paths.h"
#include "foundation/Utf8.h"
#include "foundation/Win32Error.h"

extern char** environ;

namespace {

constexpr i32 kIdShellFailed = 58831;
// How long a hand-over waits for the helper to fail before it counts as started.
constexpr int kHandOverWaitMs = 3000;

struct Outcome {
    std::mutex lock;
    std::condition_variable changed;
    bool ended = false;
    int status = 0;
};

// xdg-open's exit status as the shell's answer: 0 success, 1 bad arguments, 2 no such file,
// 3 no tool for it, 4 the action failed.
i32 ShellValueOfXdgOpen(int status, int startErrno) {
    if (status == kStillRunning)
        return 42;
    if (status < 0)
        return startErrno == ENOMEM ? 8 : 31;
    switch (status) {
    case 0:
        return 42;
    case 1:
        return 11;
    case 2:
        return 2;
    default:
        return 31;
    }
}

} // namespace

int RunProgram(const std::vector<std::string>& argv, int& startErrno, int waitMs) {
    startErrno = 0;
    std::vector<char*> args;
    for (const std::string& a : argv)
        args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    pid_t pid = 0;
    int rc = ::posix_spawnp(&pid, args[0], nullptr, nullptr, args.data(), environ);
    if (rc != 0) {
        startErrno = rc;
        return -1;
    }
    // A reaper thread owns the child: it waits for the end and reports it, so a child that outlives
    // our wait leaves no zombie behind.
    auto outcome = std::make_shared<Outcome>();
    std::thread([pid, outcome] {
        int status = 0;
        pid_t got;
        do {
            got = ::waitpid(pid, &status, 0);
        } while (got < 0 && errno == EINTR);
        std::lock_guard<std::mutex> guard(outcome->lock);
        outcome->status = got < 0             ? -1
                          : WIFEXITED(status) ? WEXITSTATUS(status)
                                              : 128 + WTERMSIG(status);
        outcome->ended = true;
        outcome->changed.notify_all();
    }).detach();
    std::unique_lock<std::mutex> guard(outcome->lock);
    auto ended = [&] { return outcome->ended; };
    if (waitMs < 0)
        outcome->changed.wait(guard, ended);
    else if (!outcome->changed.wait_for(guard, std::chrono::milliseconds(waitMs), ended))
        return kStillRunning;
    return outcome->status;
}

i32 ShellResultToWin32(i32 value) {
    if (value > 32)
        return win32::kSuccess;
    switch (value) {
    case 0:
    case 8:
        return win32::kOutOfMemory;
    case 2:
        return win32::kFileNotFound;
    case 3:
        return win32::kPathNotFound;
    case 5:
        return win32::kAccessDenied;
    case 11:
        return win32::kBadFormat;
    case 26:
        return win32::kSharingViolation;
    case 27:
    case 31:
        return win32::kNoAssociation;
    case 28:
        return win32::kTimeout;
    case 29:
        return win32::kDdeFail;
    case 30:
        return win32::kBusy;
    case 32:
        return win32::kDllNotFound;
    default:
        return win32::kInvalidFunction;
    }
}

void ShellOpen(const std::wstring& file, const std::wstring& parameters) {
    std::vector<std::string> argv{"xdg-open", Utf8FromWide(file)};
    if (!parameters.empty())
        argv.push_back(Utf8FromWide(parameters));
    int startErrno = 0;
    int status = RunProgram(argv, startErrno, kHandOverWaitMs);
    i32 code = ShellResultToWin32(ShellValueOfXdgOpen(status, startErrno));
    if (code == 0)
        return;
    throw my::CException(kIdShellFailed, ResultFromWin32(code), file + L" " + parameters);
}

void ShowInExplorer(const std::wstring& path) {
    if (!FileExists(path))
        throw my::CException(kIdShellFailed, HResult{0x80070003}, path);
    // The item goes inside a GVariant string literal; percent-encoding leaves no quote in it.
    std::string items = "['" + FileUri(path) + "']";
    int startErrno = 0;
    int status = RunProgram({"gdbus", "call", "--session", "--timeout", "5", "--dest",
                             "org.freedesktop.FileManager1", "--object-path",
                             "/org/freedesktop/FileManager1", "--method",
                             "org.freedesktop.FileManager1.ShowItems", items, ""},
                            startErrno, kHandOverWaitMs);
    if (status == 0)
        return;
    std::wstring folder = IsDirectory(path) ? path : ParentPath(path);
    ShellOpen(folder.empty() ? std::wstring(1, PathSeparator()) : folder, L"");
}

std::string FileUri(const std::wstring& path) {
    static const char hex[] = "0123456789ABCDEF";
    std::string uri = "file://";
    for (unsigned char c : Utf8FromWide(path)) {
        bool plain = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
                     c == '-' || c == '.' || c == '_' || c == '~' || c == '/';
        if (plain) {
            uri += static_cast<char>(c);
        } else {
            uri += '%';
            uri += hex[c >> 4];
            uri += hex[c & 0xF];
        }
    }
    return uri;
}
