// Small text helpers: cutting a text at separators, trimming its ends, blank tests.
// Any thread: the functions keep no state.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// Appends the parts of text cut at every character of separators to out, empty parts too: n
// separators give n + 1 parts. An empty text gives no parts.
void SplitAny(std::wstring_view text, std::wstring_view separators, std::vector<std::wstring>& out);

// Removes the characters at both ends of text for which predicate holds.
template <class Predicate> void TrimIf(std::wstring& text, Predicate predicate) {
    std::size_t end = text.size();
    while (end > 0 && predicate(text[end - 1]))
        --end;
    std::size_t begin = 0;
    while (begin < end && predicate(text[begin]))
        ++begin;
    text = text.substr(begin, end - begin);
}

// iswspace(c), or a carriage return.
bool IsBlankOrCr(wchar_t c);

// A blank, tab, carriage return or line feed.
bool IsBlankChar(wchar_t c);
