// The system's text of a result code, in the language of the user interface.
#include "foundation/ResultText.h"

#include <clocale>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <locale.h>
#include <string.h>

#include "foundation/ResString.h"
#include "foundation/TextUtil.h"
#include "foundation/Utf8.h"
#include "foundation/Win32Error.h"
#include "resources/ResourceData.h"
#include "resources/StringIds.h"

namespace {

struct CodeText {
    HResult code;
    u32 id;
};

// Win32 codes that have a text of our own: the ones no errno value describes well.
constexpr CodeText kWin32Texts[] = {
    {win32::kSuccess, strid::kResultSuccess},
    {win32::kInvalidFunction, strid::kResultInvalidFunction},
    {win32::kNotEnoughMemory, strid::kResultNotEnoughMemory},
    {win32::kBadFormat, strid::kResultBadFormat},
    {win32::kOutOfMemory, strid::kResultOutOfMemory},
    {win32::kGenFailure, strid::kResultGenFailure},
    {win32::kSharingViolation, strid::kResultSharingViolation},
    {win32::kInvalidParameter, strid::kResultInvalidParameter},
    {win32::kOperationAborted, strid::kResultOperationAborted},
    {win32::kNoAccess, strid::kResultNoAccess},
    {win32::kNoAssociation, strid::kResultNoAssociation},
    {win32::kDdeFail, strid::kResultDdeFail},
    {win32::kDllNotFound, strid::kResultDllNotFound},
    {win32::kTimeout, strid::kResultTimeout},
    {win32::kResourceNameNotFound, strid::kResultResourceNameNotFound},
    {win32::kBusy, strid::kResultBusy},
    {win32::kFileExists, strid::kResultFileExists},
};

// Result codes of COM that are no Win32 codes, and the program's own codes.
constexpr CodeText kComTexts[] = {
    {hr::kFail, strid::kResultFail},          // E_FAIL
    {hr::kNotImpl, strid::kResultNotImpl},    // E_NOTIMPL
    {0x80004004, strid::kResultAbort},        // E_ABORT
    {0x80004002, strid::kResultNoInterface},  // E_NOINTERFACE
    {0x80004003, strid::kResultPointer},      // E_POINTER
    {0x8000FFFF, strid::kResultUnexpected},   // E_UNEXPECTED
    {0x80040064, strid::kResultBadFormatEtc}, // DV_E_FORMATETC
    {hr::kNotOrdinaryFile, strid::kResultNotOrdinaryFile},
    {hr::kImageTooLarge, strid::kResultImageTooLarge},
    {hr::kTooManyScans, strid::kResultTooManyScans},
    {hr::kTooLargeForJpeg, strid::kResultTooLargeForJpeg},
    {hr::kTooLargeForWebp, strid::kResultTooLargeForWebp},
    {hr::kNoAvifEncoder, strid::kResultNoAvifEncoder},
    {hr::kOverMemoryBudget, strid::kResultOverMemoryBudget},
    {hr::kOverWorkBudget, strid::kResultOverWorkBudget},
};

u32 FindTextId(const CodeText* begin, const CodeText* end, HResult code) {
    for (const CodeText* it = begin; it != end; ++it) {
        if (it->code == code)
            return it->id;
    }
    return 0;
}

// The Win32 code within a result code; -1 when the code is no Win32 code.
i32 Win32Part(HResult code) {
    if (code <= 0xFFFF)
        return static_cast<i32>(code);
    if ((code & 0xFFFF0000u) == 0x80070000u)
        return static_cast<i32>(code & 0xFFFF);
    return -1;
}

// The C library's text of an errno value in the UI language. The Japanese text needs the
// ja_JP.UTF-8 locale; without it the C locale's English is used.
std::wstring ErrnoText(int error) {
    locale_t locale = static_cast<locale_t>(0);
    if (UiLanguage() == res::kLangJapanese)
        locale = newlocale(LC_ALL_MASK, "ja_JP.UTF-8", static_cast<locale_t>(0));
    if (locale == static_cast<locale_t>(0))
        locale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(0));
    if (locale == static_cast<locale_t>(0))
        return WideFromUtf8(std::strerror(error));
    std::wstring text = WideFromUtf8(strerror_l(error, locale));
    freelocale(locale);
    return text;
}

std::wstring UnknownText(HResult code) {
    char hex[16];
    std::snprintf(hex, sizeof hex, "%x", code);
    std::wstring text;
    FormatResString(text, strid::kResultUnknown, {WideFromUtf8(hex)});
    return text;
}

std::wstring RawText(HResult code) {
    i32 win32Code = Win32Part(code);
    if (win32Code >= 0) {
        u32 id = FindTextId(std::begin(kWin32Texts), std::end(kWin32Texts),
                            static_cast<HResult>(win32Code));
        std::wstring text;
        if (id != 0 && LoadResString(text, id, false))
            return text;
        int error = ErrnoFromWin32(win32Code);
        if (error != 0)
            return ErrnoText(error);
        return UnknownText(code);
    }
    u32 id = FindTextId(std::begin(kComTexts), std::end(kComTexts), code);
    std::wstring text;
    if (id != 0 && LoadResString(text, id, false))
        return text;
    return UnknownText(code);
}

} // namespace

std::wstring ResultText(HResult code) {
    if ((code & 0x1FFF0000u) == 0x00080000u)
        code &= 0xFFFF;
    std::wstring text = RawText(code);
    TrimIf(text, IsBlankOrCr);
    return text;
}
