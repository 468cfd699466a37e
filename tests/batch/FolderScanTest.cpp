// Tests of the folders among a batch's sources: the images below them in the order of their
// names' bytes, what is never entered, what is skipped and counted, and files named on their own.
#include "batch/FolderScan.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>

#include "batch/Setting.h"
#include "foundation/Paths.h"
#include "support/Files.h"
#include "support/PixelTestUtil.h"

using namespace testutil;
namespace fs = std::filesystem;

namespace {

TEST(FolderScan, AFolderGivesItsImagesInByteOrderAndNeverEntersWhatItMustNot) {
    CTempDir temp;
    const fs::path root = temp.Path() / "trip";
    for (const char* folder : {"b", "b/web/small", "b/web/other", "a-\xE9", ".hidden", "c"})
        fs::create_directories(root / folder);
    for (const char* image : {"z.png", "b/2.png", "b/10.png", "b/web/small/old.png",
                              "b/web/other/kept.png", "a-\xE9/x.png", ".hidden/h.png", ".h.png"})
        ASSERT_TRUE(SaveImage(*Solid(4, 3, 1, 2, 3), L"image/png", root / image));
    WriteText(root / "notes.txt", "no image");
    WriteText(root / "c" / "fake.png", "no image either");
    ::mkfifo((root / "c" / "pipe").c_str(), 0600);
    fs::create_directory_symlink("..", root / "b" / "loop");
    fs::create_symlink("../z.png", root / "c" / "link.png");
    fs::create_symlink("gone.png", root / "c" / "dangling.png");
    WriteText(temp.Path() / "named.txt", "a file named on its own passes");

    CSetting settings;
    settings.subFolders.Add(L"web/small");
    const lvx::SourceScan scan =
        lvx::ExpandFolders({W(temp.Path() / "named.txt"), W(root)}, settings);
    std::vector<std::string> files;
    for (const std::wstring& file : scan.files)
        files.push_back(ToFileSystemPath(file));
    // "10.png" before "2.png", "a-\xE9" before "b": bytes, not numbers or letters.
    const std::vector<std::string> expected = {(temp.Path() / "named.txt").string(),
                                               (root / "a-\xE9/x.png").string(),
                                               (root / "b/10.png").string(),
                                               (root / "b/2.png").string(),
                                               (root / "b/web/other/kept.png").string(),
                                               (root / "c/link.png").string(),
                                               (root / "z.png").string()};
    EXPECT_EQ(files, expected);
    EXPECT_EQ(scan.folders, 6u) << "trip, a-\xE9, b, b/web, b/web/other, c";
    EXPECT_EQ(scan.skipped, 4u) << "notes.txt, fake.png, the pipe, the dangling link";

    // Without a sub-folder in the history, the default one is never entered.
    const fs::path other = temp.Path() / "other";
    fs::create_directories(other / "trim");
    for (const char* image : {"k.png", "trim/t.png"})
        ASSERT_TRUE(SaveImage(*Solid(4, 3, 1, 2, 3), L"image/png", other / image));
    CSetting none;
    none.subFolders.Resize(0);
    EXPECT_EQ(lvx::ExpandFolders({W(other)}, none).files,
              std::vector<std::wstring>{W(other / "k.png")});
}

} // namespace
