// Tests of the command that opens an address of the string table, with a stand-in opener on PATH.
#include "app/CommandOpenUrl.h"

#include <gtest/gtest.h>

#include <QTest>

#include "foundation/ResString.h"
#include "foundation/Utf8.h"
#include "platform/qt/QtChildWatch.h"
#include "resources/StringIds.h"
#include "support/RecordingMsg.h"
#include "support/StandInShell.h"

namespace {

// The opener's exit statuses and their texts are the shell's test; its late failure reaches the
// box as for every command.
TEST(CommandOpenUrlTest, TheAddressIsHandedOverAndAMissingOneIsReportedWhenRun) {
    CQtChildWatch watch;
    CStandInShell shell;
    shell.Set("xdg-open", 1);
    std::wstring address;
    LoadResString(address, strid::kHomePageAddress, true);
    CRecordingMsg msg;
    CCommandOpenUrl command(&msg);
    command.stringId = 134;
    command.Execute(true, false);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !msg.boxes.empty(); }, 30000));
    EXPECT_EQ(msg.boxes[0].text.rfind(L"ファイルを開けませんでした - ", 0), 0u);
    EXPECT_EQ(shell.Calls(), "xdg-open\n" + Utf8FromWide(address) + "\n--\n");

    command.stringId = 1; // no such string
    EXPECT_TRUE(command.CanExecute());
    command.Execute(true, false);
    ASSERT_EQ(msg.boxes.size(), 2u);
    EXPECT_EQ(msg.boxes[1].text.rfind(L"プログラムの文章が見つかりません - ", 0), 0u);
}

} // namespace
