// Conversion between the program's wide strings and UTF-8, the encoding of file names and the C
// library.
#pragma once

#include <string>
#include <string_view>

// Decodes UTF-8; a byte sequence that is not valid UTF-8 becomes U+FFFD, one per bad byte.
std::wstring WideFromUtf8(std::string_view text);

// Encodes each wide character as UTF-8; a surrogate or a value beyond U+10FFFF becomes U+FFFD.
std::string Utf8FromWide(std::wstring_view text);
