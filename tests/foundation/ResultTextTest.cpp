// Tests of the system texts of result codes.
#include "foundation/ResultText.h"

#include <cerrno>

#include <gtest/gtest.h>

#include "foundation/TextUtil.h"
#include "foundation/Win32Error.h"
#include "support/LanguageGuard.h"

namespace {

bool IsTrimmed(const std::wstring& text) {
    return !text.empty() && !IsBlankOrCr(text.front()) && !IsBlankOrCr(text.back());
}

} // namespace

TEST(ResultText, ErrnoCodesComeFromTheCLibrary) {
    CLanguageGuard guard(1033);
    EXPECT_EQ(ResultText(0x80070002), L"No such file or directory");
    EXPECT_EQ(ResultText(2), L"No such file or directory");
    EXPECT_EQ(ResultText(0x80070005), L"Permission denied");
    EXPECT_EQ(ResultText(0x80070070), L"No space left on device");
    // A folder where a file was expected says so, and does not read as a permission problem.
    EXPECT_EQ(ResultText(0x80000000u | 0x70000u | static_cast<u32>(Win32FromErrno(EISDIR))),
              L"Is a directory");
    // A file standing where a folder must be made has a text of our own.
    EXPECT_EQ(ResultText(0x80070050), L"A file of that name is in the way; the folder cannot "
                                      L"be made.");
}

TEST(ResultText, FacilityEightUsesTheLowWordAndUnknownCodesSaySo) {
    CLanguageGuard guard(1033);
    // Facility 0x0008: the low word 0x0005 is the Win32 code "access denied".
    EXPECT_EQ(ResultText(0x80080005), ResultText(5));
    EXPECT_EQ(ResultText(0x00080005), ResultText(5));
    // Facility 7 is looked up whole; another facility with the same low word is unknown.
    EXPECT_EQ(ResultText(0x80070005), ResultText(5));
    EXPECT_EQ(ResultText(0x80090005), L"Unknown error (code 0x80090005)");
    // An unknown low word in facility 8 is reported by that low word.
    EXPECT_EQ(ResultText(0x8008ABCD), L"Unknown error (code 0xabcd)");
    // Unknown codes say so in every language.
    CLanguageGuard japanese(1041);
    EXPECT_EQ(ResultText(0x8004DEAD), L"不明なエラーです (コード 0x8004dead)");
    EXPECT_EQ(ResultText(0xC00000FF), L"不明なエラーです (コード 0xc00000ff)");
    EXPECT_EQ(ResultText(0x8007FFFF), L"不明なエラーです (コード 0x8007ffff)");
}

TEST(ResultText, TextsAreTrimmed) {
    for (u16 language : {1041, 1033}) {
        CLanguageGuard guard(language);
        for (HResult code : {0u, 2u, 3u, 5u, 8u, 14u, 87u, 112u, 183u, 206u, 995u, 1814u,
                             0x80004005u, 0x80004001u, 0x80004004u, 0x80040064u, 0x8007000Eu}) {
            EXPECT_TRUE(IsTrimmed(ResultText(code))) << code;
        }
    }
}
