// Files on disk: descriptors, errno as Win32 codes, whole-file reads and the atomic replacement.
#include "foundation/FileIo.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <mutex>
#include <set>
#include <signal.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "foundation/Paths.h"
#include "foundation/Win32Error.h"

namespace {

constexpr std::string_view kTempPrefix = ".lvx";
constexpr std::string_view kTempSuffix = ".tmp";
// The kernel's own limit on a chain of links.
constexpr int kMostLinks = 40;

// The folder part of a file-system path, with its trailing "/"; empty for a bare name.
std::string FolderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

// The pid of a temporary file's name ".lvx<pid>-<n>.tmp"; 0 when the name is not of that form.
pid_t PidOfTemporaryName(std::string_view name) {
    if (!name.starts_with(kTempPrefix) || !name.ends_with(kTempSuffix))
        return 0;
    name.remove_prefix(kTempPrefix.size());
    name.remove_suffix(kTempSuffix.size());
    const std::size_t dash = name.find('-');
    if (dash == 0 || dash == std::string_view::npos || dash + 1 == name.size() || dash > 9)
        return 0;
    for (std::size_t i = 0; i < name.size(); ++i) {
        if (i != dash && (name[i] < '0' || name[i] > '9'))
            return 0;
    }
    pid_t pid = 0;
    for (std::size_t i = 0; i < dash; ++i)
        pid = pid * 10 + (name[i] - '0');
    return pid;
}

bool ProcessIsGone(pid_t pid) {
    return ::kill(pid, 0) != 0 && errno == ESRCH;
}

// Folders whose leftovers this process has already removed: once per folder is enough, since a
// process that dies later leaves its files to the next run, and a batch of thousands of files
// into one folder must not read that folder thousands of times.
std::mutex g_sweptMutex;
std::set<std::string> g_swept;

void SweepOnce(const std::string& folder) {
    {
        std::lock_guard lock(g_sweptMutex);
        if (!g_swept.insert(folder).second)
            return;
    }
    RemoveStaleTemporaryFiles(FromFileSystemPath(folder.empty() ? std::string(".") : folder));
}

// A temporary file in folder, created exclusively: an existing name, even a link, is never opened.
i32 CreateTemporary(const std::string& folder, unsigned mode, std::string& name,
                    CFileDescriptor& fd) {
    static std::atomic<u32> counter{0};
    for (int attempt = 0; attempt < 100; ++attempt) {
        name = folder + std::string(kTempPrefix) + std::to_string(::getpid()) + "-" +
               std::to_string(counter.fetch_add(1)) + std::string(kTempSuffix);
        fd = CFileDescriptor(
            ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
        if (fd.Valid())
            return 0;
        if (errno != EEXIST)
            return LastWin32Error();
    }
    return win32::kAlreadyExists;
}

// Gives the finished temporary file the target's name. Without replace the kernel refuses, in the
// rename itself, a name that is taken, so that nothing made meanwhile is ever replaced.
i32 PutInPlace(const std::string& temporary, const std::string& target, bool replace) {
    if (replace)
        return ::rename(temporary.c_str(), target.c_str()) == 0 ? 0 : LastWin32Error();
    if (::renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno == EEXIST)
        return win32::kFileExists;
    if (errno != EINVAL)
        return LastWin32Error();
    // A file system that cannot refuse inside the rename: the name is looked at just before it.
    struct stat taken {};
    if (::lstat(target.c_str(), &taken) == 0)
        return win32::kFileExists;
    return ::rename(temporary.c_str(), target.c_str()) == 0 ? 0 : LastWin32Error();
}

void SyncFolder(const std::string& folder) {
    CFileDescriptor dir(
        ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // Some file systems cannot sync a folder; the file itself is on the disk already.
    if (dir.Valid())
        ::fsync(dir.Get());
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
    const std::string folder = FolderOf(target);
    SweepOnce(folder);

    std::string temporary;
    CFileDescriptor fd;
    if (i32 code = CreateTemporary(folder, options.newFileMode, temporary, fd))
        return code;
    // The new file keeps the permissions of the file it replaces (not those of a link's target).
    struct stat old {};
    if (::lstat(target.c_str(), &old) == 0 && S_ISREG(old.st_mode))
        ::fchmod(fd.Get(), old.st_mode & 07777);
    i32 code = WriteAll(fd.Get(), data, size);
    if (code == 0 && ::fsync(fd.Get()) != 0)
        code = LastWin32Error();
    if (i32 closed = fd.Close(); code == 0)
        code = closed;
    if (code == 0 && options.beforeReplace && !options.beforeReplace())
        return win32::kOperationAborted;
    if (code == 0)
        code = PutInPlace(temporary, target, options.replaceExisting);
    if (code != 0) {
        ::unlink(temporary.c_str());
        return code;
    }
    // The rename itself lasts only once the folder that holds the name is synced.
    SyncFolder(folder);
    return 0;
}

void RemoveStaleTemporaryFiles(const std::wstring& folder) {
    DIR* dir = ::opendir(ToFileSystemPath(folder).c_str());
    if (!dir)
        return;
    const int dirFd = ::dirfd(dir);
    while (const dirent* entry = ::readdir(dir)) {
        const pid_t pid = PidOfTemporaryName(entry->d_name);
        if (pid <= 0 || !ProcessIsGone(pid))
            continue;
        struct stat info {};
        if (::fstatat(dirFd, entry->d_name, &info, AT_SYMLINK_NOFOLLOW) != 0)
            continue;
        if (S_ISREG(info.st_mode) && info.st_uid == ::geteuid())
            ::unlinkat(dirFd, entry->d_name, 0);
    }
    ::closedir(dir);
}
