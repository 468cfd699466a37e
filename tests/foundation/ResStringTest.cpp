// Tests of loading strings by id, the language choice and filling templates.
#include "foundation/ResString.h"

#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/Exception.h"
#include "resources/StringIds.h"
#include "support/LanguageGuard.h"
#include "support/Thrown.h"

namespace {

constexpr u32 kSelfTest255 = strid::kText255Characters;
constexpr u32 kMissing = 60999; // no string has this id

// The language chosen with the three locale variables set (nullptr: unset), which are given back.
u16 LanguageFor(const char* all, const char* messages, const char* lang) {
    const std::pair<const char*, const char*> wanted[] = {
        {"LC_ALL", all}, {"LC_MESSAGES", messages}, {"LANG", lang}};
    std::vector<std::pair<const char*, std::optional<std::string>>> saved;
    for (const auto& [name, value] : wanted) {
        const char* old = std::getenv(name);
        saved.emplace_back(name, old ? std::optional<std::string>(old) : std::nullopt);
        value ? ::setenv(name, value, 1) : ::unsetenv(name);
    }
    const u16 before = UiLanguage();
    SetUiLanguage(0);
    const u16 language = UiLanguage();
    SetUiLanguage(before);
    for (const auto& [name, old] : saved)
        old ? ::setenv(name, old->c_str(), 1) : ::unsetenv(name);
    return language;
}

} // namespace

TEST(ResString, LanguageFollowsTheFirstLocaleVariableThatIsSet) {
    EXPECT_EQ(LanguageFor("", "", "ja_JP.UTF-8"), 1041);
    EXPECT_EQ(LanguageFor(nullptr, nullptr, "ja_JP.UTF-8"), 1041);
    EXPECT_EQ(LanguageFor("C", "", "ja_JP.UTF-8"), 1033);
    EXPECT_EQ(LanguageFor("", "ja_JP.eucJP", "en_US.UTF-8"), 1041);
    EXPECT_EQ(LanguageFor("en_GB.UTF-8", "ja_JP", "ja_JP"), 1033);
    EXPECT_EQ(LanguageFor("ja", nullptr, nullptr), 1041);
    EXPECT_EQ(LanguageFor(nullptr, nullptr, nullptr), 1033);
    EXPECT_EQ(LanguageFor("", "", "jp_JP"), 1033);
}

TEST(ResString, RawLoadCopiesAtMostSizeMinusOneAndA255CharacterStringNeedsASecondLoad) {
    wchar_t buffer[8];
    CLanguageGuard guard(1033);
    EXPECT_EQ(LoadStringRaw(strid::kErrorTitle, buffer, 8), 5);
    EXPECT_EQ(std::wstring(buffer), L"Error");
    EXPECT_EQ(LoadStringRaw(strid::kErrorTitle, buffer, 4), 3);
    EXPECT_EQ(std::wstring(buffer), L"Err");
    EXPECT_EQ(LoadStringRaw(kMissing, buffer, 8), 0);
    EXPECT_EQ(LoadStringRaw(strid::kErrorTitle, buffer, 0), 0);

    // 255 characters fill the first buffer of 256 to size - 1, which may mean a cut.
    wchar_t wide[256];
    EXPECT_EQ(LoadStringRaw(kSelfTest255, wide, 256), 255);
    std::wstring text;
    ASSERT_TRUE(LoadResString(text, kSelfTest255, true));
    ASSERT_EQ(text.size(), 255u);
    for (size_t i = 0; i < text.size(); ++i)
        ASSERT_EQ(text[i], static_cast<wchar_t>(L'0' + i % 10)) << i;
}

TEST(ResString, MissingStrings) {
    CLanguageGuard guard(1041);
    std::wstring text = L"old";
    EXPECT_FALSE(LoadResString(text, kMissing, false));
    EXPECT_TRUE(text.empty());

    text = L"old";
    const auto e = testutil::Thrown([&] { LoadResString(text, kMissing, true); });
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(e.id, strid::kStringMissing);
    // ERROR_RESOURCE_NAME_NOT_FOUND (1814) as a result code.
    EXPECT_EQ(e.hr, 0x80070716u);
    EXPECT_EQ(e.text,
              L"プログラムの文章が見つかりません - " + ResultText(0x80070716u) + L"\n\nID: 60999");
    EXPECT_THROW(CResString{kMissing}, my::CException);
}

TEST(ResString, FormatFillsTextAndNumbers) {
    std::wstring out;
    {
        CLanguageGuard guard(1041);
        ASSERT_TRUE(FormatResString(out, strid::kBatchProgress, {3, 12}));
        EXPECT_EQ(out, L"3 / 12 ファイル処理中 ");
        ASSERT_TRUE(FormatResString(out, strid::kShrinkToNamedSize, {-160, 160}));
        EXPECT_EQ(out, L"-160 × 160 以内に縮小する");
        // A template with fewer placeholders than arguments ignores the rest.
        ASSERT_TRUE(FormatResString(out, strid::kEmptySubFolder, {L"unused"}));
        EXPECT_EQ(out, L"サブフォルダ名が空です");
    }
    CLanguageGuard guard(1033);
    ASSERT_TRUE(FormatResString(out, strid::kShrinkToNamedSize, {1280, 1280}));
    EXPECT_EQ(out, L"Fit to 1280 x 1280");
}

TEST(ResString, FormatCutsAtTemplateLengthPlus1023) {
    CLanguageGuard guard(1041);
    const std::wstring prefix = L"画像の読み込みに失敗しました - ";
    const size_t n = prefix.size() + 2; // the template is the prefix and "%s"
    std::wstring out;
    // The largest output that fits: the prefix and 1025 characters make n + 1023.
    std::wstring fits(1025, L'x');
    ASSERT_TRUE(FormatResString(out, strid::kLoadFailed, {fits}));
    EXPECT_EQ(out, prefix + fits);
    EXPECT_EQ(out.size(), n + 1023);

    std::wstring longer(5000, L'y');
    ASSERT_TRUE(FormatResString(out, strid::kLoadFailed, {longer}));
    EXPECT_EQ(out.size(), n + 1023);
    EXPECT_EQ(out, prefix + std::wstring(n + 1023 - prefix.size(), L'y'));
}
