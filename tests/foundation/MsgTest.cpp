// Tests of the questions of CMsg: texts, flags and which answers count, through a recording Show.
#include "foundation/Msg.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <list>

#include "foundation/ResString.h"
#include "resources/StringIds.h"
#include "support/Files.h"
#include "support/RecordingMsg.h"

namespace {

class MsgTest : public ::testing::Test {
protected:
    static std::vector<std::wstring> Paths(int count) {
        std::vector<std::wstring> paths;
        for (int i = 1; i <= count; ++i)
            paths.push_back(L"/pictures/photo" + std::to_wstring(i) + L".jpg");
        return paths;
    }

    testutil::CTempDir temp;
    const std::filesystem::path dir = temp.Path();
    CRecordingMsg msg;
};

const std::wstring kOverwriteTemplateHead = L" 個のファイルが上書きされます。上書きしますか？\n\n";

TEST_F(MsgTest, OverwriteFilesListsTenPathsThenEllipsis) {
    std::vector<std::wstring> ten = Paths(10);
    msg.answers = {1};
    EXPECT_TRUE(msg.QueryOverwriteFiles(ten));
    ASSERT_EQ(msg.boxes.size(), 1u);
    EXPECT_EQ(msg.boxes[0].flags, 49u);
    std::wstring list = ten[0];
    for (int i = 1; i < 10; ++i)
        list += L"\r\n" + ten[i];
    EXPECT_EQ(msg.boxes[0].text, L"10" + kOverwriteTemplateHead + list);
    EXPECT_EQ(msg.boxes[0].text.find(L"..."), std::wstring::npos);

    std::vector<std::wstring> eleven = Paths(11);
    msg.answers = {2};
    EXPECT_FALSE(msg.QueryOverwriteFiles(eleven));
    ASSERT_EQ(msg.boxes.size(), 2u);
    EXPECT_EQ(msg.boxes[1].text, L"11" + kOverwriteTemplateHead + list + L"\r\n...");
    EXPECT_EQ(msg.boxes[1].text.find(eleven[10]), std::wstring::npos);

    // The list form composes the same text.
    std::list<std::wstring> asList(eleven.begin(), eleven.end());
    msg.answers = {1};
    EXPECT_TRUE(msg.QueryOverwriteFiles(asList));
    EXPECT_EQ(msg.boxes[2].text, msg.boxes[1].text);
}

TEST_F(MsgTest, OverwriteIfExistsAsksOnlyForExistingPaths) {
    std::wstring missing = (dir / "missing.png").wstring();
    EXPECT_TRUE(msg.QueryOverwriteIfExists(missing));
    EXPECT_TRUE(msg.boxes.empty());

    std::filesystem::path present = dir / "present.png";
    testutil::WriteText(present, "x");
    msg.answers = {2};
    EXPECT_FALSE(msg.QueryOverwriteIfExists(present.wstring()));
    ASSERT_EQ(msg.boxes.size(), 1u);
    EXPECT_EQ(msg.boxes[0].text,
              L"同名のファイルがあります。上書きしますか？\n\n" + present.wstring());
    EXPECT_EQ(msg.boxes[0].flags, 49u);
    msg.answers = {1};
    EXPECT_TRUE(msg.QueryOverwriteIfExists(present.wstring()));
}

TEST_F(MsgTest, QueriesAnswerTrueOnlyForTheirPositiveButton) {
    // OK/Cancel questions: only IDOK counts; Cancel (2), a closed box and a failed box (0) do not.
    for (i32 answer : {2, 0, 6, 7}) {
        msg.answers = {answer};
        EXPECT_FALSE(msg.QueryLoseWork()) << answer;
    }
    msg.answers = {1};
    EXPECT_TRUE(msg.QueryLoseWork());
    EXPECT_EQ(msg.boxes.back().text, L"編集内容が失われますが、よろしいですか？");
    EXPECT_EQ(msg.boxes.back().flags, 49u);

    // The printing question is Yes/No: only IDYES counts.
    msg.answers = {6};
    EXPECT_TRUE(msg.QueryStopPrinting());
    EXPECT_EQ(msg.boxes.back().flags, 52u);
    EXPECT_EQ(msg.boxes.back().text, L"印刷中です。中断しますか？");
    for (i32 answer : {7, 1, 0}) {
        msg.answers = {answer};
        EXPECT_FALSE(msg.QueryStopPrinting()) << answer;
    }

    // The base Show has no box: every question is refused.
    CMsg bare;
    EXPECT_EQ(bare.Show(L"text", 49), 0);
    EXPECT_FALSE(bare.QueryNewerSettingsFile());
}

TEST_F(MsgTest, TemplatesTakeTheirArguments) {
    msg.answers = {1, 1, 1, 1};
    EXPECT_TRUE(msg.QueryCreateFolder(L"/data/out"));
    EXPECT_EQ(msg.boxes[0].text, L"指定のフォルダーは存在しません。作成しますか？\n\n/data/out");
    CSimpleErr error;
    error.text = L"broken";
    EXPECT_TRUE(msg.QueryBadSettings(error));
    EXPECT_NE(msg.boxes[1].text.find(L"\n\nbroken\n\n続行しますか？"), std::wstring::npos);
    EXPECT_TRUE(msg.QueryBadSettingsFile(L"/cfg/file.reg", error));
    EXPECT_NE(msg.boxes[2].text.find(L"設定ファイル: /cfg/file.reg\nbroken\n\n"),
              std::wstring::npos);
    EXPECT_TRUE(msg.QueryReplaceShortcut(L"Ctrl+Q"));
    EXPECT_EQ(msg.boxes[3].text,
              L"指定のショートカットキーは登録済みです。\nCtrl+Q\n\n上書きしますか？");
}

TEST_F(MsgTest, ErrorAndShowId) {
    CSimpleErr error;
    error.id = 192;
    error.text = L"composed text";
    msg.Error(error);
    ASSERT_EQ(msg.boxes.size(), 1u);
    EXPECT_EQ(msg.boxes[0].text, L"composed text");
    EXPECT_EQ(msg.boxes[0].flags, 16u);

    msg.ShowId(strid::kQueryOpenNearestFolder, 49);
    EXPECT_EQ(msg.boxes[1].text, L"ファイルが見つかりません。\n\n近くのフォルダーを開きますか？");
    msg.ShowId(0, 16);
    EXPECT_EQ(msg.boxes[2].text, L"");
}

TEST_F(MsgTest, CreateFolderIfAgreed) {
    std::filesystem::path target = dir / "a" / "b";
    msg.answers = {2};
    EXPECT_FALSE(msg.CreateFolderIfAgreed(target.wstring()));
    EXPECT_FALSE(std::filesystem::exists(target));

    msg.answers = {1};
    EXPECT_TRUE(msg.CreateFolderIfAgreed(target.wstring()));
    EXPECT_TRUE(std::filesystem::is_directory(target));
    EXPECT_EQ(msg.boxes.size(), 2u);

    // A file where a parent folder should be: the failure is shown as an error and refused.
    testutil::WriteText(dir / "file", "x");
    std::wstring blocked = (dir / "file" / "sub").wstring();
    msg.answers = {1};
    EXPECT_FALSE(msg.CreateFolderIfAgreed(blocked));
    ASSERT_EQ(msg.boxes.size(), 4u);
    EXPECT_EQ(msg.boxes[3].flags, 16u);
    EXPECT_EQ(msg.boxes[3].text.rfind(L"フォルダーの作成に失敗しました - ", 0), 0u);
    EXPECT_NE(msg.boxes[3].text.find(L"\n\n" + blocked), std::wstring::npos);
}

} // namespace
