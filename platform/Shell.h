// Handing a file, a folder or an address over to the desktop: opening it with its program
// (xdg-open) and showing an item selected in the file manager (the FileManager1 D-Bus service).
// Both run as child processes, found on PATH, so that a recording stand-in can take their place.
// A call waits a moment for the helper to report a failure; a helper that is still running then
// (xdg-open keeps a browser in the foreground on some desktops) counts as having opened it, and
// is reaped in the background, so the window never freezes behind it.
#pragma once

#include <string>
#include <vector>

#include "foundation/Types.h"

constexpr int kStillRunning = -2;

// Runs argv[0] from PATH with the arguments and waits at most waitMs milliseconds for it (a
// negative value waits for ever). Returns its exit status, kStillRunning when it had not ended by
// then, or -1 when it could not be started (startErrno then holds the reason).
int RunProgram(const std::vector<std::string>& argv, int& startErrno, int waitMs = -1);

// The Win32 code for a shell's answer: above 32 is success (0), the rest as the shell defines it.
i32 ShellResultToWin32(i32 value);

// Opens file (a path or an address) with the desktop's program for it. Parameters, when given,
// go along as further arguments. Throws my::CException 58831 with the result code and
// "file parameters" when the desktop cannot open it.
void ShellOpen(const std::wstring& file, const std::wstring& parameters);

// Shows path selected in a new file manager window; falls back to opening its folder when no
// file manager answers on D-Bus. Throws my::CException 58831 (0x80070003) for a path that does
// not exist, and as ShellOpen when the fall-back fails.
void ShowInExplorer(const std::wstring& path);

// A file: URI for an absolute path, every byte but the unreserved ones and "/" percent-encoded.
std::string FileUri(const std::wstring& path);
