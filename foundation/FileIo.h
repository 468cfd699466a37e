// Files on disk, the one way for the whole program: the descriptor owner, failed calls as Win32
// codes, reading a whole file, opening a file of our own without following a link, and the atomic
// replacement of a file. No Qt.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "foundation/Types.h"

// An open descriptor, closed by its owner on every path.
class CFileDescriptor {
public:
    CFileDescriptor() = default;
    explicit CFileDescriptor(int fd) : fd_(fd) {}
    CFileDescriptor(CFileDescriptor&& other) noexcept : fd_(other.Release()) {}
    CFileDescriptor& operator=(CFileDescriptor&& other) noexcept;
    CFileDescriptor(const CFileDescriptor&) = delete;
    CFileDescriptor& operator=(const CFileDescriptor&) = delete;
    ~CFileDescriptor();

    int Get() const { return fd_; }
    bool Valid() const { return fd_ >= 0; }
    // Hands the descriptor over; this owner holds none afterwards.
    int Release();
    // Closes now: 0, or the Win32 code of a failed close (a write that the disk refused late).
    i32 Close();

private:
    int fd_ = -1;
};

// The Win32 code of the errno that the last failed call left.
i32 LastWin32Error();
// The result code of an errno value: 0 stays 0, anything else becomes 0x8007xxxx of its Win32
// code.
HResult ResultFromErrno(int error);

// Writes all bytes, resuming after interrupted and partial writes. 0 or the Win32 code.
i32 WriteAll(int fd, const u8* data, std::size_t size);

// Reads the whole regular file at path (links followed) into out, never more than maxBytes. A
// missing file is no failure: 0 with exists false. Nothing else is read, nor waited on: a folder
// is refused with 267 (ERROR_DIRECTORY) and a pipe, a device or a socket with 5, both without
// being opened; a file larger than maxBytes with 223 (ERROR_FILE_TOO_LARGE), judged by its size
// before a byte is read; size is then the file's size. out changes only on success.
i32 ReadWholeFile(const std::wstring& path, u64 maxBytes, std::vector<u8>& out, bool& exists,
                  u64& size);

// Opens path, a regular file of the program's own (a lock, a log), with flags (O_RDWR or O_WRONLY,
// O_CREAT, O_EXCL, O_TRUNC as needed), never through a link: a link in its place fails with
// 1921 (ERROR_CANT_RESOLVE_FILENAME), anything but a regular file with 5. A new file gets mode
// 0600.
i32 OpenOwnFile(const std::wstring& path, int flags, CFileDescriptor& out);

// The file that path finally names: path itself when it is no link, else the end of its chain of
// links, which need not exist. At most 40 links are followed (then 1921).
i32 ResolveLinks(const std::wstring& path, std::wstring& target);

struct AtomicWriteOptions {
    // When path is a link: true replaces the file that it points to and keeps the link; false
    // replaces the link itself by a plain file.
    bool throughLinks = false;
    // The permissions of a new file, before the umask; a replaced file keeps its own.
    unsigned newFileMode = 0666;
    // Called once the temporary file is written and synced, before it replaces the target; false
    // ends the write there, as a crash would, leaving the temporary file (for tests).
    std::function<bool()> beforeReplace;
    // false: the new file takes the name only where nothing stands under it yet; a file, a link
    // or a folder there is left as it is and the write fails with 80 (ERROR_FILE_EXISTS).
    bool replaceExisting = true;
};

// Replaces the file at path as a whole: a temporary file ".lvx<pid>-<n>.tmp" is created
// exclusively in the target's folder (never through a link), written, synced, renamed over the
// target (or, without replaceExisting, put under a name that is still free), and the folder is
// synced so that the rename lasts. The target is either the old file or the whole new one. Before
// the first write into a folder, the temporary files that dead processes left in it are removed. 0
// or the Win32 code; 995 when beforeReplace said no.
i32 WriteFileAtomically(const std::wstring& path, const u8* data, std::size_t size,
                        const AtomicWriteOptions& options = {});

// Removes from folder the regular files named ".lvx<pid>-<n>.tmp" whose process no longer
// exists. Files of live processes, of other users and any other names stay.
void RemoveStaleTemporaryFiles(const std::wstring& folder);
