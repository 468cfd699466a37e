// Numbers to text and back: decimal integers and fixed-point numbers.
#include "foundation/Numbers.h"

#include <algorithm>
#include <climits>

#include <boost/regex.hpp>

namespace {

constexpr i32 kMaxDigits = 9;

i32 PowerOfTen(i32 digits) {
    i32 d = 1;
    for (i32 i = 0; i < digits; ++i)
        d *= 10;
    return d;
}

// Decimal conversion with an optional sign that saturates at the ends of i32, as wcstol does
// where long has 32 bits.
i32 SaturatingToI32(const std::wstring& text) {
    std::size_t i = 0;
    bool negative = false;
    if (i < text.size() && (text[i] == L'+' || text[i] == L'-')) {
        negative = text[i] == L'-';
        ++i;
    }
    i64 magnitude = 0;
    constexpr i64 kLimit = static_cast<i64>(INT_MAX) + 1;
    for (; i < text.size() && text[i] >= L'0' && text[i] <= L'9'; ++i) {
        magnitude = magnitude * 10 + (text[i] - L'0');
        if (magnitude > kLimit)
            magnitude = kLimit;
    }
    if (negative)
        return static_cast<i32>(-magnitude);
    return static_cast<i32>(std::min<i64>(magnitude, INT_MAX));
}

} // namespace

std::wstring FormatFixed(i32 value, i32 digits) {
    digits = std::clamp(digits, 0, kMaxDigits);
    i64 d = PowerOfTen(digits);
    i64 whole = value / d;
    i64 fraction = value % d;
    std::wstring text = value < 0 ? L"-" : L"";
    text += std::to_wstring(whole < 0 ? -whole : whole);
    if (fraction < 0)
        fraction = -fraction;
    if (digits == 0 || fraction == 0)
        return text;
    while (fraction % 10 == 0) {
        fraction /= 10;
        --digits;
    }
    std::wstring fractionText = std::to_wstring(fraction);
    text += L'.';
    text.append(static_cast<std::size_t>(digits) - fractionText.size(), L'0');
    text += fractionText;
    return text;
}

bool ParseFixed(i32& out, const std::wstring& text, i32 digits) {
    if (digits < 0 || digits > kMaxDigits)
        return false;
    boost::wregex pattern(L"^((?:\\+?|-?)[0-9]+)(?:\\.?|\\.([0-9]+))$");
    boost::wsmatch match;
    if (!boost::regex_match(text, match, pattern))
        return false;
    std::wstring fractionText = match[2].matched ? match[2].str() : std::wstring();
    fractionText.resize(static_cast<std::size_t>(digits), L'0');
    i32 integer = SaturatingToI32(match[1].str());
    i32 fraction = fractionText.empty() ? 0 : SaturatingToI32(fractionText);
    i32 d = PowerOfTen(digits);
    if (integer > 0) {
        if (integer > INT_MAX / d || (integer == INT_MAX / d && fraction > INT_MAX % d))
            return false;
        out = integer * d + fraction;
        return true;
    }
    if (integer < 0) {
        if (integer < INT_MIN / d || (integer == INT_MIN / d && fraction > -(INT_MIN % d)))
            return false;
        out = integer * d - fraction;
        return true;
    }
    out = text[0] == L'-' ? -fraction : fraction;
    return true;
}

bool ParseUnsigned(i32& out, const std::wstring& text) {
    boost::wregex pattern(L"^(\\+?[0-9]+)(?:\\.?|\\.([0-9]+))$");
    boost::wsmatch match;
    if (!boost::regex_match(text, match, pattern))
        return false;
    out = SaturatingToI32(match[1].str());
    return true;
}

bool ParseUnsigned(u32& out, const std::wstring& text) {
    i32 value = 0;
    if (!ParseUnsigned(value, text))
        return false;
    out = static_cast<u32>(value);
    return true;
}
