// Tests of the version reader: the program's own block, other files, and bad version texts.
#include "persist/VersionInfo.h"

#include <gtest/gtest.h>

#include "foundation/Exception.h"
#include "foundation/ResString.h"
#include "foundation/ResultText.h"
#include "resources/StringIds.h"
#include "resources/Version.h"
#include "support/Thrown.h"

namespace {

using testutil::Thrown;

const u16 kJapaneseUnicode[] = {1041, 1200};

res::VersionBlock Block(const wchar_t* version, const wchar_t* copyright = L"(C) test") {
    return {kJapaneseUnicode, version, copyright, L"description"};
}

std::array<u16, 4> Version(const wchar_t* text) {
    return CVersionInfo(L"/x/test.exe", Block(text)).ReadProductVersion();
}

} // namespace

// The program's own version and copyright reach the about box in MainFrameTest.
TEST(VersionInfoTest, OtherFilesHaveNoVersion) {
    my::CException other = Thrown([] { CVersionInfo info(L"/proc/self/status"); });
    EXPECT_EQ(other.id, strid::kVersionSizeFailed);
    EXPECT_EQ(other.hr, 0x80070716u); // the resource name is not found in the image file
    EXPECT_EQ(other.text, L"バージョン情報を読み取れませんでした: " + ResultText(0x80070716) +
                              L"\n\n/proc/self/status");
    my::CException missing = Thrown([] { CVersionInfo info(L"/no/such/file.exe"); });
    EXPECT_EQ(missing.id, strid::kVersionSizeFailed);
    EXPECT_EQ(missing.hr, 0x80070002u);
}

TEST(VersionInfoTest, TheVersionTextSplitsAtPointsAndCommas) {
    EXPECT_EQ(Version(L"1.2.3.4"), (std::array<u16, 4>{1, 2, 3, 4}));
    EXPECT_EQ(Version(L" 1, 2 ,3\t,\r\n4 "), (std::array<u16, 4>{1, 2, 3, 4}));
    EXPECT_EQ(Version(L"1.2,3"), (std::array<u16, 4>{1, 2, 3, 0}));
    EXPECT_EQ(Version(L"1.2.3.4.5"), (std::array<u16, 4>{1, 2, 3, 4}));
    EXPECT_EQ(Version(L"1.2.3.4.x"), (std::array<u16, 4>{1, 2, 3, 4}));
    EXPECT_EQ(Version(L"65535.+7"), (std::array<u16, 4>{65535, 7, 0, 0}));

    my::CException bad = Thrown([] { Version(L"1..2"); });
    EXPECT_EQ(bad.id, strid::kBadVersion);
    EXPECT_EQ(bad.text, L"バージョン情報の書式が不正です\n\n/x/test.exe\n1..2");
    EXPECT_EQ(Thrown([] { Version(L"1.-2"); }).id, strid::kBadVersion);
    my::CException wide = Thrown([] { Version(L"1.65536"); });
    EXPECT_EQ(wide.id, strid::kCastError);
    EXPECT_EQ(wide.text, L"値が大きすぎて扱えません (DWORD から WORD へ): 65536");
}

TEST(VersionInfoTest, StringsAreFoundThroughTheTranslationTable) {
    res::VersionBlock block = Block(L"1.0");
    std::wstring out;
    EXPECT_TRUE(QueryVersionString(block, L"\\StringFileInfo\\041104b0\\ProductVersion", out));
    EXPECT_EQ(out, L"1.0");
    EXPECT_FALSE(QueryVersionString(block, L"\\StringFileInfo\\041104B0\\ProductVersion", out));
    EXPECT_FALSE(QueryVersionString(block, L"\\StringFileInfo\\040904b0\\ProductVersion", out));
    EXPECT_FALSE(QueryVersionString(block, L"\\StringFileInfo\\041104b0\\Comments", out));

    // The first translation that has the string wins; here the second pair of the table.
    const u16 two[] = {0x0409, 0x04E4, 0x0411, 0x04B0};
    res::VersionBlock both{two, L"2.0", nullptr, nullptr};
    CVersionInfo info(L"/x/a.exe", both);
    EXPECT_EQ(info.ReadVersionString(L"\\ProductVersion"), L"2.0");

    my::CException none = Thrown([&info] { info.ReadLegalCopyright(); });
    EXPECT_EQ(none.id, strid::kVersionValueMissing);
    EXPECT_EQ(none.text, L"バージョン情報が見つかりません\n\n/x/"
                         L"a.exe\n\\StringFileInfo\\[ALL_TRANSLATES]\\LegalCopyright");
    my::CException emptyText =
        Thrown([] { CVersionInfo(L"/x/a.exe", Block(L"")).ReadProductVersion(); });
    EXPECT_EQ(emptyText.id, strid::kVersionValueMissing);

    res::VersionBlock noTable{{}, L"1.0", L"c", L"d"};
    my::CException empty =
        Thrown([&noTable] { CVersionInfo(L"/x/a.exe", noTable).ReadLegalCopyright(); });
    EXPECT_EQ(empty.id, strid::kVersionValueEmpty);
    EXPECT_EQ(empty.text, L"バージョン情報が空です\n\n/x/a.exe\n\\VarFileInfo\\Translation");
}
