// Files on disk, the one way for the whole program: the descriptor owner, failed calls as Win32
// codes, reading a whole file, opening a file of our own without following a link, and the atomic
// replacement of a file. No Qt.
// Any thread; the sweeps of leftovers and KeepFromSweeps share one lock.
#pragma once

#include <cstddef>
#include <ctime>
#include <functional>
#include <optional>
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
    // When set, the new file's modification time, given before it takes the name.
    std::optional<timespec> modified;
};

// Replaces the file at path as a whole: the new contents go into a file of the target's folder
// (never through a link) that has no name while it is written where the file system allows it,
// else a name of the form ".lvx-<16 hex digits>-<its inode>.tmp" that no file of a user's takes by
// accident; it is written, synced, and given the target's name (renamed over it or, without
// replaceExisting, put under a name that is still free), and the folder is synced so that the
// new name lasts. The target is either the old file or the whole new one. The writer holds an
// flock on its file until the file has its final name. Before the first write into a folder, the
// leftovers of writers that are gone are removed (see RemoveStaleTemporaryFiles). 0 or the Win32
// code; 995 when beforeReplace said no.
i32 WriteFileAtomically(const std::wstring& path, const u8* data, std::size_t size,
                        const AtomicWriteOptions& options = {});
// The same into the open folder `folder` under name, a single component: the folder is the one
// the descriptor holds, wherever its path leads meanwhile. folderPath, the path it was opened by,
// only tells whether its leftovers were removed already. throughLinks is not looked at.
i32 WriteFileAtomicallyAt(int folder, const std::wstring& folderPath, const std::string& name,
                          const u8* data, std::size_t size, const AtomicWriteOptions& options = {});

// Removes from folder the leftovers of atomic writes: regular files of this user named
// ".lvx-<16 hex digits>-<inode>.tmp" whose inode is the one the name records, with a single link,
// that no live writer holds locked and that are no file given to KeepFromSweeps. Anything else
// stays, whatever its name.
void RemoveStaleTemporaryFiles(const std::wstring& folder);
// The file at path (links followed) is never removed by a sweep of this process: a source of the
// run may carry any name.
void KeepFromSweeps(const std::wstring& path);
