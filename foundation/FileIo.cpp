// Files on disk: descriptors, errno as Win32 codes, whole-file reads and the atomic replacement.
#include "foundation/FileIo.h"

#include <atomic>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <mutex>
#include <set>
#include <string_view>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>

#include "foundation/Paths.h"
#include "foundation/Win32Error.h"

namespace {

// A temporary file that has to carry a name is ".lvx-<16 hex digits>-<inode>.tmp": the digits are
// random, and the inode is the file's own, so that no file of a user's matches the form by
// accident (a copy of such a file has another inode). Its writer holds an flock on it from before
// the name exists until the file has taken its final name, so that a sweep tells a live file from
// a leftover in any process, in any PID namespace.
constexpr std::string_view kTempPrefix = ".lvx-";
constexpr std::string_view kTempSuffix = ".tmp";
constexpr std::size_t kTokenDigits = 16;
// The kernel's own limit on a chain of links.
constexpr int kMostLinks = 40;

// The folder part of a file-system path, with its trailing "/"; empty for a bare name.
std::string FolderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

// The inode that a temporary file's name records; 0 when the name is not of that form.
u64 InodeOfTemporaryName(std::string_view name) {
    if (!name.starts_with(kTempPrefix) || !name.ends_with(kTempSuffix))
        return 0;
    name.remove_prefix(kTempPrefix.size());
    name.remove_suffix(kTempSuffix.size());
    if (name.size() < kTokenDigits + 2 || name.size() > kTokenDigits + 21 ||
        name[kTokenDigits] != '-')
        return 0;
    for (std::size_t i = 0; i < kTokenDigits; ++i) {
        if (!std::isxdigit(static_cast<unsigned char>(name[i])))
            return 0;
    }
    u64 inode = 0;
    for (std::size_t i = kTokenDigits + 1; i < name.size(); ++i) {
        if (name[i] < '0' || name[i] > '9')
            return 0;
        inode = inode * 10 + static_cast<u64>(name[i] - '0');
    }
    return inode;
}

std::string TemporaryName(u64 inode) {
    u64 token = 0;
    if (::getrandom(&token, sizeof token, 0) != sizeof token) {
        static std::atomic<u64> counter{0};
        token = (static_cast<u64>(::getpid()) << 32) ^ counter.fetch_add(1) ^
                static_cast<u64>(::time(nullptr));
    }
    char digits[kTokenDigits + 1];
    std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(token));
    return std::string(kTempPrefix) + digits + "-" + std::to_string(inode) +
           std::string(kTempSuffix);
}

// Files that are sources of this process's run: never swept, whatever their names.
std::mutex g_sweepMutex;
std::set<std::pair<u64, u64>> g_kept;
// Folders (path, device, inode) whose leftovers this process has already removed: once per folder
// is enough, since a process that dies later leaves its files to the next run, and a batch of
// thousands of files into one folder must not read that folder thousands of times. The path is
// part of the key because a file system may give a new folder the inode of one just removed.
std::set<std::tuple<std::string, u64, u64>> g_swept;

bool IsKept(const struct stat& info) {
    std::lock_guard lock(g_sweepMutex);
    return g_kept.contains({static_cast<u64>(info.st_dev), static_cast<u64>(info.st_ino)});
}

