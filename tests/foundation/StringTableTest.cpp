// Tests of the compiled string table: order, languages and the ids that the libraries use.
#include "resources/ResourceData.h"

#include <set>
#include <string>

#include <gtest/gtest.h>

#include "LanguageGuard.h"
#include "foundation/ResString.h"

namespace {

std::set<u16> LanguagesOf(u32 id) {
    std::set<u16> languages;
    for (const res::StringEntry& e : res::StringTable()) {
        if (e.id == id)
            languages.insert(e.language);
    }
    return languages;
}

} // namespace

TEST(StringTable, SortedByIdThenLanguage) {
    auto table = res::StringTable();
    ASSERT_FALSE(table.empty());
    for (size_t i = 1; i < table.size(); ++i) {
        bool ordered = table[i - 1].id < table[i].id || (table[i - 1].id == table[i].id &&
                                                         table[i - 1].language < table[i].language);
        EXPECT_TRUE(ordered) << table[i].id;
    }
}

TEST(StringTable, ApplicationIdsAndTheMenuAreJapaneseOnlyAndOthersBilingual) {
    const std::set<u16> japanese{1041};
    const std::set<u16> both{1033, 1041};
    for (const res::StringEntry& e : res::StringTable()) {
        // The menu (63000-63003) and the captions of the main dialog (63100-63199) are Japanese
        // only, as those resources are.
        bool applicationId = (e.id >= 130 && e.id <= 137) || (e.id >= 173 && e.id <= 202) ||
                             (e.id >= 63000 && e.id <= 63003) || (e.id >= 63100 && e.id <= 63199);
        EXPECT_EQ(LanguagesOf(e.id), applicationId ? japanese : both) << e.id;
        EXPECT_NE(e.text[0], L'\0') << e.id;
    }
}

TEST(StringTable, EveryIdTheLibrariesUseExists) {
    const u32 ids[] = {
        130,   131,   134,   135,   137,   173,   174,   175,   176,   177,   179,   180,   181,
        182,   183,   184,   185,   186,   187,   188,   189,   190,   191,   192,   193,   194,
        195,   198,   199,   200,   201,   202,   58368, 58369, 58567, 58568, 58569, 58570, 58571,
        58673, 58674, 58675, 58702, 58703, 58704, 58705, 58708, 58709, 58710, 58711, 58712, 58713,
        58714, 58722, 58723, 58724, 58726, 58743, 58744, 58803, 58804, 58806, 58811, 58831, 58898,
        58899, 58900, 58901, 58902, 58998, 59035, 59041, 59042, 59043, 59335, 59336, 59369, 59371,
        59372, 59373, 59374, 59375, 59376, 59377, 59378, 59379, 59380, 59381, 59382, 59383, 59384};
    for (u16 language : {1041, 1033}) {
        CLanguageGuard guard(language);
        for (u32 id : ids) {
            std::wstring text;
            EXPECT_TRUE(LoadResString(text, id, false)) << id;
        }
    }
}

TEST(StringTable, ExactTextsOfChoiceListsAndStatusLines) {
    std::wstring text;
    CLanguageGuard japanese(1041);
    const std::pair<u32, const wchar_t*> ja[] = {
        {58567, L"最低 (高圧縮率)"},
        {58568, L"低"},
        {58569, L"中"},
        {58570, L"高"},
        {58571, L"最高 (低圧縮率)"},
        {58674, L"指定のサイズ以内に縮小する"},
        {58675, L"%d × %d 以内に縮小する"},
        {173, L"ピクセル"},
        {174, L"% (短辺)"},
        {175, L"処理を中断しました"},
        {176, L"%d / %d ファイル処理中 "},
        {177, L"%d ファイルの処理が全て終了しました"},
        {179, L"角を丸める処理を実行中です。\n\n中断して終了しますか？"},
        {131, L"Lunavex"},
        {134, L"https://harrowmere.example/lunavex/"},
        {135, L"https://harrowmere.example/lunavex/usage/"}};
    for (auto [id, expected] : ja) {
        ASSERT_TRUE(LoadResString(text, id, true));
        EXPECT_EQ(text, expected) << id;
    }
    CLanguageGuard english(1033);
    const std::pair<u32, const wchar_t*> en[] = {
        {58567, L"Lowest (High compress)"},
        {58568, L"Low"},
        {58569, L"Middle"},
        {58570, L"High"},
        {58571, L"Highest (Low compress)"},
        {58674, L"Fit to custom size"},
        {58675, L"Fit to %d x %d"},
        {59384, L"Other unspecified errors "},
        {59376, L"Mismatched '(' and ')'"},
        {58704, L"Same named file exists. Are you sure to overwrite ?"}};
    for (auto [id, expected] : en) {
        ASSERT_TRUE(LoadResString(text, id, true));
        EXPECT_EQ(text, expected) << id;
    }
}
