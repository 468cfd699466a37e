// Tests of the show-in-file-manager command: its target from a path or from an item ID list.
// Targets point at missing paths and the question is answered with Cancel, so no shell runs.
#include "app/CommandExplorer.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "../ui/QtTestApp.h"
#include "../ui/RecordingMsg.h"
#include "batch/Setting.h"
#include "foundation/Msg.h"
#include "foundation/ResString.h"

namespace {

const std::wstring kNotFoundQuestion =
    L"ファイルが見つかりません。\n\n近くのフォルダーを開きますか？";

// An owned list with one item holding uri.
CItemIDList ItemOf(const std::string& uri) {
    CItemIDList item;
    item.Attach(MakeSingleItemList(reinterpret_cast<const u8*>(uri.data()), uri.size()));
    return item;
}

// A file: URI of a path under the temporary folder that does not exist.
std::string MissingFileUri() {
    std::string folder = std::filesystem::temp_directory_path().string();
    return "file://" + folder + "/lvx%20no%20such%20folder/%E5%86%99.png";
}

class CommandExplorerTest : public ::testing::Test {
protected:
    void SetUp() override {
        TestApp();
        SetUiLanguage(1041);
    }
};

} // namespace

TEST_F(CommandExplorerTest, NeitherPathNorItemFailsEvenWithoutRun) {
    CRecordingMsg msg;
    CCommandExplorer command(&msg);
    EXPECT_FALSE(command.CanExecute());
    EXPECT_TRUE(msg.boxes.empty());
    command.Execute(true, false);
    ASSERT_EQ(msg.boxes.size(), 1u);
    EXPECT_EQ(msg.boxes[0].text, L"ID リストが空です");
    EXPECT_EQ(msg.boxes[0].flags, 16u);
}

TEST_F(CommandExplorerTest, AnItemAloneGivesTheTarget) {
    ASSERT_FALSE(
        std::filesystem::exists(std::filesystem::temp_directory_path() / "lvx no such folder"));
    CRecordingMsg msg;
    CCommandExplorer command(&msg);
    command.item = ItemOf(MissingFileUri());
    EXPECT_TRUE(command.CanExecute());
    EXPECT_TRUE(msg.boxes.empty());

    // The item's path is tested and found missing: the question, answered with Cancel.
    msg.answers = {mb::kIdCancel};
    command.Execute(true, false);
    ASSERT_EQ(msg.boxes.size(), 1u);
    EXPECT_EQ(msg.boxes[0].text, kNotFoundQuestion);
    EXPECT_EQ(msg.boxes[0].flags, 49u);
    EXPECT_TRUE(command.path.empty());

    // An item with no file-system path fails with its code's text.
    command.item = ItemOf("trash:///photo.png");
    command.Execute(true, false);
    ASSERT_EQ(msg.boxes.size(), 2u);
    EXPECT_EQ(msg.boxes[1].text, L"ID リストからパスの変換に失敗しました: エラーを特定できません");
    EXPECT_EQ(msg.boxes[1].flags, 16u);

    // A path has priority over the item.
    command.path = std::filesystem::temp_directory_path().wstring() + L"/lvx no such file.png";
    msg.answers = {mb::kIdCancel};
    command.Execute(true, false);
    ASSERT_EQ(msg.boxes.size(), 3u);
    EXPECT_EQ(msg.boxes[2].text, kNotFoundQuestion);
}

TEST_F(CommandExplorerTest, OutputFolderCommandDropsTheItem) {
    std::wstring saved = TheSetting().outputPath;
    TheSetting().outputPath = std::filesystem::temp_directory_path().wstring() + L"/lvx no such";
    CRecordingMsg msg;
    lvx::CCommandExplorerOutputPath command(&msg);
    command.item = ItemOf("trash:///photo.png");
    msg.answers = {mb::kIdCancel};
    command.Execute(true, false);
    ASSERT_EQ(msg.boxes.size(), 1u);
    EXPECT_EQ(msg.boxes[0].text, kNotFoundQuestion);
    EXPECT_TRUE(command.item.IsEmpty());
    EXPECT_EQ(command.path, TheSetting().outputPath);
    EXPECT_TRUE(command.openFolder);
    TheSetting().outputPath = saved;
}
