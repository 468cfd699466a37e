// Tests of splitting and trimming text.
#include "foundation/TextUtil.h"

#include <gtest/gtest.h>

// Either separator, and an empty part between two, are VersionInfoTest's ("1.2,3", "1..2").
TEST(TextUtil, SplitAny) {
    std::vector<std::wstring> parts;
    SplitAny(L"", L".,", parts);
    EXPECT_TRUE(parts.empty());

    // Parts are appended after what out holds; separators at the ends give empty parts.
    parts = {L"1"};
    SplitAny(L".a.", L".", parts);
    EXPECT_EQ(parts, (std::vector<std::wstring>{L"1", L"", L"a", L""}));

    parts.clear();
    SplitAny(L"abc", L"", parts);
    EXPECT_EQ(parts, (std::vector<std::wstring>{L"abc"}));
}

TEST(TextUtil, TrimAndBlanks) {
    const struct {
        const wchar_t* text;
        bool (*blank)(wchar_t);
        const wchar_t* trimmed;
    } cases[] = {{L" \t\r\n 10.5 \r\n", IsBlankOrCr, L"10.5"},
                 {L"\r\r", IsBlankChar, L""},
                 {L"a b", IsBlankChar, L"a b"},
                 {L"xxaxx", [](wchar_t c) { return c == L'x'; }, L"a"}};
    for (const auto& c : cases) {
        std::wstring text = c.text;
        TrimIf(text, c.blank);
        EXPECT_EQ(text, c.trimmed);
    }
    // A vertical tab is trimmed from a control's text, not from a part of a version text.
    EXPECT_FALSE(IsBlankChar(L'\v'));
    EXPECT_TRUE(IsBlankOrCr(L'\v'));
}
