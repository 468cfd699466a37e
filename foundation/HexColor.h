// The text form of a colour: hexadecimal digits red, green, blue.
// Any thread: the functions keep no state.
#pragma once

#include <string>

#include "foundation/Types.h"

// A COLORREF is 0x00BBGGRR. Accepts 1 digit (d d d), 2 digits (bb bb bb) or 6 digits (rr gg bb),
// upper or lower case; anything else refuses and leaves out unchanged.
bool ParseHexColor(u32& out, const std::wstring& text);
// Six upper-case digits, red first: white is FFFFFF, pure red FF0000.
std::wstring FormatHexColor(u32 color);
