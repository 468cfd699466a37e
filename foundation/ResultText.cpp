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

namespace {

struct CodeText {
    HResult code;
    u32 id;
};

// Win32 codes that have a text of our own: the ones no errno value describes well.
constexpr CodeText kWin32Texts[] = {
    {win32::kSuccess, 61000},
    {win32::kInvalidFunction, 61001},
    {win32::kNotEnoughMemory, 61002},
    {win32::kBadFormat, 61003},
    {win32::kOutOfMemory, 61004},
    {win32::kGenFailure, 61005},
    {win32::kSharingViolation, 61006},
    {win32::kInvalidParameter, 61007},
    {win32::kOperationAborted, 61008},
    {win32::kNoAccess, 61009},
    {win32::kNoAssociation, 61010},
    {win32::kDdeFail, 61011},
    {win32::kDllNotFound, 61012},
    {win32::kTimeout, 61013},
    {win32::kResourceNameNotFound, 61014},
    {win32::kBusy, 61015},
    {win32::kFileExists, 61016},
};

// Result codes of COM that are no Win32 codes, and the program's own codes.
constexpr CodeText kComTexts[] = {
    {hr::kFail, 61030},    // E_FAIL
    {hr::kNotImpl, 61031}, // E_NOTIMPL
    {0x80004004, 61032},   // E_ABORT
    {0x80004002, 61033},   // E_NOINTERFACE
    {0x80004003, 61034},   // E_POINTER
    {0x8000FFFF, 61035},   // E_UNEXPECTED
    {0x80040064, 61036},   // DV_E_FORMATETC
    {hr::kNotOrdinaryFile, 62020},
    {hr::kImageTooLarge, 62021},
    {hr::kTooManyScans, 62022},
    {hr::kTooLargeForJpeg, 62025},
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
    return L"Unknown HRESULT: " + WideFromUtf8(hex);
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
