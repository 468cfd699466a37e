// Tests of the UTF-8 conversions.
#include "foundation/Utf8.h"

#include <gtest/gtest.h>

TEST(Utf8, TextRoundTripsAndBytesThatAreNotUtf8BecomeEscapesButOtherSurrogatesDoNot) {
    const std::wstring text = L"a/画像 é \U0001F600";
    std::string utf8 = Utf8FromWide(text);
    EXPECT_EQ(utf8, "a/\xE7\x94\xBB\xE5\x83\x8F \xC3\xA9 \xF0\x9F\x98\x80");
    EXPECT_EQ(WideFromUtf8(utf8), text);
    EXPECT_EQ(WideFromUtf8(""), L"");

    EXPECT_EQ(WideFromUtf8("a\xFF"
                           "b"),
              L"a\xDCFF"
              L"b");
    EXPECT_EQ(WideFromUtf8("\xC0\xAF"), L"\xDCC0\xDCAF");               // overlong "/"
    EXPECT_EQ(WideFromUtf8("\xE7\x94"), L"\xDCE7\xDC94");               // cut sequence
    EXPECT_EQ(WideFromUtf8("\xED\xA0\x80"), L"\xDCED\xDCA0\xDC80");     // an encoded surrogate
    EXPECT_EQ(WideFromUtf8("\xE7\x94\xC3\xA9"), L"\xDCE7\xDC94\u00E9"); // cut, then a character
    // A Shift_JIS name from an old archive, "photo\xE9" in Latin-1, and U+FFFD itself stay apart.
    const std::string names[] = {"\x8E\xCA\x90\x5E.jpg", "photo\xE9.png", "photo\xEF\xBF\xBD.png",
                                 std::string("\x80\xBF\xC2\xF5\xF8\xFE\xFF\0x", 9)};
    for (const std::string& name : names)
        EXPECT_EQ(Utf8FromWide(WideFromUtf8(name)), name);
    EXPECT_NE(WideFromUtf8(names[1]), WideFromUtf8(names[2]));
    // Every single byte and every pair of bytes survives the round trip.
    for (int a = 0; a < 256; ++a) {
        for (int b = 0; b < 256; ++b) {
            const std::string two{static_cast<char>(a), static_cast<char>(b)};
            ASSERT_EQ(Utf8FromWide(WideFromUtf8(two)), two) << a << " " << b;
        }
    }

    EXPECT_EQ(Utf8FromWide(std::wstring(1, static_cast<wchar_t>(0xD800))), "\xEF\xBF\xBD");
    EXPECT_EQ(Utf8FromWide(std::wstring(1, static_cast<wchar_t>(0xDC7F))), "\xEF\xBF\xBD");
    EXPECT_EQ(Utf8FromWide(std::wstring(1, static_cast<wchar_t>(0x110000))), "\xEF\xBF\xBD");
}

TEST(Utf8, ReadableTextShowsEachEscapedByte) {
    EXPECT_EQ(ReadableText(WideFromUtf8("/tmp/photo\xE9.png")), L"/tmp/photo\\xE9.png");
    EXPECT_EQ(ReadableText(WideFromUtf8("\x8E\xCA\x90\x5E.jpg")), L"\\x8E\u0290^.jpg");
    EXPECT_EQ(ReadableText(L"画像 \\x41"), L"画像 \\x41");
}
