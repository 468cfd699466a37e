// Tests of the mapping between errno values and Win32 codes.
#include "foundation/Win32Error.h"

#include <cerrno>

#include <gtest/gtest.h>

TEST(Win32Error, ErrnoToWin32) {
    EXPECT_EQ(Win32FromErrno(0), 0);
    EXPECT_EQ(Win32FromErrno(ENOENT), 2);
    EXPECT_EQ(Win32FromErrno(ENOTDIR), 3);
    EXPECT_EQ(Win32FromErrno(EACCES), 5);
    EXPECT_EQ(Win32FromErrno(EPERM), 5);
    EXPECT_EQ(Win32FromErrno(ENOMEM), 8);
    EXPECT_EQ(Win32FromErrno(ENOSPC), 112);
    EXPECT_EQ(Win32FromErrno(EEXIST), 183);
    EXPECT_EQ(Win32FromErrno(ENAMETOOLONG), 206);
    EXPECT_EQ(Win32FromErrno(EROFS), 19);
    EXPECT_EQ(Win32FromErrno(EBUSY), 170);
    EXPECT_EQ(Win32FromErrno(EINVAL), 87);
    EXPECT_EQ(Win32FromErrno(EMFILE), 4);
    EXPECT_EQ(Win32FromErrno(ECANCELED), 995);
    EXPECT_EQ(Win32FromErrno(EIO), 1117);
    EXPECT_EQ(Win32FromErrno(EFBIG), 223);
    EXPECT_EQ(Win32FromErrno(EHOSTDOWN), 31);
}

TEST(Win32Error, Win32ToErrno) {
    EXPECT_EQ(ErrnoFromWin32(2), ENOENT);
    EXPECT_EQ(ErrnoFromWin32(3), ENOENT);
    EXPECT_EQ(ErrnoFromWin32(5), EACCES);
    EXPECT_EQ(ErrnoFromWin32(183), EEXIST);
    EXPECT_EQ(ErrnoFromWin32(112), ENOSPC);
    EXPECT_EQ(ErrnoFromWin32(1155), 0);
}

TEST(Win32Error, ResultFromLastError) {
    errno = 0;
    EXPECT_EQ(ResultFromLastError(), 0u);
    errno = ENOENT;
    EXPECT_EQ(ResultFromLastError(), 0x80070002u);
    errno = EEXIST;
    EXPECT_EQ(ResultFromLastError(), 0x800700B7u);
    errno = ECANCELED;
    EXPECT_EQ(ResultFromLastError(), hr::kAborted);
    errno = 0;
}
