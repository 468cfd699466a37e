// Tests of the result code of the last failure of the C library.
#include "foundation/Win32Error.h"

#include <cerrno>

#include <gtest/gtest.h>

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
