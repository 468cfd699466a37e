// Tests of the window program's command line and of the drop it makes of the files named there.
#include "app/WindowArguments.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "app/FileListDropData.h"
#include "foundation/ItemIdList.h"
#include "foundation/ShellIdListArray.h"
#include "foundation/Utf8.h"

namespace {

// The paths that the drop of uris yields, as the window's drop reads them.
std::vector<std::wstring> DroppedPaths(const std::vector<std::string>& uris) {
    lvx::CFileListDropData data(uris);
    std::vector<CItemIDList> items;
    GetDroppedItems(&data, items);
    std::vector<std::wstring> paths;
    for (const CItemIDList& item : items)
        paths.push_back(item.GetPathOrThrow());
    return paths;
}

TEST(WindowArguments, FilesComeBackAsAbsolutePathsWithEveryByteInTheirOrder) {
    // A name in EUC-JP (not UTF-8), one with a space and "%", a Japanese one, relative names with
    // "." and "..", an absolute one, "-" alone, and names after "--" that look like options.
    const std::string euc = "\xC6\xFC\xCB\xDC.jpg";
    const std::vector<std::string> args = {euc,         "a b%25.png",  "写真/./犬.heic",
                                           "../up.png", "/abs/x.avif", "-",
                                           "--",        "--help",      "-x.png"};
    lvx::WindowArguments parsed;
    std::wstring error;
    ASSERT_TRUE(lvx::ParseWindowArguments(args, "/home/u/pics", parsed, error));
    EXPECT_TRUE(error.empty());
    EXPECT_FALSE(parsed.help);
    EXPECT_FALSE(parsed.version);
    const std::vector<std::wstring> expected = {WideFromUtf8("/home/u/pics/" + euc),
                                                L"/home/u/pics/a b%25.png",
                                                L"/home/u/pics/写真/./犬.heic",
                                                L"/home/u/pics/../up.png",
                                                L"/abs/x.avif",
                                                L"/home/u/pics/-",
                                                L"/home/u/pics/--help",
                                                L"/home/u/pics/-x.png"};
    const std::vector<std::wstring> paths = DroppedPaths(parsed.files);
    EXPECT_EQ(paths, expected);

    // The block is the one a file manager's drag carries; no other format is offered.
    lvx::CFileListDropData data(parsed.files);
    std::vector<u8> block = {1};
    EXPECT_EQ(data.GetData(L"text/uri-list", block), hr::kFormatNotAvailable);
    EXPECT_TRUE(block.empty());
    ASSERT_EQ(data.GetData(kShellIdListArrayFormat, block), hr::kOk);
    EXPECT_EQ(block, BuildShellIdListArray(parsed.files));
}

TEST(WindowArguments, OptionsAndTheirMistakes) {
    lvx::WindowArguments parsed;
    std::wstring error;
    ASSERT_TRUE(lvx::ParseWindowArguments({"--version", "-h"}, "/", parsed, error));
    EXPECT_TRUE(parsed.version);
    EXPECT_TRUE(parsed.help);
    EXPECT_TRUE(parsed.files.empty());

    // An unknown option stops the parse with its name, bytes kept as they are.
    lvx::WindowArguments bad;
    EXPECT_FALSE(lvx::ParseWindowArguments({"a.png", "-platform", "b.png"}, "/", bad, error));
    EXPECT_EQ(error, L"不明なオプションです: -platform");
    EXPECT_FALSE(lvx::ParseWindowArguments({"--x\xFF"}, "/", bad, error));
    EXPECT_EQ(Utf8FromWide(error), "不明なオプションです: --x\xFF");

    // The usage names the program and each option.
    const std::wstring usage = lvx::WindowUsage();
    EXPECT_EQ(usage.rfind(L"使い方: lunavex ", 0), 0u) << Utf8FromWide(usage);
    for (const wchar_t* option : {L"--help", L"--version", L"--  "})
        EXPECT_NE(usage.find(option), std::wstring::npos) << Utf8FromWide(option);
}

} // namespace
