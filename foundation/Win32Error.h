// The one mapping between the C library's errno values and the Win32 codes that the logic speaks.
// Any thread: the mapping keeps no state, and the last error is the calling thread's errno.
#pragma once

#include "foundation/Types.h"

// Win32 codes that the program raises or maps to.
namespace win32 {
constexpr i32 kSuccess = 0;
constexpr i32 kInvalidFunction = 1;
constexpr i32 kFileNotFound = 2;
constexpr i32 kPathNotFound = 3;
constexpr i32 kTooManyOpenFiles = 4;
constexpr i32 kAccessDenied = 5;
constexpr i32 kNotEnoughMemory = 8;
constexpr i32 kBadFormat = 11;
constexpr i32 kFileExists = 80; // a name that must be new is taken: a folder to make, a new file
constexpr i32 kOutOfMemory = 14;
constexpr i32 kWriteProtect = 19;
constexpr i32 kGenFailure = 31;
constexpr i32 kSharingViolation = 32;
constexpr i32 kInvalidParameter = 87;
constexpr i32 kDiskFull = 112;
constexpr i32 kBusy = 170;
constexpr i32 kAlreadyExists = 183;
constexpr i32 kFilenameExcedRange = 206;
constexpr i32 kFileTooLarge = 223;
constexpr i32 kDirectory = 267; // ERROR_DIRECTORY: a folder where a file was expected
constexpr i32 kOperationAborted = 995;
constexpr i32 kNoAccess = 998;
constexpr i32 kIoDevice = 1117;
constexpr i32 kNoAssociation = 1155;
constexpr i32 kDdeFail = 1156;
constexpr i32 kDllNotFound = 1157;
constexpr i32 kTimeout = 1460;
constexpr i32 kResourceNameNotFound = 1814;
constexpr i32 kCantResolveFilename = 1921; // a loop of links, or a chain too long to follow
} // namespace win32

// The Win32 code for an errno value; 0 stays 0, a value with no closer match becomes
// ERROR_GEN_FAILURE (31).
i32 Win32FromErrno(int error);

// The errno value whose text describes a Win32 code; 0 when the code has none.
int ErrnoFromWin32(i32 code);

// The thread's last error (errno here) as a result code: a value above 0 goes through
// Win32FromErrno and becomes (code AND 0xFFFF) OR 0x80070000; 0 stays 0.
HResult ResultFromLastError();
