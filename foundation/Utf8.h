// Conversion between the program's wide strings and UTF-8, the encoding of file names and the C
// library. File names on Linux are bytes, often not UTF-8 in old archives, so the conversion is
// lossless both ways: a byte that is not part of valid UTF-8 becomes a reserved code point and
// comes back as the same byte.
// Any thread: the functions keep no state.
#pragma once

#include <string>
#include <string_view>

// The code point that stands for the byte b (0x80 to 0xFF) that was not part of valid UTF-8:
// U+DC00 + b, a lone low surrogate, which valid UTF-8 can never produce.
constexpr wchar_t kEscapedByteFirst = 0xDC80;
constexpr wchar_t kEscapedByteLast = 0xDCFF;
constexpr bool IsEscapedByte(wchar_t c) {
    return c >= kEscapedByteFirst && c <= kEscapedByteLast;
}

// Decodes UTF-8; each byte of a sequence that is not valid UTF-8 (a stray byte, an overlong form,
// an encoded surrogate, a cut sequence) becomes its escape code point.
std::wstring WideFromUtf8(std::string_view text);

// Encodes each wide character as UTF-8 and each escape code point as its byte, so that
// Utf8FromWide(WideFromUtf8(bytes)) == bytes for any bytes. Any other surrogate or a value beyond
// U+10FFFF becomes U+FFFD.
std::string Utf8FromWide(std::wstring_view text);

// The text as a person should see it: each escaped byte written as "\xNN" (upper-case hex), so
// that a name that is not UTF-8 shows every byte it has. Everything else is unchanged.
std::wstring ReadableText(std::wstring_view text);
