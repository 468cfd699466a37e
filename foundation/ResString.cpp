// The string table: loading a string by id in the user's language, and filling its placeholders.
#include "foundation/ResString.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>

#include "foundation/Exception.h"
#include "foundation/Numbers.h"
#include "foundation/TemplateFormat.h"
#include "foundation/Win32Error.h"
#include "resources/ResourceData.h"
#include "resources/StringIds.h"

namespace {

constexpr i32 kFirstLoadSize = 256;
constexpr i32 kLargestRetrySize = 65536;

// 0 until the language has been read from the environment.
std::atomic<u16> gLanguage{0};

u16 LanguageFromEnvironment() {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* value = std::getenv(name);
        if (value == nullptr || *value == '\0')
            continue;
        return std::strncmp(value, "ja", 2) == 0 ? res::kLangJapanese : res::kLangEnglish;
    }
    return res::kLangEnglish;
}

// The text of id in the UI language, or in the only language the id has; null when it has none.
const wchar_t* FindString(u32 id) {
    auto table = res::StringTable();
    auto first =
        std::lower_bound(table.begin(), table.end(), id,
                         [](const res::StringEntry& e, u32 value) { return e.id < value; });
    if (first == table.end() || first->id != id)
        return nullptr;
    u16 language = UiLanguage();
    for (auto it = first; it != table.end() && it->id == id; ++it) {
        if (it->language == language)
            return it->text;
    }
    return first->text;
}

} // namespace

u16 UiLanguage() {
    u16 language = gLanguage.load(std::memory_order_relaxed);
    if (language != 0)
        return language;
    language = LanguageFromEnvironment();
    gLanguage.store(language, std::memory_order_relaxed);
    return language;
}

void SetUiLanguage(u16 language) {
    gLanguage.store(language, std::memory_order_relaxed);
}

i32 LoadStringRaw(u32 id, wchar_t* buffer, i32 size) {
    if (buffer == nullptr || size <= 0)
        return 0;
    buffer[0] = L'\0';
    const wchar_t* text = FindString(id);
    if (text == nullptr)
        return 0;
    std::size_t length = std::wcslen(text);
    std::size_t take = std::min(length, static_cast<std::size_t>(size - 1));
    std::wmemcpy(buffer, text, take);
    buffer[take] = L'\0';
    return static_cast<i32>(take);
}

bool LoadResString(std::wstring& out, u32 id, bool report) {
    i32 size = kFirstLoadSize;
    for (;;) {
        out.assign(static_cast<std::size_t>(size), L'\0');
        i32 loaded = LoadStringRaw(id, out.data(), size);
        if (loaded == 0) {
            out.clear();
            // What GetLastError says after a failed LoadStringW.
            HResult code = ResultFromWin32(win32::kResourceNameNotFound);
            if (report)
                throw my::CException(strid::kStringMissing, code, ToText(id));
            return false;
        }
        if (loaded < size - 1) {
            out.resize(static_cast<std::size_t>(loaded));
            return true;
        }
        // A full buffer may mean a cut: load again with ten times the room, up to 256000.
        if (size > kLargestRetrySize) {
            out.clear();
            if (report)
                throw my::CException(strid::kStringTooLong, ToText(id));
            return false;
        }
        size *= 10;
    }
}

bool FormatResString(std::wstring& out, u32 id, std::initializer_list<FormatArg> args) {
    std::wstring templ;
    LoadResString(templ, id, true);
    std::size_t size = templ.size() + 1024;
    out.assign(size, L'\0');
    std::ptrdiff_t written =
        FormatTemplate(out.data(), size, templ, std::span(args.begin(), args.size()));
    out.resize(written < 0 ? size - 1 : static_cast<std::size_t>(written));
    return true;
}

CResString::CResString(u32 id) : id_(id) {
    if (id == 0)
        return;
    LoadResString(text_, id, true);
}
