// Our own printf-style expansion of string-table templates into a fixed buffer.
// Any thread: the functions keep no state.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "foundation/ResString.h"

// Expands templ into out, which holds size characters including the terminator, and returns the
// number of characters written, or -1 when the output was cut at size - 1 characters. out always
// ends in a zero when size is above 0.
//   %s  the next argument as text (a number argument gives its decimal text); %ls is the same
//   %d  the next argument as a signed decimal number (a text argument is written as it is)
//   %%  a single percent sign
// A placeholder with no argument left expands to nothing; any other % sequence is copied as it is.
// The C library's wide printf is not used: its %s would read a narrow string.
std::ptrdiff_t FormatTemplate(wchar_t* out, std::size_t size, std::wstring_view templ,
                              std::span<const FormatArg> args);
