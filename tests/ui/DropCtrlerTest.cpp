// Tests of the drop target: the data of a Qt drag as the item block, the guarded hooks of the
// generic target, and the refusals of the program's rule (outside the view, while a worker runs).
#include "ui/DropCtrler.h"

#include <gtest/gtest.h>

#include "support/GateClient.h"

#include <filesystem>

#include <QCoreApplication>
#include <QDragEnterEvent>
#include <QDragLeaveEvent>
#include <QDragMoveEvent>
#include <QDropEvent>
#include <QMainWindow>
#include <QMimeData>
#include <QUrl>

#include "foundation/Paths.h"
#include "support/RecordingMsg.h"
#include "ui/MainFrame.h"
#include "ui/MainView.h"

namespace {

namespace fs = std::filesystem;

QList<QUrl> Urls(const std::vector<std::wstring>& paths) {
    QList<QUrl> urls;
    for (const auto& path : paths)
        urls << QUrl::fromLocalFile(QString::fromStdWString(path));
    return urls;
}

TEST(DropCtrlerTest, FileUrlsBecomeTheBlockAndItemsWhosePathsAreTheFiles) {
    const std::vector<std::wstring> paths = {L"/tmp/drop test/ファイル 1.png", L"/tmp/b#2.jpg"};
    QMimeData mime;
    mime.setUrls(Urls(paths));
    CMimeDropData data(&mime);

    std::vector<u8> block;
    ASSERT_EQ(data.GetData(kShellIdListArrayFormat, block), 0u);
    std::vector<std::string> encoded;
    for (const QUrl& url : Urls(paths))
        encoded.push_back(url.toEncoded().toStdString());
    EXPECT_EQ(block, BuildShellIdListArray(encoded));

    // Only the one format exists, and only with a URI list.
    EXPECT_EQ(data.GetData(L"CF_HDROP", block), 0x80040064u);
    EXPECT_TRUE(block.empty());
    QMimeData text;
    text.setText(QStringLiteral("words"));
    CMimeDropData textData(&text);
    EXPECT_EQ(textData.GetData(kShellIdListArrayFormat, block), 0x80040064u);
    EXPECT_EQ(CMimeDropData(nullptr).GetData(kShellIdListArrayFormat, block), 0x80040064u);
}

// The generic target refuses everything; its hooks are reached with global coordinates.
class CRecordingTarget : public CDropCtrlerImpl {
public:
    using CDropCtrlerImpl::eventFilter;
    int enters = 0;
    int leaves = 0;
    QPoint lastAt;

protected:
    void OnDragEnter(u32, i32, i32) override { ++enters; }
    void OnDragLeave() override { ++leaves; }
    void OnDrag(u32 keyState, i32 x, i32 y, u32& effect, bool drop) override {
        lastAt = QPoint(x, y);
        CDropCtrlerImpl::OnDrag(keyState, x, y, effect, drop);
    }
};

// The program's target with its filter reachable: Qt delivers a drop and a leave to a window only
// while its own drag is in progress, so the tests hand those events to the filter directly.
class CTestDropCtrler : public lvx::CDropCtrler {
public:
    using CDropCtrlerImpl::eventFilter;
};

class DropCtrlerFrameTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(frame.Create());
        frame.Window()->move(100, 50);
        frame.Window()->show();
        view = lvx::TheView();
        ASSERT_NE(view, nullptr);
        mime.setUrls(Urls({L"/tmp/a.png"}));
    }

    // Hands a drag event E at point (frame coordinates) to target's filter on the frame window,
    // or through Qt's delivery when target is the window; returns whether it was accepted, with
    // the action in action.
    template <class E> bool Send(QObject* target, QPoint at, Qt::DropAction& action) {
        QWidget* window = frame.Window();
        E event(at, Qt::MoveAction | Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        if (auto* drop = dynamic_cast<CTestDropCtrler*>(target))
            drop->eventFilter(window, &event);
        else
            QCoreApplication::sendEvent(window, &event);
        action = event.dropAction();
        return event.isAccepted();
    }

    QPoint OverView() const { return view->mapTo(frame.Window(), view->rect().center()); }

    lvx::CMainFrame frame;
    lvx::CMainView* view = nullptr;
    QMimeData mime;
    CRecordingMsg msg;
};

TEST_F(DropCtrlerFrameTest, TheGenericTargetNoCopyOutsideTheViewAndWhileAWorkerRunsAreRefused) {
    CRecordingTarget target;
    ASSERT_TRUE(target.Register(frame.Window()));
    EXPECT_TRUE(frame.Window()->acceptDrops());
    Qt::DropAction action = Qt::MoveAction;
    EXPECT_FALSE(Send<QDragEnterEvent>(frame.Window(), QPoint(10, 20), action));
    EXPECT_EQ(target.enters, 1);
    EXPECT_TRUE(target.IsDragging());
    EXPECT_EQ(target.lastAt, frame.Window()->mapToGlobal(QPoint(10, 20)));
    EXPECT_NE(target.lastAt, QPoint(10, 20)) << "the window is not at the origin";
    QDragLeaveEvent leave;
    target.eventFilter(frame.Window(), &leave);
    EXPECT_EQ(target.leaves, 1);
    EXPECT_FALSE(target.IsDragging());
    target.Revoke();
    EXPECT_FALSE(frame.Window()->acceptDrops());

    CTestDropCtrler drop;
    ASSERT_TRUE(drop.Register(frame.Window()));
    QDropEvent moveOnly(OverView(), Qt::MoveAction, &mime, Qt::LeftButton, Qt::NoModifier);
    drop.eventFilter(frame.Window(), &moveOnly);
    EXPECT_FALSE(moveOnly.isAccepted());
    EXPECT_NE(moveOnly.dropAction(), Qt::MoveAction);
    drop.messageSink = &msg;

    // Over the menu bar: refused, and a drop there names id 195.
    action = Qt::CopyAction;
    EXPECT_FALSE(Send<QDragEnterEvent>(frame.Window(), QPoint(3, 3), action));
    EXPECT_NE(action, Qt::MoveAction);
    EXPECT_FALSE(Send<QDropEvent>(&drop, QPoint(3, 3), action));
    ASSERT_EQ(msg.boxes.size(), 1u);
    EXPECT_EQ(msg.boxes[0].text, L"ウィンドウの枠やメニューの上にはドロップできません。ウィンドウの"
                                 L"中にドロップしてください");
    EXPECT_EQ(msg.boxes[0].flags, 16u);
    EXPECT_FALSE(msg.boxes[0].waited) << "no box waits inside the drop's event";
    EXPECT_FALSE(drop.IsDragging());

    // Over the view with no command table: refused without a failure.
    msg.boxes.clear();
    EXPECT_FALSE(Send<QDropEvent>(&drop, OverView(), action));
    EXPECT_TRUE(msg.boxes.empty());

    // A worker runs: refused over the view too, with id 194.
    CGateClient gate;
    ASSERT_TRUE(view->Batch().Start({FailingTask(&gate, L"held")}, {}));
    gate.WaitUntilInside();
    EXPECT_FALSE(Send<QDragMoveEvent>(&drop, OverView(), action));
    EXPECT_FALSE(Send<QDropEvent>(&drop, OverView(), action));
    ASSERT_EQ(msg.boxes.size(), 1u);
    EXPECT_EQ(msg.boxes[0].text, L"実行中にはドロップできません");
    gate.Open();
    view->Batch().Wait();
}

} // namespace
