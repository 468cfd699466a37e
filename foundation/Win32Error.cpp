// The one mapping between errno values and Win32 codes.
#include "foundation/Win32Error.h"

#include <cerrno>

namespace {

struct ErrnoPair {
    int error;
    i32 code;
};

// errno to Win32, in the direction a failed POSIX call is reported. Several errno values may share
// one code; the first row of a code is also its way back to errno.
constexpr ErrnoPair kPairs[] = {
    {ENOENT, win32::kFileNotFound},
    {ENOTDIR, win32::kPathNotFound},
    {EMFILE, win32::kTooManyOpenFiles},
    {ENFILE, win32::kTooManyOpenFiles},
    {EACCES, win32::kAccessDenied},
    {EPERM, win32::kAccessDenied},
    {EISDIR, win32::kDirectory},
    {ENOMEM, win32::kNotEnoughMemory},
    {EROFS, win32::kWriteProtect},
    {EINVAL, win32::kInvalidParameter},
    {ENOSPC, win32::kDiskFull},
    {EDQUOT, win32::kDiskFull},
    {EBUSY, win32::kBusy},
    {ETXTBSY, win32::kSharingViolation},
    {EEXIST, win32::kAlreadyExists},
    {ENOTEMPTY, 145}, // ERROR_DIR_NOT_EMPTY
    {ENAMETOOLONG, win32::kFilenameExcedRange},
    {EFBIG, win32::kFileTooLarge},
    {ECANCELED, win32::kOperationAborted},
    {EFAULT, win32::kNoAccess},
    {EIO, win32::kIoDevice},
    {EXDEV, 17},   // ERROR_NOT_SAME_DEVICE
    {EBADF, 6},    // ERROR_INVALID_HANDLE
    {ELOOP, 1921}, // ERROR_CANT_RESOLVE_FILENAME
    {ETIMEDOUT, win32::kTimeout},
    {ENOEXEC, win32::kBadFormat},
    {ENOSYS, win32::kInvalidFunction},
    {EAGAIN, 21}, // ERROR_NOT_READY
};

// Codes whose own text says more than the errno text would; they map back without a pair above.
constexpr ErrnoPair kBackOnly[] = {
    {ENOENT, win32::kPathNotFound},
    {ENOMEM, win32::kOutOfMemory},
    {EIO, win32::kGenFailure},
};

} // namespace

i32 Win32FromErrno(int error) {
    if (error == 0)
        return win32::kSuccess;
    for (const ErrnoPair& pair : kPairs) {
        if (pair.error == error)
            return pair.code;
    }
    return win32::kGenFailure;
}

int ErrnoFromWin32(i32 code) {
    for (const ErrnoPair& pair : kBackOnly) {
        if (pair.code == code)
            return pair.error;
    }
    for (const ErrnoPair& pair : kPairs) {
        if (pair.code == code)
            return pair.error;
    }
    return 0;
}

HResult ResultFromLastError() {
    int error = errno;
    if (error <= 0)
        return static_cast<HResult>(error);
    return ResultFromWin32(Win32FromErrno(error));
}
