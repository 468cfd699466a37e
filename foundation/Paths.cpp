// Path functions over std::filesystem and POSIX calls, with errno mapped to Win32 codes.
#include "foundation/Paths.h"

#include <cerrno>
#include <sys/stat.h>

#include <filesystem>
#include <system_error>

#include "foundation/Utf8.h"
#include "foundation/Win32Error.h"

namespace {

PathStyle g_style = PathStyle::Posix;

bool IsAsciiLetter(wchar_t c) {
    return (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z');
}

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

PathStyle CurrentPathStyle() {
    return g_style;
}
void SetPathStyle(PathStyle style) {
    g_style = style;
}

bool IsPathSeparator(wchar_t c) {
    return c == L'/' || (g_style == PathStyle::Windows && c == L'\\');
}

wchar_t PathSeparator() {
    return g_style == PathStyle::Windows ? L'\\' : L'/';
}

void AppendPath(std::wstring& path, const std::wstring& name) {
    if (!path.empty()) {
        wchar_t last = path.back();
        bool colon = g_style == PathStyle::Windows && last == L':';
        if (!IsPathSeparator(last) && !colon)
            path += PathSeparator();
    }
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

void RemoveLastComponent(std::wstring& path) {
    std::wstring tail;
    SplitLastComponent(path, tail);
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

bool IsExistingFile(const std::wstring& path) {
    struct stat st;
    return StatPath(path, st) && !S_ISDIR(st.st_mode);
}

bool IsDrivePath(const std::wstring& path) {
    if (g_style != PathStyle::Windows || path.empty())
        return false;
    return path.back() == L':' && IsAsciiLetter(path.front());
}

bool IsUncServerPath(const std::wstring& path) {
    if (g_style != PathStyle::Windows || path.size() < 2)
        return false;
    if (!IsPathSeparator(path[0]) || !IsPathSeparator(path[1]))
        return false;
    for (size_t i = 2; i < path.size(); ++i) {
        if (IsPathSeparator(path[i]))
            return i + 1 == path.size();
    }
    return true;
}

bool IsRootLike(const std::wstring& path) {
    if (path.empty())
        return false;
    if (IsUncServerPath(path) || IsDrivePath(path))
        return true;
    if (g_style == PathStyle::Windows && path.size() >= 2 && IsPathSeparator(path.back()) &&
        path[path.size() - 2] == L':')
        return true;
    // A bare name, or on this platform the root "/" itself.
    return LastSeparator(path) == std::wstring::npos ||
           (g_style == PathStyle::Posix && path == L"/");
}

i32 CreateFolderTree(const std::wstring& path) {
    if (g_style == PathStyle::Windows) {
        size_t colon = path.find(L':');
        if (colon != std::wstring::npos && colon + 2 == path.size() && path.back() == L'\\')
            return FileExists(path) ? 0 : win32::kAccessDenied;
    }
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
        // "/a" has the parent "" on this platform; the root is the folder that exists.
        if (parent.empty() && g_style == PathStyle::Posix && IsPathSeparator(result.front()))
            parent = L"/";
        result = parent;
    }
    if (IsDrivePath(result))
        result += L'\\';
    return result;
}

std::string ToFileSystemPath(const std::wstring& path) {
    return Utf8FromWide(path);
}

std::wstring FromFileSystemPath(const std::string& path) {
    return WideFromUtf8(path);
}
