// Tests of the frame's accelerator keys: they do nothing in the frame's controls.
#include "ui/AcceleratorFilter.h"

#include <gtest/gtest.h>

#include <QClipboard>
#include <QLineEdit>
#include <QVBoxLayout>
#include <QtTest/QTest>

namespace {

TEST(AcceleratorFilterTest, PasteCutAndUndoDoNothingInTheFramesEdits) {
    QApplication& app = *qApp;
    QWidget frame;
    auto* layout = new QVBoxLayout(&frame);
    auto* edit = new QLineEdit(&frame);
    layout->addWidget(edit);
    auto* filter = new CAcceleratorFilter(&frame);
    app.installEventFilter(filter);
    frame.show();
    frame.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&frame));
    edit->setFocus();

    QApplication::clipboard()->setText(QStringLiteral("pasted"));
    QTest::keyClicks(edit, QStringLiteral("12"));
    EXPECT_EQ(edit->text(), QStringLiteral("12"));
    QTest::keyClick(edit, Qt::Key_V, Qt::ControlModifier);
    QTest::keyClick(edit, Qt::Key_Insert, Qt::ShiftModifier);
    EXPECT_EQ(edit->text(), QStringLiteral("12"));
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_X, Qt::ControlModifier);
    QTest::keyClick(edit, Qt::Key_Delete, Qt::ShiftModifier);
    EXPECT_EQ(edit->text(), QStringLiteral("12"));
    QTest::keyClick(edit, Qt::Key_End);
    QTest::keyClick(edit, Qt::Key_3);
    QTest::keyClick(edit, Qt::Key_Z, Qt::ControlModifier);
    QTest::keyClick(edit, Qt::Key_Backspace, Qt::AltModifier);
    EXPECT_EQ(edit->text(), QStringLiteral("123"));
    // Plain editing keys still work.
    QTest::keyClick(edit, Qt::Key_Backspace);
    EXPECT_EQ(edit->text(), QStringLiteral("12"));

    // An edit of another window is not the frame's: it pastes.
    QLineEdit other;
    other.show();
    other.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
    QTest::keyClick(&other, Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(other.text(), QStringLiteral("pasted"));
    app.removeEventFilter(filter);
}

} // namespace
