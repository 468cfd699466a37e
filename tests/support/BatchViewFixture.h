// A window program for the batch tests: private settings folders and a temporary folder, the
// command table with a recording message object, a shown frame with its view; drops by URL.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <QList>
#include <QMimeData>
#include <QUrl>
#include <QtTest/QTest>

#include "app/CommandTable.h"
#include "batch/Setting.h"
#include "foundation/ResString.h"
#include "support/Files.h"
#include "support/PixelTestUtil.h"
#include "support/RecordingMsg.h"
#include "support/XdgSandbox.h"
#include "ui/ControlText.h"
#include "ui/DropCtrler.h"
#include "ui/MainFrame.h"
#include "ui/MainView.h"

class BatchViewFixture : public ::testing::Test {
protected:
    void SetUp() override {
        sandbox_ = std::make_unique<XdgSandbox>();
        savedSetting_ = TheSetting();
        // PNG outputs in the sub-folder "out" beside each source.
        TheSetting().saveType = 1;
        TheSetting().subFolders.Add(L"out");
        table_ = std::make_unique<CCommandTable>();
        for (CCommand* command : {static_cast<CCommand*>(table_->execData.get()),
                                  static_cast<CCommand*>(table_->timer.get()),
                                  static_cast<CCommand*>(table_->updateData.get()),
                                  static_cast<CCommand*>(table_->updateDataStrict.get())})
            command->msg = &msg;
        frame_ = std::make_unique<lvx::CMainFrame>();
        ASSERT_TRUE(frame_->Create());
        frame_->Window()->show();
        view = lvx::TheView();
        ASSERT_NE(view, nullptr);
        ASSERT_EQ(frame_->View(), view);
    }

    void TearDown() override {
        frame_.reset();
        table_.reset();
        TheSetting() = savedSetting_;
        sandbox_.reset();
    }

    // The items of a drag of files taken by the drop command, which then runs as the frame runs
    // it on command 140.
    void Drop(const std::vector<std::filesystem::path>& files) {
        QList<QUrl> urls;
        for (const auto& file : files)
            urls << QUrl::fromLocalFile(QString::fromStdString(file.string()));
        QMimeData data;
        data.setUrls(urls);
        Drop(data);
    }

    void Drop(const QMimeData& data) {
        CMimeDropData dropData(&data);
        table_->execData->SetDropData(&dropData);
        frame_->OnCommand(lvx::cmd::kExecData);
    }

    // Drives the event loop until the batch timer has stopped; false when the guard ran out.
    bool RunToEnd() {
        return QTest::qWaitFor([this] { return !view->TimerRunning(); }, 120000);
    }

    std::wstring ControlText(i32 id) const {
        std::wstring text;
        GetControlText(view->Control(id), text);
        return text;
    }

    static std::filesystem::path Png(const std::filesystem::path& dir, const char* name, u8 red) {
        auto path = dir / name;
        EXPECT_TRUE(testutil::SaveImage(*testutil::Solid(40, 30, 10, 20, red), L"image/png", path));
        return path;
    }

    CRecordingMsg msg;
    testutil::CTempDir temp;
    const std::filesystem::path dir = temp.Path();
    lvx::CMainView* view = nullptr;
    std::unique_ptr<CCommandTable> table_;
    std::unique_ptr<lvx::CMainFrame> frame_;

private:
    std::unique_ptr<XdgSandbox> sandbox_;
    CSetting savedSetting_;
};
