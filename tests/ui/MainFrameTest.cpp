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
#include "foundation/ResString.h"
#include "resources/StringIds.h"
#include "support/LanguageGuard.h"
#include "ui/ControlId.h"
#include "ui/DialogUnits.h"

namespace {

// Every caption of the view fits its place, and so does the longest status at a run's end.
void ExpectEveryCaptionFits(QWidget* view, const std::string& label) {
    auto* status =
        qobject_cast<QLabel*>(static_cast<lvx::CMainView*>(view)->Control(lvx::ctl::kStatus));
    ASSERT_NE(status, nullptr);
    const QString before = status->text();
    std::wstring longest;
    FormatResString(longest, strid::kBatchAllDoneSkipped, {99999, 99999});
    status->setText(QString::fromStdWString(longest));
    EXPECT_LE(status->sizeHint().width(), status->width()) << label;
    status->setText(before);
    for (QWidget* control : view->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
        if (qobject_cast<QLabel*>(control) || qobject_cast<QCheckBox*>(control) ||
            qobject_cast<QRadioButton*>(control)) {
            EXPECT_LE(control->sizeHint().width(), control->width())
                << control->objectName().toStdString() << " " << label;
        }
    }
}

// Every caption fits its place; every control with an id is reached, by the focus if it takes it.
void ExpectEveryControlReachable(lvx::CMainFrame& frame, int screenHeight) {
    QWidget* viewport = frame.Scroller()->viewport();
    ExpectEveryCaptionFits(frame.View(), std::to_string(screenHeight));
    for (QWidget* control :
         frame.View()->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
        const std::string name =
            control->objectName().toStdString() + " " + std::to_string(screenHeight);
        if (ControlIdOf(control) == 0 || !control->isVisibleTo(frame.View()))
            continue;
        control->setEnabled(true);
        if (control->focusPolicy() & Qt::TabFocus)
            control->setFocus(Qt::TabFocusReason);
        else
            frame.Scroller()->ensureWidgetVisible(control, 0, 0);
        EXPECT_TRUE(viewport->rect().contains(
            QRect(control->mapTo(viewport, QPoint(0, 0)), control->size())))
            << name;
    }
}

TEST(MainFrameTest, FixedSizeFitsEachScreenReachesEveryControlAndFindsThemById) {
    lvx::CMainFrame frame;
    EXPECT_EQ(lvx::TheFrame(), &frame);
    EXPECT_EQ(frame.Window(), nullptr);
    ASSERT_TRUE(frame.Create());
    QMainWindow* window = frame.Window();
    ASSERT_NE(window, nullptr);
    EXPECT_FALSE(window->isVisible());
    window->show();
    QApplication::setActiveWindow(window);
    ASSERT_TRUE(QTest::qWaitForWindowActive(window));

    QWidget* view = frame.View();
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->objectName(), QStringLiteral("view"));
    // The view is 432 by 373 dialog units of its font.
    CDialogUnits du(view->font());
    EXPECT_EQ(view->size(), QSize(du.X(432), du.Y(373)));

    // Free areas in the window's pixels: a large one holds the menu bar above the whole view; on
    // 1366 x 768 at 125 % (1092 x 614) and 1280 x 720 the window and its title bar fit, scrolled.
    QMenuBar* menu = window->menuBar();
    const int titleBar = window->style()->pixelMetric(QStyle::PM_TitleBarHeight);
    for (const QSize screen : {QSize(1920, 1200), QSize(1092, 614), QSize(1280, 720)}) {
        frame.FitInto(QRect(QPoint(0, 0), screen));
        QCoreApplication::processEvents();
        const QSize whole(view->width(), menu->height() + view->height());
        if (screen.height() == 1200) {
            EXPECT_EQ(window->size(), whole);
            EXPECT_EQ(view->mapTo(window, QPoint(0, 0)), QPoint(0, menu->geometry().bottom() + 1));
        }
        EXPECT_LE(window->height() + titleBar + 8, screen.height());
        EXPECT_LE(window->width() + 8, screen.width());
        EXPECT_EQ(frame.Scroller()->verticalScrollBar()->isVisible(),
                  window->height() < whole.height());
        ExpectEveryControlReachable(frame, screen.height());
    }

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

TEST(MainFrameTest, InEnglishEveryCaptionFitsAndClosingEndsTheLoopWithOne) {
    CLanguageGuard english(1033);
    lvx::CMainFrame frame;
    ASSERT_TRUE(frame.Create());
    ExpectEveryCaptionFits(frame.View(), "English");
    frame.RestoreLayout();
    QTimer::singleShot(0, [&frame] { frame.Window()->close(); });
    EXPECT_EQ(QCoreApplication::exec(), 1);
    EXPECT_EQ(frame.Window(), nullptr);
}

} // namespace
