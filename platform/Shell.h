// Handing a file, a folder or an address over to the desktop: opening it with its program
// (xdg-open) and showing an item selected in the file manager (the FileManager1 D-Bus service).
// Both run as child processes, found on PATH, so that a recording stand-in can take their place.
// A call only starts the helper and returns: the window never waits for it (xdg-open keeps a
// browser in the foreground on some desktops). The helper's exit status arrives later through the
// process's child watch (platform/ChildWatch.h), and a failure is reported then.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "foundation/Exception.h"
#include "foundation/Types.h"
#include "platform/ChildWatch.h"

// What a hand-over does with a failure that arrives after the call has returned: the exception
// that the call would have thrown. It runs where the child watch calls back, which is the main
// thread in the window program.
using ShellFailureHandler = std::function<void(const my::CException& failure)>;

// Starts argv[0] from PATH with the arguments without waiting for it; the child watch calls onEnd
// with its exit status. False, with startErrno set and onEnd never called, when it could not be
// started.
bool StartProgram(const std::vector<std::string>& argv, int& startErrno,
                  CChildWatch::EndHandler onEnd);

// The Win32 code for a shell's answer: above 32 is success (0), the rest as the shell defines it.
i32 ShellResultToWin32(i32 value);

// Opens file (a path or an address) with the desktop's program for it. Parameters, when given,
// go along as further arguments. Returns once the opener has started. The failure is
// my::CException strid::kShellOpenFailed with the result code and "file parameters": thrown when
// the opener cannot be started, handed to onFailure when it ends with a failure.
void ShellOpen(const std::wstring& file, const std::wstring& parameters,
               ShellFailureHandler onFailure);

// Shows path selected in a new file manager window; when no file manager answers on D-Bus, its
// folder is opened as ShellOpen does once that answer has arrived. Throws my::CException
// strid::kShellOpenFailed (0x80070003) for a path that does not exist; the fall-back's failures go
// as ShellOpen's.
void ShowInExplorer(const std::wstring& path, ShellFailureHandler onFailure);

// A file: URI for an absolute path, every byte but the unreserved ones and "/" percent-encoded.
std::string FileUri(const std::wstring& path);
