// The string table: loading a string by id in the user's language, and filling its placeholders.
// Any thread: the table is read only and the language is kept in an atomic; SetUiLanguage is
// for tests.
#pragma once

#include <initializer_list>
#include <string>

#include "foundation/Types.h"

// One argument of a template: %s takes a wide string, %d a signed 32-bit integer.
class FormatArg {
public:
    FormatArg(i32 value) : isText_(false), number_(value) {}
    FormatArg(const std::wstring& text) : isText_(true), text_(text) {}
    FormatArg(const wchar_t* text) : isText_(true), text_(text ? text : L"") {}

    bool IsText() const { return isText_; }
    const std::wstring& Text() const { return text_; }
    i32 Number() const { return number_; }

private:
    bool isText_;
    i32 number_ = 0;
    std::wstring text_;
};

// The language of the user interface: 1041 when the locale (LC_ALL, LC_MESSAGES, LANG, the first
// that is set) begins with "ja", else 1033. Read once; tests may set it, and setting 0 makes the
// next call read the environment again.
u16 UiLanguage();
void SetUiLanguage(u16 language);

// Copies at most size - 1 characters of string id into buffer and terminates it; returns the
// number of characters copied, 0 when the string does not exist. An id that exists in one
// language only comes in that language.
i32 LoadStringRaw(u32 id, wchar_t* buffer, i32 size);

// Loads string id into out. A missing string empties out and, when report is true, throws
// my::CException strid::kStringMissing; a string of 256000 characters or more throws
// strid::kStringTooLong.
bool LoadResString(std::wstring& out, u32 id, bool report);

// Fills the placeholders of the template of id (loaded with report true) into out, at most the
// template's length + 1023 characters. Returns true.
bool FormatResString(std::wstring& out, u32 id, std::initializer_list<FormatArg> args = {});

// A string loaded at construction with failure reporting on; id 0 gives an empty text.
class CResString {
public:
    explicit CResString(u32 id);
    const std::wstring& Text() const { return text_; }
    u32 Id() const { return id_; }
    operator const std::wstring&() const { return text_; }

private:
    std::wstring text_;
    u32 id_;
};
