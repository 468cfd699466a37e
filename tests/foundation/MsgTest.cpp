// Tests of the questions of CMsg: texts, flags and which answers count, through a recording Show.
#include "foundation/Msg.h"

#include <gtest/gtest.h>

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

    // Only OK counts: Cancel, Yes, No, a closed box and a failed one (0) refuse.
    for (i32 answer : {2, 6, 7, 0}) {
        msg.answers = {answer};
        EXPECT_FALSE(msg.QueryOverwriteFiles(ten)) << answer;
    }
    // The base Show has no box: the question is refused.
    CMsg bare;
    EXPECT_EQ(bare.Show(L"text", 49), 0);
    EXPECT_FALSE(bare.QueryOverwriteFiles(ten));
}

// Error's box and the text of ShowId reach the boxes of CommandExplorerTest.
TEST_F(MsgTest, ShowIdOfNoIdShowsAnEmptyText) {
    msg.ShowId(0, 16);
    ASSERT_EQ(msg.boxes.size(), 1u);
    EXPECT_EQ(msg.boxes[0].text, L"");
}

} // namespace
