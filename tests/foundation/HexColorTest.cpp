// Tests of the colour text form. That red is the low byte of a COLORREF is BatchRunTest's.
#include "foundation/HexColor.h"

#include <gtest/gtest.h>

TEST(HexColorTest, ParsesOneTwoAndSixDigitsAndFormatsSixInUpperCase) {
    u32 c = 0x123456;
    EXPECT_TRUE(ParseHexColor(c, L"F"));
    EXPECT_EQ(c, 0x0F0F0Fu);
    EXPECT_TRUE(ParseHexColor(c, L"ff"));
    EXPECT_EQ(c, 0xFFFFFFu);
    EXPECT_TRUE(ParseHexColor(c, L"0a0B0c"));
    EXPECT_EQ(c, 0x0C0B0Au);
    c = 7;
    for (const wchar_t* bad :
         {L"", L"FFF", L"FFFF", L"FFFFF", L"FFFFFFF", L"GG", L" FF", L"#FFFFFF"}) {
        EXPECT_FALSE(ParseHexColor(c, bad)) << bad;
        EXPECT_EQ(c, 7u);
    }

    // Formatting: red, green, blue in upper case.
    EXPECT_EQ(FormatHexColor(0xFFFFFF), L"FFFFFF");
    EXPECT_EQ(FormatHexColor(0x0000FF), L"FF0000");
    EXPECT_EQ(FormatHexColor(0x0C0B0A), L"0A0B0C");
    EXPECT_EQ(FormatHexColor(0xAB000000), L"000000") << "the top byte is not part of the colour";
}
