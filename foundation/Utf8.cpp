// Lossless conversion between the program's wide strings and UTF-8.
#include "foundation/Utf8.h"

#include "foundation/Types.h"

namespace {

constexpr wchar_t kReplacement = 0xFFFD;

wchar_t EscapeByte(u8 byte) {
    return static_cast<wchar_t>(0xDC00 + byte);
}

// Length of the sequence that lead byte starts, 0 for a byte that cannot start one.
int SequenceLength(u8 lead) {
    if (lead < 0x80)
        return 1;
    if (lead >= 0xC2 && lead <= 0xDF)
        return 2;
    if (lead >= 0xE0 && lead <= 0xEF)
        return 3;
    if (lead >= 0xF0 && lead <= 0xF4)
        return 4;
    return 0;
}

void AppendUtf8(std::string& out, u32 c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
        return;
    }
    if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
        return;
    }
    if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
        return;
    }
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
}

} // namespace

std::wstring WideFromUtf8(std::string_view text) {
    std::wstring out;
    out.reserve(text.size());
    size_t i = 0;
    while (i < text.size()) {
        u8 lead = static_cast<u8>(text[i]);
        int length = SequenceLength(lead);
        if (length == 1) {
            out += static_cast<wchar_t>(lead);
            ++i;
            continue;
        }
        if (length == 0 || i + length > text.size()) {
            out += EscapeByte(lead);
            ++i;
            continue;
        }
        u32 c = lead & (0x7F >> length);
        bool valid = true;
        for (int k = 1; k < length && valid; ++k) {
            u8 next = static_cast<u8>(text[i + k]);
            valid = (next & 0xC0) == 0x80;
            c = (c << 6) | (next & 0x3F);
        }
        // Overlong forms, surrogates and values beyond the last code point are not characters.
        static constexpr u32 kLowest[] = {0, 0, 0x80, 0x800, 0x10000};
        // Only the lead byte is escaped here: the bytes after it are looked at afresh, so that a
        // cut sequence followed by a valid character keeps that character.
        if (!valid || c < kLowest[length] || (c >= 0xD800 && c <= 0xDFFF) || c > 0x10FFFF) {
            out += EscapeByte(lead);
            ++i;
            continue;
        }
        out += static_cast<wchar_t>(c);
        i += length;
    }
    return out;
}

std::string Utf8FromWide(std::wstring_view text) {
    std::string out;
    out.reserve(text.size());
    for (wchar_t w : text) {
        if (IsEscapedByte(w)) {
            out += static_cast<char>(w - 0xDC00);
            continue;
        }
        u32 c = static_cast<u32>(w);
        if ((c >= 0xD800 && c <= 0xDFFF) || c > 0x10FFFF)
            c = kReplacement;
        AppendUtf8(out, c);
    }
    return out;
}

std::wstring ReadableText(std::wstring_view text) {
    static constexpr wchar_t kHex[] = L"0123456789ABCDEF";
    std::wstring out;
    out.reserve(text.size());
    for (wchar_t w : text) {
        if (!IsEscapedByte(w)) {
            out += w;
            continue;
        }
        const unsigned byte = static_cast<unsigned>(w - 0xDC00);
        out += L"\\x";
        out += kHex[byte >> 4];
        out += kHex[byte & 0xF];
    }
    return out;
}
