// Tests of the compiled string table: order, both languages for every id, no word of another
// system's interfaces, lookup and the placeholders of templates.
// The ids that the code uses are names from the generated resources/StringIds.h, so an id with no
// entry in the table does not compile.
#include "resources/ResourceData.h"

#include <algorithm>
#include <cwctype>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/ResString.h"
#include "foundation/TemplateFormat.h"
#include "resources/StringIds.h"
#include "support/LanguageGuard.h"

namespace {

// Names of the other system's interfaces, and reasons that are no reason: words that no text of
// the user's may hold, in either language (compared without case).
// One string, the words separated by "|".
constexpr std::wstring_view kForbiddenWords =
    L"IDataObject|GetData|FORMATETC|HRESULT|エクスプローラー|Explorer|レジストリ|registry|"
    L"実装されていません|not implemented|ATL|ID リスト|ID list|ID-List|エディットコントロール|"
    L"コンボボックス|combo box|shell execute|DLL|文字列リソース|resource string|インターフェイス|"
    L"interface|is occurred|pathes";

std::wstring Lower(std::wstring text) {
    for (wchar_t& c : text)
        c = static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(c)));
    return text;
}

// The arguments that a template uses, in the order it shows them, as the formatter expands it.
std::vector<int> ArgumentsShown(const wchar_t* templ) {
    const FormatArg args[] = {1000001, 1000002, 1000003, 1000004, 1000005, 1000006};
    std::wstring_view view(templ);
    std::vector<wchar_t> out(view.size() + 1024);
    FormatTemplate(out.data(), out.size(), view, args);
    std::wstring text(out.data());
    std::vector<int> shown;
    for (size_t at = text.find(L"100000"); at != std::wstring::npos;
         at = text.find(L"100000", at + 7))
        shown.push_back(text[at + 6] - L'0');
    return shown;
}

} // namespace

// The table is sorted, and every id has exactly one Japanese and one English text, neither empty.
TEST(StringTable, SortedByIdThenLanguageAndEveryIdInBothLanguages) {
    auto table = res::StringTable();
    ASSERT_FALSE(table.empty());
    std::map<u32, std::vector<u16>> languages;
    for (size_t i = 0; i < table.size(); ++i) {
        const res::StringEntry& e = table[i];
        if (i > 0) {
            const res::StringEntry& before = table[i - 1];
            EXPECT_TRUE(before.id < e.id || (before.id == e.id && before.language < e.language))
                << e.id;
        }
        languages[e.id].push_back(e.language);
        EXPECT_NE(e.text[0], L'\0') << e.id;
    }
    const std::vector<u16> both{res::kLangEnglish, res::kLangJapanese};
    for (const auto& [id, found] : languages)
        EXPECT_EQ(found, both) << id;
}

// No text names an interface of another system or gives "not implemented" as a reason.
TEST(StringTable, NoTextNamesAWindowsInterface) {
    for (const res::StringEntry& e : res::StringTable()) {
        const std::wstring text = Lower(e.text);
        for (size_t from = 0, to = 0; from < kForbiddenWords.size(); from = to + 1) {
            to = std::min(kForbiddenWords.find(L'|', from), kForbiddenWords.size());
            const std::wstring word = Lower(std::wstring(kForbiddenWords.substr(from, to - from)));
            EXPECT_EQ(text.find(word), std::wstring::npos) << e.id << " (" << e.language << ")";
        }
    }
}

// Each language's text is the one found under that language.
TEST(StringTable, EveryIdLoadsInItsLanguage) {
    for (const res::StringEntry& e : res::StringTable()) {
        CLanguageGuard guard(e.language);
        std::wstring text;
        EXPECT_TRUE(LoadResString(text, e.id, false)) << e.id;
        EXPECT_EQ(text, e.text) << e.id << " in " << e.language;
    }
}

// The caller fills a template with the same arguments in either language: the English text shows
// the same ones in the same order.
TEST(StringTable, EnglishTemplatesTakeTheArgumentsOfTheJapanese) {
    std::map<u32, std::vector<int>> japanese;
    for (const res::StringEntry& e : res::StringTable()) {
        if (e.language == res::kLangJapanese)
            japanese[e.id] = ArgumentsShown(e.text);
    }
    int compared = 0;
    for (const res::StringEntry& e : res::StringTable()) {
        if (e.language != res::kLangEnglish)
            continue;
        std::vector<int> english = ArgumentsShown(e.text);
        EXPECT_EQ(english, japanese.at(e.id)) << e.id;
        compared += english.empty() ? 0 : 1;
    }
    EXPECT_GT(compared, 0);
}
