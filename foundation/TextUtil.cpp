// Small text helpers: cutting a text at separators, trimming its ends, blank tests.
#include "foundation/TextUtil.h"

#include <cwctype>

void SplitAny(std::wstring_view text, std::wstring_view separators,
              std::vector<std::wstring>& out) {
    if (text.empty())
        return;
    std::size_t start = 0;
    for (;;) {
        std::size_t cut = text.find_first_of(separators, start);
        if (cut == std::wstring_view::npos) {
            out.emplace_back(text.substr(start));
            return;
        }
        out.emplace_back(text.substr(start, cut - start));
        start = cut + 1;
    }
}

bool IsBlankOrCr(wchar_t c) {
    return std::iswspace(static_cast<std::wint_t>(c)) != 0 || c == L'\r';
}

bool IsBlankChar(wchar_t c) {
    return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n';
}
