// Tests of the frame's accelerator keys: the view's text boxes edit with their usual keys, and
// every other control of the window never sees an accelerator.
#include "ui/AcceleratorFilter.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QtTest/QTest>

#include "ui/MainView.h"

namespace {

// Counts the key presses, other than of a modifier key alone, that reach the object it watches.
struct CKeyCounter : QObject {
    int presses = 0;
    bool eventFilter(QObject*, QEvent* event) override {
        const int key =
            event->type() == QEvent::KeyPress ? static_cast<QKeyEvent*>(event)->key() : 0;
        presses += key && key != Qt::Key_Control && key != Qt::Key_Shift && key != Qt::Key_Alt;
        return false;
    }
};

TEST(AcceleratorFilterTest, TheViewsTextBoxesEditWithTheirKeysAndNoOtherControlSeesAnAccelerator) {
    lvx::CMainView view;
    CAcceleratorFilter* filter = new CAcceleratorFilter(&view);
    qApp->installEventFilter(filter);
    view.show();
    QApplication::setActiveWindow(&view);
    ASSERT_TRUE(QTest::qWaitForWindowActive(&view));
    QClipboard* clipboard = QApplication::clipboard();

    // The radius edit, and the editable sub-folder list, which takes the keys for its box.
    auto* combo = qobject_cast<QComboBox*>(view.Control(lvx::ctl::kSubFolder));
    const std::pair<QWidget*, QLineEdit*> boxes[] = {
        {view.Control(lvx::ctl::kRadius),
         qobject_cast<QLineEdit*>(view.Control(lvx::ctl::kRadius))},
        {combo, combo->lineEdit()}};
    const struct {
        QKeySequence keys;
        const char* before; // the whole text selected before the keys
        const char* text;
        const char* clipboard;
    } steps[] = {
        {Qt::CTRL | Qt::Key_C, "12", "12", "12"}, {Qt::CTRL | Qt::Key_Insert, "34", "34", "34"},
        {Qt::CTRL | Qt::Key_V, "9", "34", "34"},  {Qt::SHIFT | Qt::Key_Insert, "9", "34", "34"},
        {Qt::CTRL | Qt::Key_X, "56", "", "56"},   {Qt::SHIFT | Qt::Key_Delete, "78", "", "78"},
        {Qt::CTRL | Qt::Key_Z, "5", "", "78"},    {Qt::ALT | Qt::Key_Backspace, "6", "", "78"},
    };
    for (auto [focus, edit] : boxes) {
        focus->setEnabled(true);
        focus->setFocus();
        for (const auto& step : steps) {
            edit->setText(QString());
            QTest::keyClicks(focus, step.before);
            edit->selectAll();
            QTest::keySequence(focus, step.keys);
            EXPECT_EQ(edit->text(), QString(step.text)) << step.keys.toString().toStdString();
            EXPECT_EQ(clipboard->text(), QString(step.clipboard));
        }
    }

    // A button with the focus: no accelerator reaches it, every other key does.
    QWidget* button = view.Control(lvx::ctl::kOpenOutput);
    button->setEnabled(true);
    button->setFocus();
    CKeyCounter counter;
    button->installEventFilter(&counter);
    for (QKeySequence keys :
         {Qt::CTRL | Qt::Key_V, Qt::SHIFT | Qt::Key_Insert, Qt::CTRL | Qt::Key_Z,
          Qt::CTRL | Qt::Key_N, Qt::Key_F6 | Qt::KeyboardModifier(0)})
        QTest::keySequence(button, keys);
    EXPECT_EQ(counter.presses, 0);
    QTest::keyClick(button, Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(counter.presses, 1);
    qApp->removeEventFilter(filter);
}

} // namespace
