// Tests of the UTF-8 conversions.
#include "foundation/Utf8.h"

#include <gtest/gtest.h>

TEST(Utf8, RoundTrip) {
    const std::wstring text = L"a/画像 é \U0001F600";
    std::string utf8 = Utf8FromWide(text);
    EXPECT_EQ(utf8, "a/\xE7\x94\xBB\xE5\x83\x8F \xC3\xA9 \xF0\x9F\x98\x80");
    EXPECT_EQ(WideFromUtf8(utf8), text);
    EXPECT_EQ(WideFromUtf8(""), L"");
}

TEST(Utf8, BadBytesBecomeReplacementCharacters) {
    EXPECT_EQ(WideFromUtf8("a\xFF"
                           "b"),
              L"a\uFFFDb");
    EXPECT_EQ(WideFromUtf8("\xC0\xAF"), L"\uFFFD\uFFFD");           // overlong "/"
    EXPECT_EQ(WideFromUtf8("\xE7\x94"), L"\uFFFD\uFFFD");           // cut sequence
    EXPECT_EQ(WideFromUtf8("\xED\xA0\x80"), L"\uFFFD\uFFFD\uFFFD"); // a surrogate
    EXPECT_EQ(Utf8FromWide(std::wstring(1, static_cast<wchar_t>(0xD800))), "\xEF\xBF\xBD");
}
