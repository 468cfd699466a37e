// Exception barriers: the texts of foreign exceptions.
#include "foundation/GuardedCall.h"

namespace {

// The one buffer for the text of what(); guarded calls run on the main thread only.
wchar_t gWhatBuffer[256];

struct RegexMessage {
    int code;
    i32 id;
};

// The boost::regex_constants::error_type values that have a message of their own.
constexpr RegexMessage kRegexMessages[] = {
    {boost::regex_constants::error_bad_pattern, strid::kRegexBadPattern},
    {boost::regex_constants::error_collate, strid::kRegexCollate},
    {boost::regex_constants::error_ctype, strid::kRegexCharClass},
    {boost::regex_constants::error_escape, strid::kRegexEscape},
    {boost::regex_constants::error_backref, strid::kRegexBackReference},
    {boost::regex_constants::error_brack, strid::kRegexBracket},
    {boost::regex_constants::error_paren, strid::kRegexParenthesis},
    {boost::regex_constants::error_brace, strid::kRegexBrace},
    {boost::regex_constants::error_badbrace, strid::kRegexBraceContents},
    {boost::regex_constants::error_range, strid::kRegexRange},
    {boost::regex_constants::error_space, strid::kRegexOutOfMemory},
    {boost::regex_constants::error_badrepeat, strid::kRegexBadRepeat},
    {boost::regex_constants::error_complexity, strid::kRegexTooComplex},
    {boost::regex_constants::error_stack, strid::kRegexOutOfStack},
};

} // namespace

std::wstring WideFromWhat(const std::exception& error) {
    const char* what = error.what();
    if (what == nullptr)
        what = "Unknown exception";
    std::size_t n = 0;
    for (; n < 255 && what[n] != '\0'; ++n) {
        // Sign-extend the byte to 16 bits, as a plain char widened to a 16-bit wchar_t would be.
        auto extended = static_cast<i32>(static_cast<signed char>(what[n]));
        gWhatBuffer[n] = static_cast<wchar_t>(static_cast<u16>(extended));
    }
    gWhatBuffer[n] = L'\0';
    return std::wstring(gWhatBuffer, n);
}

i32 RegexErrorId(int code) {
    for (const RegexMessage& message : kRegexMessages) {
        if (message.code == code)
            return message.id;
    }
    return strid::kRegexError;
}

void SetRegexError(CSimpleErr& holder, const boost::regex_error& error) {
    i32 id = RegexErrorId(static_cast<int>(error.code()));
    if (id == strid::kRegexError) {
        holder.SetError(id, WideFromWhat(error));
        return;
    }
    holder.SetError(id);
}
