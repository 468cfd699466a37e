// Tests of the frame's accelerator keys: the view's text boxes edit with their usual keys, and
// every other control of the window never sees an accelerator.
#include "ui/AcceleratorFilter.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QtTest/QTest>

#include "ui/MainView.h"

namespace {

namespace ctl = lvx::ctl;

// Counts the key presses, other than of a modifier key alone, that reach the object it watches.
class CKeyCounter : public QObject {
public:
    int presses = 0;

protected:
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::KeyPress) {
            const int key = static_cast<QKeyEvent*>(event)->key();
            presses += key != Qt::Key_Control && key != Qt::Key_Shift && key != Qt::Key_Alt;
        }
        return false;
    }
};

void Press(QWidget* widget, QKeySequence keys) {
    QTest::keyClick(widget, Qt::Key(keys[0].key()), keys[0].keyboardModifiers());
}

TEST(AcceleratorFilterTest, TheViewsTextBoxesEditWithTheirKeysAndNoOtherControlSeesAnAccelerator) {
    lvx::CMainView view;
    CAcceleratorFilter* filter = new CAcceleratorFilter(&view);
    qApp->installEventFilter(filter);
    view.show();
    QApplication::setActiveWindow(&view);
    ASSERT_TRUE(QTest::qWaitForWindowActive(&view));
    QClipboard* clipboard = QApplication::clipboard();

    // The radius edit, and the editable sub-folder list, which takes the keys for its box.
    auto* combo = qobject_cast<QComboBox*>(view.Control(ctl::kSubFolder));
    const struct {
        QWidget* focus;
        QLineEdit* edit;
    } boxes[] = {{view.Control(ctl::kRadius), qobject_cast<QLineEdit*>(view.Control(ctl::kRadius))},
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
    for (const auto& box : boxes) {
        box.focus->setEnabled(true);
        box.focus->setFocus();
        for (const auto& step : steps) {
            const QString keys = step.keys.toString();
            box.edit->setText(QString());
            QTest::keyClicks(box.focus, step.before);
            box.edit->selectAll();
            Press(box.focus, step.keys);
            EXPECT_EQ(box.edit->text(), QString(step.text)) << keys.toStdString();
            EXPECT_EQ(clipboard->text(), QString(step.clipboard)) << keys.toStdString();
        }
        // Redo brings back what undo took; select all makes the next key replace the text.
        Press(box.focus, QKeySequence::keyBindings(QKeySequence::Redo).value(0));
        EXPECT_EQ(box.edit->text(), QStringLiteral("6"));
        QTest::keyClicks(box.focus, "123");
        QTest::keyClick(box.focus, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClick(box.focus, Qt::Key_4);
        EXPECT_EQ(box.edit->text(), QStringLiteral("4"));
    }

    // A button with the focus: no accelerator reaches it, every other key does.
    auto* button = qobject_cast<QPushButton*>(view.Control(ctl::kOpenOutput));
    button->setEnabled(true);
    button->setFocus();
    CKeyCounter counter;
    button->installEventFilter(&counter);
    for (QKeySequence keys :
         {Qt::CTRL | Qt::Key_V, Qt::SHIFT | Qt::Key_Insert, Qt::CTRL | Qt::Key_Z,
          Qt::CTRL | Qt::Key_N, Qt::Key_F6 | Qt::KeyboardModifier(0)})
        Press(button, keys);
    EXPECT_EQ(counter.presses, 0);
    QTest::keyClick(button, Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(counter.presses, 1);
    qApp->removeEventFilter(filter);
}

} // namespace
