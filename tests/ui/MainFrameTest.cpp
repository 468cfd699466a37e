// Tests of the frame: its size on large and small screens, every control reached, title, closing,
// control lookup.
#include "ui/MainFrame.h"
#include "ui/MainView.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QMenuBar>
#include <QRadioButton>
#include <QScrollBar>
#include <QStyle>
#include <QTimer>
#include <QtTest/QTest>

#include "foundation/ControlLookup.h"
#include "ui/ControlId.h"
#include "ui/DialogUnits.h"

namespace {

// Every control of the view with an id: a caption that fits its place, and a control that the
// user reaches. The window is shown as the active one, so that the focus moves as Tab moves it.
void ExpectEveryControlReachable(lvx::CMainFrame& frame, const QString& screen) {
    auto* view = static_cast<lvx::CMainView*>(frame.View());
    QWidget* viewport = frame.Scroller()->viewport();
    for (QWidget* control : view->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
        const std::string name =
            (screen + QStringLiteral(" ") + control->objectName()).toStdString();
        if (qobject_cast<QLabel*>(control) || qobject_cast<QCheckBox*>(control) ||
            qobject_cast<QRadioButton*>(control)) {
            EXPECT_LE(control->sizeHint().width(), control->width()) << name;
        }
        if (ControlIdOf(control) == 0 || !control->isVisibleTo(view))
            continue;
        // A control that takes the focus scrolls into view by itself; the others by the bar.
        control->setEnabled(true);
        if (control->focusPolicy() & Qt::TabFocus)
            control->setFocus(Qt::TabFocusReason);
        else
            frame.Scroller()->ensureWidgetVisible(control, 0, 0);
        const QRect shown(control->mapTo(viewport, QPoint(0, 0)), control->size());
        EXPECT_TRUE(viewport->rect().contains(shown)) << name;
    }
}

// The free areas of screens, in the window's pixels: a large one holds the whole view below the
// menu bar, exactly as the dialog template places it; 1366 x 768 at 125 % (1092 x 614) and
// 1280 x 720 at 100 % hold a part of it, scrolled, and every control is reached.
TEST(MainFrameTest, TheWindowFitsEachScreenAndReachesEveryControl) {
    const struct {
        QRect available;
        bool whole;
    } screens[] = {
        {{0, 0, 1920, 1200}, true}, {{0, 0, 1092, 614}, false}, {{0, 0, 1280, 720}, false}};
    for (const auto& screen : screens) {
        const QString label =
            QStringLiteral("%1x%2").arg(screen.available.width()).arg(screen.available.height());
        lvx::CMainFrame frame;
        ASSERT_TRUE(frame.Create());
        QMainWindow* window = frame.Window();
        window->show();
        QApplication::setActiveWindow(window);
        ASSERT_TRUE(QTest::qWaitForWindowActive(window));
        frame.FitInto(screen.available);
        QCoreApplication::processEvents();
        QWidget* view = frame.View();
        // The view keeps its 432 by 373 dialog units of its font.
        CDialogUnits du(view->font());
        EXPECT_EQ(view->size(), QSize(du.X(432), du.Y(373)));
        QMenuBar* menu = window->menuBar();
        const QSize whole(view->width(), menu->height() + view->height());
        const QRect viewInWindow(view->mapTo(window, QPoint(0, 0)), view->size());
        if (screen.whole) {
            EXPECT_EQ(window->size(), whole);
            EXPECT_EQ(viewInWindow, QRect(QPoint(0, menu->geometry().bottom() + 1), view->size()));
            EXPECT_FALSE(frame.Scroller()->verticalScrollBar()->isVisible());
        } else {
            // With the window manager's title bar and borders, inside the screen's free area.
            const int titleBar = window->style()->pixelMetric(QStyle::PM_TitleBarHeight);
            EXPECT_LE(window->height() + titleBar + 8, screen.available.height());
            EXPECT_LE(window->width() + 8, screen.available.width());
            EXPECT_EQ(frame.Scroller()->verticalScrollBar()->isVisible(),
                      window->height() < whole.height());
        }
        // The user cannot resize it: no maximise button, a fixed size; minimising is allowed.
        EXPECT_EQ(window->minimumSize(), window->maximumSize());
        EXPECT_FALSE(window->windowFlags() & Qt::WindowMaximizeButtonHint);
        EXPECT_TRUE(window->windowFlags() & Qt::WindowMinimizeButtonHint);
        ExpectEveryControlReachable(frame, label);
    }
}

TEST(MainFrameTest, TheWindowHasItsTitleIconAndMenuAndFindsTheViewsControlsById) {
    lvx::CMainFrame frame;
    EXPECT_EQ(lvx::TheFrame(), &frame);
    EXPECT_EQ(frame.Window(), nullptr);
    ASSERT_TRUE(frame.Create());
    QMainWindow* window = frame.Window();
    ASSERT_NE(window, nullptr);
    EXPECT_FALSE(window->isVisible());
    EXPECT_EQ(frame.View()->objectName(), QStringLiteral("view"));
    EXPECT_TRUE(window->windowFlags() & Qt::WindowCloseButtonHint);
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Lunavex"));
    EXPECT_FALSE(window->windowIcon().isNull());

    // The controls of the view are found by their ids.
    auto* mainView = static_cast<lvx::CMainView*>(frame.View());
    ASSERT_NE(mainView->Control(144), nullptr);
    EXPECT_EQ(CtrlForId(144), static_cast<CtrlHandle>(mainView->Control(144)));
    EXPECT_EQ(CtrlForId(165), static_cast<CtrlHandle>(mainView->Control(165)));
    EXPECT_EQ(CtrlForId(140), nullptr) << "the dialog has no control 140";
}

TEST(MainFrameTest, ClosingDestroysTheWindowAndEndsTheLoopWithOne) {
    lvx::CMainFrame frame;
    ASSERT_TRUE(frame.Create());
    frame.RestoreLayout();
    QTimer::singleShot(0, [&frame] { frame.Window()->close(); });
    EXPECT_EQ(QCoreApplication::exec(), 1);
    EXPECT_EQ(frame.Window(), nullptr);
}

} // namespace
