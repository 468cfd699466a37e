// Tests of the template expansion into a fixed buffer.
#include "foundation/TemplateFormat.h"

#include <vector>

#include <gtest/gtest.h>

namespace {

std::ptrdiff_t Expand(std::wstring& out, size_t size, std::wstring_view templ,
                      std::vector<FormatArg> args) {
    std::vector<wchar_t> buffer(size + 1, L'#');
    std::ptrdiff_t result = FormatTemplate(buffer.data(), size, templ, args);
    EXPECT_EQ(buffer[size], L'#') << "wrote beyond the buffer";
    out = size > 0 ? std::wstring(buffer.data()) : std::wstring();
    return result;
}

} // namespace

TEST(TemplateFormat, PlaceholdersAndTheCutAtTheBuffersEnd) {
    std::wstring out;
    EXPECT_EQ(Expand(out, 64, L"%s / %d", {L"abc", -7}), 8);
    EXPECT_EQ(out, L"abc / -7");
    EXPECT_EQ(Expand(out, 64, L"%ls%%%d", {L"x", 2147483647}), 12);
    EXPECT_EQ(out, L"x%2147483647");
    // Missing arguments expand to nothing; unknown sequences stay; a number can fill %s.
    EXPECT_EQ(Expand(out, 64, L"[%s][%d]%x%", {5}), 8);
    EXPECT_EQ(out, L"[5][]%x%");

    EXPECT_EQ(Expand(out, 6, L"12345", {}), 5);
    EXPECT_EQ(out, L"12345");
    EXPECT_EQ(Expand(out, 5, L"12345", {}), -1);
    EXPECT_EQ(out, L"1234");
    EXPECT_EQ(Expand(out, 4, L"a%sb", {L"xyz"}), -1);
    EXPECT_EQ(out, L"axy");
    EXPECT_EQ(Expand(out, 1, L"a", {}), -1);
    EXPECT_EQ(out, L"");
}
