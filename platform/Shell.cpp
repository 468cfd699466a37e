// The desktop hand-over through xdg-open and gdbus, run as child processes.
#include "platform/Shell.h"

#include <spawn.h>
#include <unistd.h>

#include <cerrno>

#include "foundation/Exception.h"
#include "foundation/Paths.h"
#include "foundation/Utf8.h"
#include "foundation/Win32Error.h"
#include "resources/StringIds.h"

extern char** environ;

namespace {

// xdg-open's exit status as the shell's answer: 0 success, 1 bad arguments, 2 no such file,
// 3 no tool for it, 4 the action failed.
i32 ShellValueOfXdgOpen(int status) {
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

my::CException ShellFailure(i32 value, const std::wstring& file, const std::wstring& parameters) {
    return my::CException(strid::kShellOpenFailed, ResultFromWin32(ShellResultToWin32(value)),
                          file + L" " + parameters);
}

} // namespace

bool StartProgram(const std::vector<std::string>& argv, int& startErrno,
                  CChildWatch::EndHandler onEnd) {
    startErrno = 0;
    std::vector<char*> args;
    for (const std::string& a : argv)
        args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    pid_t pid = 0;
    int rc = ::posix_spawnp(&pid, args[0], nullptr, nullptr, args.data(), environ);
    if (rc != 0) {
        startErrno = rc;
        return false;
    }
    CChildWatch::Current().Watch(pid, std::move(onEnd));
    return true;
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

void ShellOpen(const std::wstring& file, const std::wstring& parameters,
               ShellFailureHandler onFailure) {
    std::vector<std::string> argv{"xdg-open", Utf8FromWide(file)};
    if (!parameters.empty())
        argv.push_back(Utf8FromWide(parameters));
    int startErrno = 0;
    bool started = StartProgram(argv, startErrno, [file, parameters, onFailure](int status) {
        i32 value = ShellValueOfXdgOpen(status);
        if (ShellResultToWin32(value) != 0 && onFailure)
            onFailure(ShellFailure(value, file, parameters));
    });
    if (!started)
        throw ShellFailure(startErrno == ENOMEM ? 8 : 31, file, parameters);
}

void ShowInExplorer(const std::wstring& path, ShellFailureHandler onFailure) {
    if (!FileExists(path))
        throw my::CException(strid::kShellOpenFailed, HResult{0x80070003}, path);
    std::wstring folder = IsDirectory(path) ? path : ParentPath(path);
    if (folder.empty())
        folder.assign(1, PathSeparator());
    // The item goes inside a GVariant string literal; percent-encoding leaves no quote in it.
    const std::vector<std::string> argv{"gdbus",
                                        "call",
                                        "--session",
                                        "--timeout",
                                        "5",
                                        "--dest",
                                        "org.freedesktop.FileManager1",
                                        "--object-path",
                                        "/org/freedesktop/FileManager1",
                                        "--method",
                                        "org.freedesktop.FileManager1.ShowItems",
                                        "['" + FileUri(path) + "']",
                                        ""};
    // The fall-back runs where the watch calls back, so its own failure to start is reported
    // there rather than thrown.
    auto openFolderOnFailure = [folder, onFailure](int status) {
        if (status == 0)
            return;
        try {
            ShellOpen(folder, L"", onFailure);
        } catch (const my::CException& failure) {
            if (onFailure)
                onFailure(failure);
        }
    };
    int startErrno = 0;
    if (!StartProgram(argv, startErrno, openFolderOnFailure))
        ShellOpen(folder, L"", onFailure);
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
