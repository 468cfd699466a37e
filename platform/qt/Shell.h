// Handing things to the desktop: opening an address or a file, showing an item in the file
// manager.
#pragma once

#include <string>

// Opens file (a web address, or a path) with the desktop's handler. parameters are not used by
// the desktop's opener and must be empty. Throws my::CException 58831 when nothing opens it.
void ShellOpen(const std::wstring& file, const std::wstring& parameters);
// Shows path selected in a file manager window (org.freedesktop.FileManager1.ShowItems); when
// no file manager answers, opens the folder that holds it.
void ShowInExplorer(const std::wstring& path);