// Removes the leftovers of folder: regular files of this user named as temporary files, whose
// recorded inode is their own, with one link, no source of the run, and no writer holding them.
void SweepFolder(int folder) {
    const int readable = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (readable < 0)
        return;
    DIR* dir = ::fdopendir(readable);
    if (!dir) {
        ::close(readable);
        return;
    }
    while (const dirent* entry = ::readdir(dir)) {
        const u64 inode = InodeOfTemporaryName(entry->d_name);
        struct stat info {};
        if (inode == 0 || ::fstatat(folder, entry->d_name, &info, AT_SYMLINK_NOFOLLOW) != 0)
            continue;
        if (!S_ISREG(info.st_mode) || static_cast<u64>(info.st_ino) != inode ||
            info.st_uid != ::geteuid() || info.st_nlink != 1 || IsKept(info))
            continue;
        CFileDescriptor fd(
            ::openat(folder, entry->d_name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        struct stat opened {};
        if (!fd.Valid() || ::fstat(fd.Get(), &opened) != 0 || opened.st_ino != info.st_ino ||
            opened.st_dev != info.st_dev)
            continue;
        // A live writer holds the lock until its file has its final name.
        if (::flock(fd.Get(), LOCK_EX | LOCK_NB) != 0)
            continue;
        struct stat again {};
        if (::fstatat(folder, entry->d_name, &again, AT_SYMLINK_NOFOLLOW) == 0 &&
            again.st_ino == info.st_ino && again.st_dev == info.st_dev)
            ::unlinkat(folder, entry->d_name, 0);
    }
    ::closedir(dir);
}

void SweepOnce(int folder, const std::string& path) {
    struct stat info {};
    if (::fstat(folder, &info) != 0)
        return;
    {
        std::lock_guard lock(g_sweepMutex);
        if (!g_swept.emplace(path, static_cast<u64>(info.st_dev), static_cast<u64>(info.st_ino))
                 .second)
            return;
    }
    SweepFolder(folder);
}

// A file for the new contents in folder, locked by this process. Where the file system allows it
// the file has no name at all until it is complete (named false), so that a run that is killed
// leaves nothing behind. Elsewhere it is made exclusively under a name of the temporary form.
i32 CreateTemporary(int folder, unsigned mode, CFileDescriptor& fd, std::string& name,
                    bool allowUnnamed) {
    name.clear();
    if (allowUnnamed) {
        fd = CFileDescriptor(::openat(folder, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, mode));
        if (fd.Valid())
            return ::flock(fd.Get(), LOCK_EX) == 0 ? 0 : LastWin32Error();
        if (errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL && errno != ENOENT)
            return LastWin32Error();
    }
    for (int attempt = 0; attempt < 100; ++attempt) {
        // Made under a name of no sweepable form, locked, then named after its inode.
        const std::string first = TemporaryName(0);
        fd = CFileDescriptor(::openat(folder, first.c_str(),
                                      O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
        if (!fd.Valid() && errno == EEXIST)
            continue;
        if (!fd.Valid())
            return LastWin32Error();
        struct stat info {};
        if (::flock(fd.Get(), LOCK_EX) != 0 || ::fstat(fd.Get(), &info) != 0) {
            const i32 code = LastWin32Error();
            ::unlinkat(folder, first.c_str(), 0);
            return code;
        }
        name = TemporaryName(static_cast<u64>(info.st_ino));
        if (::renameat2(folder, first.c_str(), folder, name.c_str(), RENAME_NOREPLACE) == 0)
            return 0;
        const i32 code = LastWin32Error();
        ::unlinkat(folder, first.c_str(), 0);
        return code;
    }
    return win32::kAlreadyExists;
}

// Gives an unnamed file the name `name` in folder; EEXIST when the name is taken.
bool LinkUnnamed(int fd, int folder, const std::string& name) {
    const std::string self = "/proc/self/fd/" + std::to_string(fd);
    if (::linkat(AT_FDCWD, self.c_str(), folder, name.c_str(), AT_SYMLINK_FOLLOW) == 0)
        return true;
    if (errno == ENOENT && ::access("/proc/self/fd", F_OK) != 0)
        return ::linkat(fd, "", folder, name.c_str(), AT_EMPTY_PATH) == 0;
    return false;
}

// Gives the finished temporary file the target's name. Without replace the kernel refuses, in the
// rename or the link itself, a name that is taken, so that nothing made meanwhile is ever
// replaced. An unnamed file that must replace a file is first linked under a temporary name.
i32 PutInPlace(int fd, int folder, std::string& temporary, const std::string& target,
               bool replace) {
    if (temporary.empty()) {
        if (!replace) {
            if (LinkUnnamed(fd, folder, target))
                return 0;
            return errno == EEXIST ? win32::kFileExists : LastWin32Error();
        }
        struct stat info {};
        if (::fstat(fd, &info) != 0)
            return LastWin32Error();
        const std::string name = TemporaryName(static_cast<u64>(info.st_ino));
        if (!LinkUnnamed(fd, folder, name))
            return LastWin32Error();
        temporary = name;
    }
    if (replace)
        return ::renameat(folder, temporary.c_str(), folder, target.c_str()) == 0
                   ? 0
                   : LastWin32Error();
    if (::renameat2(folder, temporary.c_str(), folder, target.c_str(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno == EEXIST)
        return win32::kFileExists;
    if (errno != EINVAL)
        return LastWin32Error();
    // A file system that cannot refuse inside the rename: the name is looked at just before it.
    struct stat taken {};
    if (::fstatat(folder, target.c_str(), &taken, AT_SYMLINK_NOFOLLOW) == 0)
        return win32::kFileExists;
    return ::renameat(folder, temporary.c_str(), folder, target.c_str()) == 0 ? 0
                                                                              : LastWin32Error();
}

// One attempt at the write; an unnamed file that cannot be given a name asks for a named one.
i32 WriteOnce(int folder, const std::string& name, const u8* data, std::size_t size,
              const AtomicWriteOptions& options, bool allowUnnamed, bool& wantNamed) {
    wantNamed = false;
    std::string temporary;
    CFileDescriptor fd;
    if (i32 code = CreateTemporary(folder, options.newFileMode, fd, temporary, allowUnnamed))
        return code;
    // The new file keeps the permissions of the file it replaces (not those of a link's target).
    struct stat old {};
    if (::fstatat(folder, name.c_str(), &old, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(old.st_mode))
        ::fchmod(fd.Get(), old.st_mode & 07777);
    i32 code = WriteAll(fd.Get(), data, size);
    if (code == 0 && options.modified) {
        const timespec times[2] = {{0, UTIME_OMIT}, *options.modified};
        if (::futimens(fd.Get(), times) != 0)
            code = LastWin32Error();
    }
    if (code == 0 && ::fsync(fd.Get()) != 0)
        code = LastWin32Error();
    if (code == 0 && options.beforeReplace && !options.beforeReplace())
        return win32::kOperationAborted;
    const bool unnamed = temporary.empty();
    if (code == 0)
        code = PutInPlace(fd.Get(), folder, temporary, name, options.replaceExisting);
    if (code != 0 && unnamed && temporary.empty() && code != win32::kFileExists && allowUnnamed) {
        // No way to name an unnamed file here (no /proc): the next attempt makes a named one.
        wantNamed = true;
    }
    if (code != 0 && !temporary.empty())
        ::unlinkat(folder, temporary.c_str(), 0);
    if (i32 closed = fd.Close(); code == 0)
        code = closed;
    return code;
}

} // namespace

CFileDescriptor& CFileDescriptor::operator=(CFileDescriptor&& other) noexcept {
    if (this != &other) {
        if (fd_ >= 0)
            ::close(fd_);
        fd_ = other.Release();
    }
    return *this;
}

CFileDescriptor::~CFileDescriptor() {
    if (fd_ >= 0)
        ::close(fd_);
}

int CFileDescriptor::Release() {
    const int fd = fd_;
    fd_ = -1;
    return fd;
}

i32 CFileDescriptor::Close() {
    if (fd_ < 0)
        return 0;
    // The descriptor is gone after close whatever it answers; EINTR must not lead to a retry.
    return ::close(Release()) == 0 ? 0 : LastWin32Error();
}

i32 LastWin32Error() {
    return Win32FromErrno(errno);
}

HResult ResultFromErrno(int error) {
    return ResultFromWin32(Win32FromErrno(error));
}

i32 WriteAll(int fd, const u8* data, std::size_t size) {
    while (size > 0) {
        const ssize_t done = ::write(fd, data, size);
        if (done < 0 && errno == EINTR)
            continue;
        if (done < 0)
            return LastWin32Error();
        if (done == 0)
            return win32::kDiskFull;
        data += done;
        size -= static_cast<std::size_t>(done);
    }
    return 0;
}

i32 ReadWholeFile(const std::wstring& path, u64 maxBytes, std::vector<u8>& out, bool& exists,
                  u64& size) {
    exists = false;
    size = 0;
    const std::string name = ToFileSystemPath(path);
    // What stands there is judged before it is opened: opening a device can have effects of its
    // own, and a pipe would have nothing to read until a writer came.
    struct stat info {};
    if (::stat(name.c_str(), &info) != 0)
        return errno == ENOENT ? 0 : LastWin32Error();
    exists = true;
    auto refused = [&](const struct stat& found) {
        if (S_ISDIR(found.st_mode))
            return win32::kDirectory;
        if (!S_ISREG(found.st_mode))
            return win32::kAccessDenied;
        size = static_cast<u64>(found.st_size);
        return size > maxBytes ? win32::kFileTooLarge : 0;
    };
    if (i32 code = refused(info))
        return code;
    // The name may have been given to something else since: the open does not wait on a pipe, and
    // what was opened is judged once more.
    CFileDescriptor fd(::open(name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!fd.Valid()) {
        exists = errno != ENOENT;
        return exists ? LastWin32Error() : 0;
    }
    if (::fstat(fd.Get(), &info) != 0)
        return LastWin32Error();
    if (i32 code = refused(info))
        return code;
    std::vector<u8> bytes;
    bytes.reserve(static_cast<std::size_t>(size));
    u8 buffer[16384];
    for (;;) {
        const ssize_t n = ::read(fd.Get(), buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return LastWin32Error();
        if (n == 0)
            break;
        bytes.insert(bytes.end(), buffer, buffer + n);
        // A file that grows while it is read is judged by what it has become.
        if (bytes.size() > maxBytes) {
            size = bytes.size();
            return win32::kFileTooLarge;
        }
    }
    out = std::move(bytes);
    return 0;
}

i32 OpenOwnFile(const std::wstring& path, int flags, CFileDescriptor& out) {
    // O_NONBLOCK: a pipe planted under the name must not stop the program in the open.
    CFileDescriptor fd(
        ::open(ToFileSystemPath(path).c_str(), flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
    if (!fd.Valid())
        return LastWin32Error();
    struct stat info {};
    if (::fstat(fd.Get(), &info) != 0)
        return LastWin32Error();
    if (!S_ISREG(info.st_mode))
        return win32::kAccessDenied;
    const int status = ::fcntl(fd.Get(), F_GETFL);
    if (status < 0 || ::fcntl(fd.Get(), F_SETFL, status & ~O_NONBLOCK) != 0)
        return LastWin32Error();
    out = std::move(fd);
    return 0;
}

i32 ResolveLinks(const std::wstring& path, std::wstring& target) {
    std::string current = ToFileSystemPath(path);
    for (int hop = 0; hop <= kMostLinks; ++hop) {
        struct stat info {};
        if (::lstat(current.c_str(), &info) != 0) {
            if (errno != ENOENT)
                return LastWin32Error();
            target = FromFileSystemPath(current);
            return 0;
        }
        if (!S_ISLNK(info.st_mode)) {
            target = FromFileSystemPath(current);
            return 0;
        }
        std::string link(static_cast<std::size_t>(info.st_size > 0 ? info.st_size : 255) + 1, '\0');
        const ssize_t n = ::readlink(current.c_str(), link.data(), link.size());
        if (n < 0)
            return LastWin32Error();
        if (static_cast<std::size_t>(n) >= link.size())
            return win32::kFilenameExcedRange; // the link changed while it was read
        link.resize(static_cast<std::size_t>(n));
        current = link.starts_with('/') ? link : FolderOf(current) + link;
    }
    return Win32FromErrno(ELOOP);
}

i32 WriteFileAtomically(const std::wstring& path, const u8* data, std::size_t size,
                        const AtomicWriteOptions& options) {
    std::wstring targetPath = path;
    if (options.throughLinks) {
        if (i32 code = ResolveLinks(path, targetPath))
            return code;
    }
    const std::string target = ToFileSystemPath(targetPath);
    const std::string folderPath = FolderOf(target);
    CFileDescriptor folder(
        ::open(folderPath.empty() ? "." : folderPath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.Valid())
        return LastWin32Error();
    return WriteFileAtomicallyAt(folder.Get(), FromFileSystemPath(folderPath),
                                 target.substr(folderPath.size()), data, size, options);
}

i32 WriteFileAtomicallyAt(int folder, const std::wstring& folderPath, const std::string& name,
                          const u8* data, std::size_t size, const AtomicWriteOptions& options) {
    if (name.empty() || name.find('/') != std::string::npos)
        return win32::kInvalidParameter;
    SweepOnce(folder, ToFileSystemPath(folderPath));
    bool wantNamed = false;
    i32 code = WriteOnce(folder, name, data, size, options, true, wantNamed);
    if (wantNamed)
        code = WriteOnce(folder, name, data, size, options, false, wantNamed);
    if (code != 0)
        return code;
    // The new name itself lasts only once the folder that holds it is synced. Some file systems
    // cannot sync a folder; the file itself is on the disk already.
    ::fsync(folder);
    return 0;
}

void KeepFromSweeps(const std::wstring& path) {
    struct stat info {};
    if (::stat(ToFileSystemPath(path).c_str(), &info) != 0)
        return;
    std::lock_guard lock(g_sweepMutex);
    g_kept.insert({static_cast<u64>(info.st_dev), static_cast<u64>(info.st_ino)});
}

void RemoveStaleTemporaryFiles(const std::wstring& folder) {
    const std::string path = ToFileSystemPath(folder);
    CFileDescriptor dir(
        ::open(path.empty() ? "." : path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (dir.Valid())
        SweepFolder(dir.Get());
}
