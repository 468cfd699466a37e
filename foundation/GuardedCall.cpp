// Exception barriers: the texts of foreign exceptions.
#include "foundation/GuardedCall.h"

namespace {

constexpr i32 kIdRegexOther = 59369;

// The one buffer for the text of what(); guarded calls run on the main thread only.
wchar_t gWhatBuffer[256];

struct RegexMessage {
    int code;
    i32 id;
};

// boost::regex_constants::error_type values and their messages.
constexpr RegexMessage kRegexMessages[] = {
    {2, 59384}, {3, 59371},  {4, 59372},  {5, 59373},  {6, 59374},  {7, 59375},  {8, 59376},
    {9, 59377}, {10, 59378}, {11, 59379}, {12, 59380}, {13, 59381}, {18, 59382}, {19, 59383},
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
    return kIdRegexOther;
}

void SetRegexError(CSimpleErr& holder, const boost::regex_error& error) {
    i32 id = RegexErrorId(static_cast<int>(error.code()));
    if (id == kIdRegexOther) {
        holder.SetError(id, WideFromWhat(error));
        return;
    }
    holder.SetError(id);
}
