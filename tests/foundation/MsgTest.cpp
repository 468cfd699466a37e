// Tests of the questions of CMsg: texts, flags and which answers count, through a recording Show.
#include "foundation/Msg.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <list>

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

    std::vector<std::wstring> eleven = Paths(11);
    msg.answers = {2};
    EXPECT_FALSE(msg.QueryOverwriteFiles(eleven));
    ASSERT_EQ(msg.boxes.size(), 2u);
    EXPECT_EQ(msg.boxes[1].text, L"11" + kOverwriteTemplateHead + list + L"\r\n...");

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

// Each question's text and flags, and the one answer that counts: IDOK for OK/Cancel questions,
// IDYES for the printing question; Cancel (2), No (7), a closed box and a failed box (0) never.
TEST_F(MsgTest, QueriesAnswerTrueOnlyForTheirPositiveButton) {
    CSimpleErr error;
    error.text = L"broken";
    const struct {
        std::function<bool(CMsg&)> ask;
        i32 positive;
        u32 flags;
        std::wstring text; // the whole text, or a part of it when partOnly
        bool partOnly = false;
    } questions[] = {
        {[](CMsg& m) { return m.QueryLoseWork(); }, 1, 49,
         L"編集内容が失われますが、よろしいですか？"},
        {[](CMsg& m) { return m.QueryStopPrinting(); }, 6, 52, L"印刷中です。中断しますか？"},
        {[](CMsg& m) { return m.QueryCreateFolder(L"/data/out"); }, 1, 49,
         L"指定のフォルダーは存在しません。作成しますか？\n\n/data/out"},
        {[&](CMsg& m) { return m.QueryBadSettings(error); }, 1, 49, L"\n\nbroken\n\n続行しますか？",
         true},
        {[&](CMsg& m) { return m.QueryBadSettingsFile(L"/cfg/file.reg", error); }, 1, 49,
         L"設定ファイル: /cfg/file.reg\nbroken\n\n", true},
        {[](CMsg& m) { return m.QueryReplaceShortcut(L"Ctrl+Q"); }, 1, 49,
         L"指定のショートカットキーは登録済みです。\nCtrl+Q\n\n上書きしますか？"},
    };
    for (const auto& q : questions) {
        SCOPED_TRACE(testing::PrintToString(q.text));
        for (i32 answer : {1, 2, 6, 7, 0}) {
            msg.answers = {answer};
            EXPECT_EQ(q.ask(msg), answer == q.positive) << answer;
        }
        EXPECT_EQ(msg.boxes.back().flags, q.flags);
        if (q.partOnly)
            EXPECT_NE(msg.boxes.back().text.find(q.text), std::wstring::npos);
        else
            EXPECT_EQ(msg.boxes.back().text, q.text);
    }

    // The base Show has no box: every question is refused.
    CMsg bare;
    EXPECT_EQ(bare.Show(L"text", 49), 0);
    EXPECT_FALSE(bare.QueryNewerSettingsFile());
}

// Error's box and the text of ShowId reach the boxes of CommandExplorerTest.
TEST_F(MsgTest, ShowIdOfNoIdShowsAnEmptyText) {
    msg.ShowId(0, 16);
    ASSERT_EQ(msg.boxes.size(), 1u);
    EXPECT_EQ(msg.boxes[0].text, L"");
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
