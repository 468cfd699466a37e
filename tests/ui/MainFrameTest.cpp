// Tests of the frame: fixed size around the view, title, closing, control lookup.
#include "ui/MainFrame.h"
#include "ui/MainView.h"

#include <gtest/gtest.h>

#include <QMenuBar>
#include <QTimer>
#include <QtTest/QTest>

#include "foundation/ControlLookup.h"
#include "ui/ControlId.h"
#include "ui/DialogUnits.h"

namespace {

TEST(MainFrameTest, FixedSizeHoldsTheMenuBarAndTheWholeViewWhoseControlsAreFoundById) {
    lvx::CMainFrame frame;
    EXPECT_EQ(lvx::TheFrame(), &frame);
    EXPECT_EQ(frame.Window(), nullptr);
    ASSERT_TRUE(frame.Create());
    QMainWindow* window = frame.Window();
    ASSERT_NE(window, nullptr);
    EXPECT_FALSE(window->isVisible());
    window->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window));

    QWidget* view = frame.View();
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->objectName(), QStringLiteral("view"));
    // The view is 432 by 373 dialog units of its font.
    CDialogUnits du(view->font());
    EXPECT_EQ(view->size(), QSize(du.X(432), du.Y(373)));

    // The client area is the menu bar above the view, nothing cut off.
    QMenuBar* menu = window->menuBar();
    ASSERT_TRUE(menu->isVisible());
    EXPECT_GT(menu->height(), 0);
    EXPECT_GE(view->y(), menu->geometry().bottom() + 1);
    EXPECT_EQ(window->height(), menu->height() + view->height());
    EXPECT_EQ(window->width(), view->width());
    EXPECT_LE(view->geometry().bottom(), window->rect().bottom());
    EXPECT_LE(view->geometry().right(), window->rect().right());

    // The user cannot resize it: no maximise button, a fixed size; minimising is allowed.
    EXPECT_EQ(window->minimumSize(), window->maximumSize());
    Qt::WindowFlags flags = window->windowFlags();
    EXPECT_FALSE(flags & Qt::WindowMaximizeButtonHint);
    EXPECT_TRUE(flags & Qt::WindowMinimizeButtonHint);
    EXPECT_TRUE(flags & Qt::WindowCloseButtonHint);
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Lunavex"));
    EXPECT_FALSE(window->windowIcon().isNull());

    // The controls of the view are found by their ids.
    auto* mainView = static_cast<lvx::CMainView*>(view);
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
