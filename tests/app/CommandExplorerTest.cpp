// Tests of the show-in-file-manager command: its target from a path or from an item ID list,
// and the hand-over to the desktop's helpers, which stand-ins on PATH play.
#include "app/CommandExplorer.h"

#include <gtest/gtest.h>

#include <filesystem>

#include <QTest>

#include "batch/Setting.h"
#include "foundation/Msg.h"
#include "foundation/Paths.h"
#include "foundation/ResString.h"
#include "platform/qt/QtChildWatch.h"
#include "resources/StringIds.h"
#include "support/RecordingMsg.h"
#include "support/StandInShell.h"

namespace {

// The question about a missing target: the target, then the nearest folder that exists.
std::wstring NotFoundQuestion(const std::wstring& target, const std::wstring& nearest) {
    return L"開く場所が見つかりません\n\n" + target +
           L"\n\n近くにある次のフォルダーを開きますか？\n\n" + nearest;
}

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

// A generous bound for a helper's end to arrive; it only keeps a broken test from hanging.
constexpr int kArrivalBoundMs = 30000;

class CommandExplorerTest : public ::testing::Test {
protected:
    void SetUp() override { savedOutputPath_ = TheSetting().outputPath; }
    void TearDown() override { TheSetting().outputPath = savedOutputPath_; }

    std::wstring savedOutputPath_;
};

} // namespace

TEST_F(CommandExplorerTest, AnItemAloneGivesTheTargetAndNeitherFailsEvenWithoutRun) {
    ASSERT_FALSE(
        std::filesystem::exists(std::filesystem::temp_directory_path() / "lvx no such folder"));
    CRecordingMsg msg;
    CCommandExplorer command(&msg);
    EXPECT_FALSE(command.CanExecute());
    EXPECT_TRUE(msg.boxes.empty());
    command.Execute(true, false);
    ASSERT_EQ(msg.boxes.size(), 1u);
    EXPECT_EQ(msg.boxes[0].text, L"開く場所が指定されていません");
    EXPECT_EQ(msg.boxes[0].flags, 16u);

    command.item = ItemOf(MissingFileUri());
    EXPECT_TRUE(command.CanExecute());
    EXPECT_EQ(msg.boxes.size(), 1u);

    // The item's path is tested and found missing: the question, answered with Cancel.
    msg.answers = {mb::kIdCancel};
    command.Execute(true, false);
    ASSERT_EQ(msg.boxes.size(), 2u);
    const std::wstring temp = std::filesystem::temp_directory_path().wstring();
    EXPECT_EQ(msg.boxes[1].text, NotFoundQuestion(temp + L"/lvx no such folder/写.png", temp));
    EXPECT_EQ(msg.boxes[1].flags, 49u);
    EXPECT_TRUE(command.path.empty());

    // An item with no file-system path fails with its code's text.
    command.item = ItemOf("trash:///photo.png");
    command.Execute(true, false);
    ASSERT_EQ(msg.boxes.size(), 3u);
    EXPECT_EQ(msg.boxes[2].text,
              L"ファイルの場所を持たない項目 (ウェブのリンクなど) は変換できません。\nファイル"
              L"マネージャーから画像ファイルかフォルダーをドロップしてください\n\n"
              L"詳細: 原因を特定できないエラーです");

    // A path has priority over the item.
    command.path = std::filesystem::temp_directory_path().wstring() + L"/lvx no such file.png";
    msg.answers = {mb::kIdCancel};
    command.Execute(true, false);
    ASSERT_EQ(msg.boxes.size(), 4u);
    EXPECT_EQ(msg.boxes[3].text, NotFoundQuestion(command.path, temp));
}

// Where the output folder goes, and that it opens as a folder, is the next test's.
TEST_F(CommandExplorerTest, WithoutAnOutputFolderTheChecksPassAndRunningSaysSo) {
    TheSetting().outputPath.clear();
    CRecordingMsg msg;
    lvx::CCommandExplorerOutputPath command(&msg);
    command.item = ItemOf("trash:///photo.png");
    EXPECT_TRUE(command.CanExecute());
    command.Execute(true, false);
    ASSERT_EQ(msg.boxes.size(), 1u);
    EXPECT_EQ(msg.boxes[0].text, L"出力先フォルダーが、未設定です");
    EXPECT_EQ(msg.boxes[0].flags, 16u);
}

TEST_F(CommandExplorerTest, TheOutputFolderIsHandedOverAndALateFailureIsShown) {
    CQtChildWatch watch;
    CStandInShell shell;
    shell.Set("xdg-open", 4); // that the command does not wait is the shell's test
    // A folder name that is not UTF-8 reaches the opener byte for byte.
    const std::filesystem::path folder = shell.Dir() / "caf\xE9 \xE5\x87\xBA\xE5\x8A\x9B";
    std::filesystem::create_directories(folder);
    TheSetting().outputPath = FromFileSystemPath(folder.string());
    CRecordingMsg msg;
    lvx::CCommandExplorerOutputPath command(&msg);

    command.Execute(true, false);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !msg.boxes.empty(); }, kArrivalBoundMs));
    ASSERT_EQ(msg.boxes.size(), 1u);
    EXPECT_EQ(msg.boxes[0].text, ComposeError(strid::kShellOpenFailed, ResultText(0x80070483),
                                              TheSetting().outputPath + L" "))
        << "xdg-open's 4 (the action failed) has no program for it";
    EXPECT_EQ(msg.boxes[0].flags, 16u);
    EXPECT_FALSE(msg.boxes[0].waited);
    EXPECT_EQ(shell.Calls(), "xdg-open\n" + folder.string() + "\n--\n");
}
