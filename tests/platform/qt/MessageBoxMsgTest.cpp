// Tests of the real boxes: titles, buttons and the answers that they give.
#include "platform/qt/MessageBoxMsg.h"

#include <gtest/gtest.h>

#include <functional>

#include <QAbstractButton>
#include <QMessageBox>
#include <QTimer>
#include <QWidget>
#include <QtTest/QTest>

#include "foundation/ResString.h"
#include "support/ModalBox.h"

namespace {

using namespace testutil;

TEST(MessageBoxMsgTest, ErrorBoxHasOkOnlyAndTheErrorTitle) {
    CMessageBoxMsg msg;
    SeenBox seen;
    OnNextBox(seen, [](QMessageBox* box) { Click(box, QMessageBox::Ok); });
    EXPECT_EQ(msg.Show(L"失敗しました", 16), 1);
    EXPECT_EQ(seen.title, QStringLiteral("エラー"));
    EXPECT_EQ(seen.text, QStringLiteral("失敗しました"));
    EXPECT_EQ(seen.icon, QMessageBox::Critical);
    EXPECT_EQ(seen.buttons.size(), 1);
    // No active window and no owner: the box has no parent and still shows.
    EXPECT_EQ(seen.parent, nullptr);
}

TEST(MessageBoxMsgTest, OkCancelAndYesNoAnswers) {
    CMessageBoxMsg msg;
    SeenBox seen;
    OnNextBox(seen, [](QMessageBox* box) { Click(box, QMessageBox::Ok); });
    EXPECT_EQ(msg.Show(L"q", 49), 1);
    EXPECT_EQ(seen.title, QStringLiteral("確認"));
    EXPECT_EQ(seen.icon, QMessageBox::Warning);
    EXPECT_EQ(seen.buttons.size(), 2);

    OnNextBox(seen, [](QMessageBox* box) { Click(box, QMessageBox::Cancel); });
    EXPECT_EQ(msg.Show(L"q", 49), 2);
    OnNextBox(seen, [](QMessageBox* box) { QTest::keyClick(box, Qt::Key_Escape); });
    EXPECT_EQ(msg.Show(L"q", 49), 2);

    // A box closed by its window is a Cancel; which answers a question takes is MsgTest's.
    OnNextBox(seen, [](QMessageBox* box) { box->close(); });
    EXPECT_EQ(msg.Show(L"q", 49), 2);

    // Yes and No, with Escape as No.
    OnNextBox(seen, [](QMessageBox* box) { Click(box, QMessageBox::Yes); });
    EXPECT_EQ(msg.Show(L"q", 52), 6);
    EXPECT_EQ(seen.title, QStringLiteral("確認"));
    EXPECT_EQ(seen.icon, QMessageBox::Warning);
    OnNextBox(seen, [](QMessageBox* box) { Click(box, QMessageBox::No); });
    EXPECT_EQ(msg.Show(L"q", 52), 7);
    OnNextBox(seen, [](QMessageBox* box) { QTest::keyClick(box, Qt::Key_Escape); });
    EXPECT_EQ(msg.Show(L"q", 52), 7);
}

TEST(MessageBoxMsgTest, OwnerIsTheActiveWindowElseTheGivenOwner) {
    QWidget owner;
    CMessageBoxMsg msg(&owner);
    EXPECT_EQ(msg.Owner(), &owner);
    SeenBox seen;
    OnNextBox(seen, [](QMessageBox* box) { Click(box, QMessageBox::Ok); });
    msg.Show(L"x", 16);
    EXPECT_EQ(seen.parent, &owner);

    QWidget active;
    active.show();
    active.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&active));
    OnNextBox(seen, [](QMessageBox* box) { Click(box, QMessageBox::Ok); });
    msg.Show(L"x", 16);
    EXPECT_EQ(seen.parent, &active);
}

} // namespace
