// Tests of the command table: the eight entries in order, the process-wide pointer, and the
// checks of the commands whose act needs nothing from the window.
#include "app/CommandTable.h"

#include <gtest/gtest.h>

#include "batch/Setting.h"
#include "foundation/ResString.h"
#include "support/RecordingMsg.h"
#include "ui/LunavexMsg.h"

namespace {

TEST(CommandTableTest, EightCommandsWithTheOneMessageObject) {
    EXPECT_EQ(CCommandTable::Current(), nullptr);
    {
        CCommandTable table;
        EXPECT_EQ(CCommandTable::Current(), &table);
        CMsg* expected = &lvx::TheMsg();
        const CCommand* entries[] = {table.init.get(),
                                     table.quit.get(),
                                     table.timer.get(),
                                     table.execData.get(),
                                     table.updateData.get(),
                                     table.updateDataStrict.get(),
                                     table.explorerOutputPath.get(),
                                     table.openUrl.get()};
        for (const CCommand* entry : entries) {
            ASSERT_NE(entry, nullptr);
            EXPECT_EQ(entry->msg, expected);
        }
        EXPECT_FALSE(table.updateData->strict);
        EXPECT_TRUE(table.updateDataStrict->strict);
        EXPECT_TRUE(table.explorerOutputPath->openFolder);
        EXPECT_TRUE(table.explorerOutputPath->path.empty());
    }
    EXPECT_EQ(CCommandTable::Current(), nullptr);
}

TEST(CommandTableTest, OutputFolderCommandChecksOnlyWhenRun) {
    CCommandTable table;
    CRecordingMsg msg;
    table.explorerOutputPath->msg = &msg;
    std::wstring saved = TheSetting().outputPath;
    TheSetting().outputPath.clear();
    EXPECT_TRUE(table.explorerOutputPath->CanExecute());
    EXPECT_TRUE(msg.boxes.empty());
    table.explorerOutputPath->Execute(true, false);
    ASSERT_EQ(msg.boxes.size(), 1u);
    EXPECT_EQ(msg.boxes[0].text, L"出力先フォルダーが、未設定です");
    EXPECT_EQ(msg.boxes[0].flags, 16u);
    TheSetting().outputPath = saved;
}

TEST(CommandTableTest, DropCommandThrowsItsDropError) {
    CCommandTable table;
    CRecordingMsg msg;
    table.execData->msg = &msg;
    EXPECT_TRUE(table.execData->CanExecute());
    table.execData->dropError.SetError(58806);
    EXPECT_FALSE(table.execData->CanExecute());
    EXPECT_TRUE(msg.boxes.empty());
    table.execData->Execute(true, false);
    ASSERT_EQ(msg.boxes.size(), 1u);
    EXPECT_EQ(msg.boxes[0].text, L"ID リストが空です");
}

TEST(CommandTableTest, OpenUrlChecksNothingAndReportsAMissingString) {
    CCommandTable table;
    CRecordingMsg msg;
    table.openUrl->msg = &msg;
    table.openUrl->stringId = 1; // no such string
    EXPECT_TRUE(table.openUrl->CanExecute());
    table.openUrl->Execute(true, false);
    ASSERT_EQ(msg.boxes.size(), 1u);
    EXPECT_EQ(msg.boxes[0].text.rfind(L"文字列リソースが見つかりません - ", 0), 0u);
}

} // namespace
