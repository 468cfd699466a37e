// Parsing and formatting of hexadecimal colour texts.
#include "foundation/HexColor.h"

namespace {

int HexDigit(wchar_t c) {
    if (c >= L'0' && c <= L'9')
        return c - L'0';
    if (c >= L'A' && c <= L'F')
        return c - L'A' + 10;
    if (c >= L'a' && c <= L'f')
        return c - L'a' + 10;
    return -1;
}

} // namespace

bool ParseHexColor(u32& out, const std::wstring& text) {
    if (text.empty())
        return false;
    for (wchar_t c : text) {
        if (HexDigit(c) < 0)
            return false;
    }
    auto byteAt = [&](size_t i) {
        return static_cast<u32>(HexDigit(text[i]) * 16 + HexDigit(text[i + 1]));
    };
    switch (text.size()) {
    case 1:
        out = static_cast<u32>(HexDigit(text[0])) * 0x010101u;
        return true;
    case 2:
        out = byteAt(0) * 0x010101u;
        return true;
    case 6:
        out = byteAt(0) | byteAt(2) << 8 | byteAt(4) << 16;
        return true;
    default:
        return false;
    }
}

std::wstring FormatHexColor(u32 color) {
    static const wchar_t digits[] = L"0123456789ABCDEF";
    std::wstring text;
    for (int shift : {0, 8, 16}) {
        u32 byte = (color >> shift) & 0xFF;
        text += digits[byte >> 4];
        text += digits[byte & 0xF];
    }
    return text;
}
