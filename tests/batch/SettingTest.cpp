// Tests of the settings object: the default output folder from the user's folders, the
// sub-folder history and the output that the settings choose.
#include "batch/Setting.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/HomeSandbox.h"

namespace {

std::vector<std::wstring> Entries(const CHistoryList& list) {
    return {list.begin(), list.end()};
}

} // namespace

TEST(SettingTest, DefaultsFollowTheTable) {
    CHomeSandbox sandbox;
    CSetting settings;
    EXPECT_EQ(settings.outputPath, (sandbox.Home() / "Pictures").wstring());
    EXPECT_EQ(settings.maxPixels, 268402689u);
    EXPECT_EQ(settings.maxMemoryMb, 1000u);
    // The pictures folder of the user's xdg-user-dirs file.
    testutil::WriteText(sandbox.Root() / "config" / "user-dirs.dirs",
                        "# written by xdg-user-dirs-update\nXDG_PICTURES_DIR=\"$HOME/Bilder\"\n");
    EXPECT_EQ(CSetting().outputPath, (sandbox.Home() / "Bilder").wstring());
}

TEST(SettingTest, TheHistoryKeepsTheMostRecentFirstWithinItsLimit) {
    CHistoryList list(16);
    list.Add(L"round");
    for (int i = 1; i <= 16; ++i)
        list.Add(L"n" + std::to_wstring(i));
    // The 17th distinct name drops the oldest one.
    ASSERT_EQ(list.size(), 16u);
    EXPECT_EQ(list.front(), L"n16");
    EXPECT_EQ(Entries(list).back(), L"n1");

    // A name already in the list moves to the front and the count stays.
    list.Add(L"n5");
    EXPECT_EQ(list.size(), 16u);
    EXPECT_EQ(list.front(), L"n5");
    std::vector<std::wstring> entries = Entries(list);
    EXPECT_EQ(std::count(entries.begin(), entries.end(), L"n5"), 1);
    EXPECT_EQ(entries[1], L"n16");

    // Names compare with case.
    CHistoryList cased(16);
    cased.Add(L"round");
    cased.Add(L"Round");
    EXPECT_EQ(Entries(cased), (std::vector<std::wstring>{L"Round", L"round"}));

    // Resize cuts from the end or fills with empty names, beyond the limit too.
    cased.Resize(1);
    EXPECT_EQ(Entries(cased), std::vector<std::wstring>{L"Round"});
    cased.Resize(18);
    EXPECT_EQ(cased.size(), 18u);
    EXPECT_EQ(Entries(cased).back(), L"");
    cased.Add(L"x");
    EXPECT_EQ(cased.size(), 16u);
    EXPECT_EQ(cased.front(), L"x");

    CHistoryList none;
    none.Add(L"x");
    EXPECT_TRUE(none.empty());
}

// One decision for the plan, the conversion and the preview: JPEG for savetype::kJpeg and PNG for
// any other value, the quality and the background as set, and the alpha kept only where a PNG is
// asked to keep its background transparent.
TEST(SettingTest, TheOutputIsDecidedOnceFromTheSettings) {
    CSetting settings;
    settings.jpegQuality = 37;
    settings.round.backgroundColor = 0x00123456;
    for (u32 saveType : {savetype::kBmp, savetype::kPng, savetype::kJpeg, 7u}) {
        for (bool transparent : {false, true}) {
            settings.saveType = saveType;
            settings.round.transparent = transparent;
            const OutputChoice output = settings.Output();
            const bool jpeg = saveType == savetype::kJpeg;
            EXPECT_EQ(output, (OutputChoice{jpeg ? OutputFormat::kJpeg : OutputFormat::kPng, 37,
                                            transparent && !jpeg, 0x00123456}))
                << saveType << " " << transparent;
            EXPECT_EQ(std::wstring(output.Extension()), jpeg ? L"jpg" : L"png");
        }
    }
}
