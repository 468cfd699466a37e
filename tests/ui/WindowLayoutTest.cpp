// Tests of the window's remembered place: what is restored and what is captured while the window
// moves.
#include "ui/WindowLayout.h"

#include <gtest/gtest.h>

#include <vector>

#include <QWidget>
#include <QtTest/QTest>

namespace {

TEST(WindowLayoutTest, EmptyRectangleMovesNothing) {
    QWidget window;
    window.resize(300, 200);
    window.move(40, 30);
    QPoint before = window.pos();
    WindowLayout layout;
    layout.rect = Rect{500, 400, 500, 700};
    EXPECT_FALSE(layout.ApplyRect(&window, layoutflag::kClamp | layoutflag::kNoSize));
    EXPECT_EQ(window.pos(), before);
    EXPECT_EQ(window.size(), QSize(300, 200));

    // A rectangle off the screens is moved inside; its size is the window's own (no sizing).
    layout.rect = Rect{100000, 100000, 100400, 100300};
    EXPECT_TRUE(layout.ApplyRect(&window, layoutflag::kClamp | layoutflag::kNoSize));
    Rect screens = AvailableRectAt(layout.rect);
    EXPECT_EQ(window.pos(), QPoint(screens.right - 400, screens.bottom - 300));
    EXPECT_EQ(window.size(), QSize(300, 200));
}

TEST(WindowLayoutTest, RestoreMovesAtOnceShowsLaterAndMinimisingKeepsTheNormalPlace) {
    QWidget window;
    window.resize(320, 240);
    CWindowLayoutManager manager(&window);
    WindowLayout layout;
    // Before the restore there is no layout: nothing is captured.
    manager.OnWindowPosChanged();
    EXPECT_EQ(manager.Layout(), nullptr);
    EXPECT_TRUE(manager.IsRestoring());

    int shows = 0;
    manager.afterShow = [&shows] { ++shows; };
    manager.BeginRestore(layout, Rect{60, 70, 380, 310});
    EXPECT_EQ(window.pos(), QPoint(60, 70));
    EXPECT_FALSE(window.isVisible());
    EXPECT_TRUE(manager.IsRestoring());
    // Moves during the restore are not captured.
    window.move(90, 90);
    manager.OnWindowPosChanged();
    EXPECT_EQ(layout.rect, (Rect{60, 70, 380, 310}));

    QCoreApplication::processEvents();
    EXPECT_TRUE(window.isVisible());
    EXPECT_FALSE(manager.IsRestoring());
    EXPECT_EQ(shows, 1);

    // After the restore each move is captured; a minimised window keeps its last normal place.
    window.move(150, 120);
    manager.OnWindowPosChanged();
    Rect normal = OuterRect(&window);
    EXPECT_EQ(layout.rect, normal);
    EXPECT_EQ(normal.left, window.frameGeometry().x());
    EXPECT_EQ(normal.Width(), window.frameGeometry().width());

    window.showMinimized();
    QCoreApplication::processEvents();
    ASSERT_TRUE(window.isMinimized());
    window.move(5, 5);
    manager.OnWindowPosChanged();
    EXPECT_EQ(layout.rect, normal);
    EXPECT_FALSE(layout.maximized);
}

} // namespace
