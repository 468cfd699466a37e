// Path functions over std::filesystem and POSIX calls, with errno mapped to Win32 codes.
#include "foundation/Paths.h"

#include <cerrno>
#include <sys/stat.h>

#include <filesystem>
#include <system_error>

#include "foundation/Utf8.h"
#include "foundation/Win32Error.h"

namespace {

size_t LastSeparator(const std::wstring& path) {
    for (size_t i = path.size(); i > 0; --i) {
        if (IsPathSeparator(path[i - 1]))
            return i - 1;
    }
    return std::wstring::npos;
}

bool StatPath(const std::wstring& path, struct stat& st) {
    if (path.empty())
        return false;
    return ::stat(ToFileSystemPath(path).c_str(), &st) == 0;
}

} // namespace

bool IsPathSeparator(wchar_t c) {
    return c == L'/';
}

wchar_t PathSeparator() {
    return L'/';
}

void AppendPath(std::wstring& path, const std::wstring& name) {
    if (!path.empty() && !IsPathSeparator(path.back()))
        path += PathSeparator();
    path += name;
}

bool SplitLastComponent(std::wstring& path, std::wstring& tail) {
    if (path.empty())
        return false;
    size_t pos = LastSeparator(path);
    if (pos == std::wstring::npos) {
        tail = path;
        path.clear();
        return true;
    }
    tail = path.substr(pos + 1);
    path.erase(pos + 1);
    return true;
}

bool SplitFileName(const std::wstring& path, std::wstring& base, std::wstring& extension) {
    size_t pos = LastSeparator(path);
    std::wstring name = pos == std::wstring::npos ? path : path.substr(pos + 1);
    if (name.empty())
        return false;
    size_t dot = name.rfind(L'.');
    if (dot == std::wstring::npos) {
        base = name;
        extension.clear();
        return true;
    }
    base = name.substr(0, dot);
    extension = name.substr(dot + 1);
    return true;
}

std::wstring ParentPath(const std::wstring& path) {
    size_t pos = LastSeparator(path);
    return pos == std::wstring::npos ? std::wstring() : path.substr(0, pos);
}

bool FileExists(const std::wstring& path) {
    struct stat st;
    return StatPath(path, st);
}

bool IsDirectory(const std::wstring& path) {
    struct stat st;
    return StatPath(path, st) && S_ISDIR(st.st_mode);
}

bool IsRootLike(const std::wstring& path) {
    if (path.empty())
        return false;
    // A bare name, or the root "/" itself.
    return LastSeparator(path) == std::wstring::npos || path == L"/";
}

i32 CreateFolderTree(const std::wstring& path) {
    if (path.empty())
        return win32::kPathNotFound;
    std::error_code ec;
    std::filesystem::path target(ToFileSystemPath(path));
    std::filesystem::create_directories(target, ec);
    if (!ec)
        return 0;
    if (IsDirectory(path))
        return 0;
    // Something that is not a folder stands in the way, at the folder's own name (EEXIST, which
    // would otherwise read as "already exists" and count as success) or above it (ENOTDIR).
    if (ec.value() == EEXIST || ec.value() == ENOTDIR)
        return win32::kFileExists;
    return static_cast<i32>(Win32FromErrno(ec.value()));
}

std::wstring NearestExistingFolder(const std::wstring& path) {
    std::wstring result = path;
    if (result.size() > 1 && IsPathSeparator(result.back()))
        result.pop_back();
    while (!result.empty() && !IsRootLike(result) && !FileExists(result)) {
        std::wstring parent = ParentPath(result);
        // "/a" has the parent ""; the root is the folder that exists.
        if (parent.empty() && IsPathSeparator(result.front()))
            parent = L"/";
        result = parent;
    }
    return result;
}

std::string ToFileSystemPath(const std::wstring& path) {
    return Utf8FromWide(path);
}

std::wstring FromFileSystemPath(const std::string& path) {
    return WideFromUtf8(path);
}
