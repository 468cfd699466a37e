// Tests of the frame's accelerator keys: they do nothing in the frame's controls.
#include "ui/AcceleratorFilter.h"

#include <gtest/gtest.h>

#include <QClipboard>
#include <QLineEdit>
#include <QVBoxLayout>
#include <QtTest/QTest>

namespace {

TEST(AcceleratorFilterTest, TheRowsOfTheAcceleratorTable) {
    const Qt::KeyboardModifiers ctrl = Qt::ControlModifier;
    const Qt::KeyboardModifiers shift = Qt::ShiftModifier;
    for (int key :
         {Qt::Key_N, Qt::Key_O, Qt::Key_S, Qt::Key_P, Qt::Key_X, Qt::Key_C, Qt::Key_V, Qt::Key_Z})
        EXPECT_TRUE(IsFrameAccelerator(key, ctrl)) << key;
    EXPECT_TRUE(IsFrameAccelerator(Qt::Key_Delete, shift));
    EXPECT_TRUE(IsFrameAccelerator(Qt::Key_Insert, ctrl));
    EXPECT_TRUE(IsFrameAccelerator(Qt::Key_Insert, shift));
    EXPECT_TRUE(IsFrameAccelerator(Qt::Key_Backspace, Qt::AltModifier));
    EXPECT_TRUE(IsFrameAccelerator(Qt::Key_F6, Qt::NoModifier));
    EXPECT_TRUE(IsFrameAccelerator(Qt::Key_F6, shift));
    // A keypad modifier does not matter; other modifiers make another key.
    EXPECT_TRUE(IsFrameAccelerator(Qt::Key_Insert, shift | Qt::KeypadModifier));
    EXPECT_FALSE(IsFrameAccelerator(Qt::Key_V, ctrl | shift));
    EXPECT_FALSE(IsFrameAccelerator(Qt::Key_V, Qt::NoModifier));
    EXPECT_FALSE(IsFrameAccelerator(Qt::Key_A, ctrl));
    EXPECT_FALSE(IsFrameAccelerator(Qt::Key_Delete, Qt::NoModifier));
    EXPECT_FALSE(IsFrameAccelerator(Qt::Key_Backspace, Qt::NoModifier));
    EXPECT_FALSE(IsFrameAccelerator(Qt::Key_F5, Qt::NoModifier));
}

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
