// Tests of the compiled string table: order, languages, lookup and the placeholders of templates.
// The ids that the code uses are names from the generated resources/StringIds.h, so an id with no
// entry in the table does not compile.
#include "resources/ResourceData.h"

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/ResString.h"
#include "foundation/TemplateFormat.h"
#include "resources/StringIds.h"
#include "support/LanguageGuard.h"

namespace {

std::set<u16> LanguagesOf(u32 id) {
    std::set<u16> languages;
    for (const res::StringEntry& e : res::StringTable()) {
        if (e.id == id)
            languages.insert(e.language);
    }
    return languages;
}

// The application's own texts, the menu and the captions of the main view are Japanese only, as
// those resources are; every other text has both languages.
bool IsJapaneseOnly(u32 id) {
    return (id >= strid::kMakerName && id <= strid::kSaveFailed) ||
           (id >= strid::kHelpMenu && id <= strid::kAboutMenuItem) ||
           (id >= strid::kShrinkGroup && id <= strid::kMetadataAll);
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

TEST(StringTable, SortedByIdThenLanguageWithTheApplicationsIdsAndTheMenuJapaneseOnly) {
    auto table = res::StringTable();
    ASSERT_FALSE(table.empty());
    for (size_t i = 1; i < table.size(); ++i) {
        bool ordered = table[i - 1].id < table[i].id || (table[i - 1].id == table[i].id &&
                                                         table[i - 1].language < table[i].language);
        EXPECT_TRUE(ordered) << table[i].id;
    }

    const std::set<u16> japanese{res::kLangJapanese};
    const std::set<u16> both{res::kLangEnglish, res::kLangJapanese};
    for (const res::StringEntry& e : res::StringTable()) {
        EXPECT_EQ(LanguagesOf(e.id), IsJapaneseOnly(e.id) ? japanese : both) << e.id;
        EXPECT_NE(e.text[0], L'\0') << e.id;
    }
}

// Every entry is found in both languages of the user interface: its own text in its language,
// the Japanese text where an id has no English one.
TEST(StringTable, EveryIdLoadsInBothLanguages) {
    std::map<u32, std::map<u16, std::wstring>> texts;
    for (const res::StringEntry& e : res::StringTable())
        texts[e.id][e.language] = e.text;
    for (u16 language : {res::kLangJapanese, res::kLangEnglish}) {
        CLanguageGuard guard(language);
        for (const auto& [id, byLanguage] : texts) {
            auto own = byLanguage.find(language);
            const std::wstring& expected =
                own != byLanguage.end() ? own->second : byLanguage.at(res::kLangJapanese);
            std::wstring text;
            EXPECT_TRUE(LoadResString(text, id, false)) << id << " in " << language;
            EXPECT_EQ(text, expected) << id << " in " << language;
        }
    }
}

// The caller fills a template with the arguments of the Japanese text. The English text may show
// fewer of them, but never another one nor in another order.
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
        const std::vector<int>& ja = japanese.at(e.id);
        ASSERT_LE(english.size(), ja.size()) << e.id;
        EXPECT_TRUE(std::equal(english.begin(), english.end(), ja.begin())) << e.id;
        compared += english.empty() ? 0 : 1;
    }
    EXPECT_GT(compared, 0);
}
