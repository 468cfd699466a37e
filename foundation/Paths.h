// Paths as plain wide strings: taking them apart, building them, making folders, finding what
// exists. The separator rules of the platform are kept here and nowhere else.
// Any thread.
#pragma once

#include <string>

#include "foundation/Types.h"

// Paths are spelt the POSIX way: "/" is the only separator, written and read, and a colon or a
// backslash is an ordinary character.
bool IsPathSeparator(wchar_t c);
wchar_t PathSeparator();

// Adds a separator unless path is empty or ends in a separator; then name. The name is not
// inspected.
void AppendPath(std::wstring& path, const std::wstring& name);
// Cuts path behind its last separator (which stays) and puts the rest in tail; with no separator
// tail takes all and path becomes empty. False for an empty path.
bool SplitLastComponent(std::wstring& path, std::wstring& tail);
// Splits the last component at its last "."; false when that component is empty.
bool SplitFileName(const std::wstring& path, std::wstring& base, std::wstring& extension);
// The text before the last separator; empty without one.
std::wstring ParentPath(const std::wstring& path);

bool FileExists(const std::wstring& path); // files and folders
bool IsDirectory(const std::wstring& path);
bool IsRootLike(const std::wstring& path);

// Makes the folder with all missing parents. Returns a Win32 code, 0 for success; a folder that
// exists already is a success, anything else in its place is not.
i32 CreateFolderTree(const std::wstring& path);
// Walks up from path to the nearest folder that exists (or a root).
std::wstring NearestExistingFolder(const std::wstring& path);

// Wide text to the file system's bytes (UTF-8) and back.
std::string ToFileSystemPath(const std::wstring& path);
std::wstring FromFileSystemPath(const std::string& path);
