// Tests of integer and fixed-point text conversions.
#include "foundation/Numbers.h"

#include <climits>

#include <gtest/gtest.h>

namespace {

// The value that parse stores, or a marker text when it fails; out must stay unchanged then.
template <class Parse> std::wstring Outcome(Parse parse) {
    i32 out = 777;
    if (!parse(out)) {
        EXPECT_EQ(out, 777) << "out changed on failure";
        return L"fail";
    }
    return std::to_wstring(out);
}

std::wstring Parsed(const std::wstring& text, i32 digits) {
    return Outcome([&](i32& out) { return ParseFixed(out, text, digits); });
}

std::wstring ParsedUnsigned(const std::wstring& text) {
    return Outcome([&](i32& out) { return ParseUnsigned(out, text); });
}

} // namespace

TEST(Numbers, FormatFixed) {
    EXPECT_EQ(FormatFixed(105, 1), L"10.5");
    EXPECT_EQ(FormatFixed(100, 1), L"10");
    EXPECT_EQ(FormatFixed(1050, 3), L"1.05");
    EXPECT_EQ(FormatFixed(0, 1), L"0");
    EXPECT_EQ(FormatFixed(-5, 1), L"-0.5");
    EXPECT_EQ(FormatFixed(-15, 1), L"-1.5");
    EXPECT_EQ(FormatFixed(1005, 3), L"1.005");
    EXPECT_EQ(FormatFixed(1, 3), L"0.001");
    EXPECT_EQ(FormatFixed(-1000, 3), L"-1");
    EXPECT_EQ(FormatFixed(42, 0), L"42");
    EXPECT_EQ(FormatFixed(INT_MAX, 1), L"214748364.7");
    EXPECT_EQ(FormatFixed(INT_MIN, 1), L"-214748364.8");
    EXPECT_EQ(FormatFixed(INT_MIN, 0), L"-2147483648");
}

TEST(Numbers, ParseFixedForms) {
    EXPECT_EQ(Parsed(L"10", 1), L"100");
    EXPECT_EQ(Parsed(L"10.", 1), L"100");
    EXPECT_EQ(Parsed(L"10.5", 1), L"105");
    EXPECT_EQ(Parsed(L"10.56", 1), L"105");
    EXPECT_EQ(Parsed(L"+3", 1), L"30");
    EXPECT_EQ(Parsed(L"-1.5", 1), L"-15");
    EXPECT_EQ(Parsed(L"-0.5", 1), L"-5");
    EXPECT_EQ(Parsed(L"0.5", 1), L"5");
    EXPECT_EQ(Parsed(L"1.05", 3), L"1050");
    EXPECT_EQ(Parsed(L"007", 0), L"7");
    EXPECT_EQ(Parsed(L".5", 1), L"fail");
    EXPECT_EQ(Parsed(L"1 0", 1), L"fail");
    EXPECT_EQ(Parsed(L" 10", 1), L"fail");
    EXPECT_EQ(Parsed(L"10 ", 1), L"fail");
    EXPECT_EQ(Parsed(L"", 1), L"fail");
    EXPECT_EQ(Parsed(L"+-1", 1), L"fail");
    EXPECT_EQ(Parsed(L"1.2.3", 1), L"fail");
    EXPECT_EQ(Parsed(L"1e3", 1), L"fail");
    EXPECT_EQ(Parsed(L"10", -1), L"fail");

    // The limits of an i32.
    EXPECT_EQ(Parsed(L"214748364.7", 1), L"2147483647");
    EXPECT_EQ(Parsed(L"214748364.8", 1), L"fail");
    EXPECT_EQ(Parsed(L"214748365", 1), L"fail");
    EXPECT_EQ(Parsed(L"-214748364.8", 1), L"-2147483648");
    EXPECT_EQ(Parsed(L"-214748364.9", 1), L"fail");
    EXPECT_EQ(Parsed(L"-214748365", 1), L"fail");
    EXPECT_EQ(Parsed(L"2147483647", 0), L"2147483647");
    EXPECT_EQ(Parsed(L"-2147483648", 0), L"-2147483648");
    // Beyond 32 bits the integer part saturates at the largest i32, which still fits with digits 0.
    EXPECT_EQ(Parsed(L"99999999999", 0), L"2147483647");
    EXPECT_EQ(Parsed(L"99999999999", 1), L"fail");
}

TEST(Numbers, ParseUnsigned) {
    EXPECT_EQ(ParsedUnsigned(L"12"), L"12");
    EXPECT_EQ(ParsedUnsigned(L"12.9"), L"12");
    EXPECT_EQ(ParsedUnsigned(L"12."), L"12");
    EXPECT_EQ(ParsedUnsigned(L"+7"), L"7");
    EXPECT_EQ(ParsedUnsigned(L"-1"), L"fail");
    EXPECT_EQ(ParsedUnsigned(L""), L"fail");
    EXPECT_EQ(ParsedUnsigned(L" 1"), L"fail");
    EXPECT_EQ(ParsedUnsigned(L".5"), L"fail");
    EXPECT_EQ(ParsedUnsigned(L"99999999999"), L"2147483647");
    u32 wide = 0;
    ASSERT_TRUE(ParseUnsigned(wide, L"65535"));
    EXPECT_EQ(wide, 65535u);
    EXPECT_FALSE(ParseUnsigned(wide, L"x"));
    EXPECT_EQ(wide, 65535u);
}
