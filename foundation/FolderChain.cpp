// Walking down to an output folder without following links, and checking that it is the one seen.
#include "foundation/FolderChain.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "foundation/Paths.h"

namespace {

FolderId IdOf(const struct stat& info) {
    return {static_cast<u64>(info.st_dev), static_cast<u64>(info.st_ino)};
}

const char* BaseText(const std::string& base) {
    return base.empty() ? "." : base.c_str();
}

} // namespace

i32 LookAtFolderChain(const std::wstring& base, const std::vector<std::wstring>& names,
                      std::vector<FolderId>& seen, FolderChainStop& stop) {
    seen.clear();
    stop = FolderChainStop::kNone;
    const std::string basePath = ToFileSystemPath(base);
    CFileDescriptor folder(::open(BaseText(basePath), O_PATH | O_DIRECTORY | O_CLOEXEC));
    struct stat info {};
    if (!folder.Valid() || ::fstat(folder.Get(), &info) != 0)
        return LastWin32Error();
    seen.push_back(IdOf(info));
    for (const std::wstring& name : names) {
        const std::string bytes = ToFileSystemPath(name);
        if (::fstatat(folder.Get(), bytes.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) {
            if (errno != ENOENT)
                return LastWin32Error();
            stop = FolderChainStop::kMissing;
            return 0;
        }
        if (!S_ISDIR(info.st_mode)) {
            stop = S_ISLNK(info.st_mode) ? FolderChainStop::kLink : FolderChainStop::kNotFolder;
            return 0;
        }
        folder = CFileDescriptor(
            ::openat(folder.Get(), bytes.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (!folder.Valid() || ::fstat(folder.Get(), &info) != 0)
            return LastWin32Error();
        seen.push_back(IdOf(info));
    }
    return 0;
}

i32 OpenFolderChain(const std::wstring& base, const std::vector<std::wstring>& names,
                    const std::vector<FolderId>& seen, CFileDescriptor& out) {
    const std::string basePath = ToFileSystemPath(base);
    CFileDescriptor folder(::open(BaseText(basePath), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct stat info {};
    if (!folder.Valid() || ::fstat(folder.Get(), &info) != 0)
        return LastWin32Error();
    if (!seen.empty() && IdOf(info) != seen[0])
        return kFolderChanged;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::string bytes = ToFileSystemPath(names[i]);
        // The folders below seen's last one were missing: they are made here.
        const bool existed = i + 1 < seen.size();
        const int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
        CFileDescriptor next(::openat(folder.Get(), bytes.c_str(), flags));
        if (!next.Valid() && errno == ENOENT && !existed) {
            if (::mkdirat(folder.Get(), bytes.c_str(), 0777) != 0 && errno != EEXIST)
                return LastWin32Error();
            next = CFileDescriptor(::openat(folder.Get(), bytes.c_str(), flags));
        }
        if (!next.Valid()) {
            // A link (ELOOP), a file (ENOTDIR) or nothing where a folder was or was to be made.
            if (errno == ELOOP || errno == ENOTDIR || errno == ENOENT)
                return kFolderChanged;
            return LastWin32Error();
        }
        if (::fstat(next.Get(), &info) != 0)
            return LastWin32Error();
        if (existed && IdOf(info) != seen[i + 1])
            return kFolderChanged;
        folder = std::move(next);
    }
    out = std::move(folder);
    return 0;
}
