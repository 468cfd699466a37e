// Numbers to text and back: decimal integers and fixed-point numbers with a given count of digits.
// Any thread: the functions keep no state.
#pragma once

#include <concepts>
#include <string>

#include "foundation/Types.h"

// Decimal text of an integer, a leading minus sign when negative, no grouping.
template <std::integral T> std::wstring ToText(T value) {
    return std::to_wstring(value);
}

// A fixed-point number counts units of 10^-digits in an i32: FormatFixed(105, 1) is "10.5",
// FormatFixed(100, 1) "10", FormatFixed(-5, 1) "-0.5". Trailing zeros of the fraction are dropped.
// digits runs from 0 to 9; a value outside counts as 0 or 9.
std::wstring FormatFixed(i32 value, i32 digits);

// The inverse of FormatFixed. The whole text must be a number: an optional sign, decimal digits,
// an optional point and fraction; no blanks. The fraction is cut to digits places without rounding.
// False, with out unchanged, on a text that is no number, on a value beyond i32, and on digits
// outside 0 to 9.
bool ParseFixed(i32& out, const std::wstring& text, i32 digits);

// Decimal digits with an optional plus sign and an optional fraction, which is dropped. A number
// beyond i32 saturates at its largest value. False, with out unchanged, on anything else.
bool ParseUnsigned(i32& out, const std::wstring& text);
bool ParseUnsigned(u32& out, const std::wstring& text);
