// Tests of the window's remembered place: the clamp to the screens, the empty rectangle, and
// what is captured while the window moves.
#include "ui/WindowLayout.h"

#include <gtest/gtest.h>

#include <vector>

#include <QWidget>
#include <QtTest/QTest>

#include "QtTestApp.h"
#include "persist/WindowLayoutRect.h"

namespace {

const Rect kScreen{0, 0, 1280, 800};

TEST(WindowLayoutRectTest, RectangleOffEveryScreenComesBackWithItsSize) {
    // Far to the right and below: shifted up, then left, until it meets the corner.
    Rect lost{3000, 2000, 3500, 2400};
    Rect back = ClampRectToBounds(lost, kScreen);
    EXPECT_EQ(back, (Rect{780, 400, 1280, 800}));
    // Above and to the left.
    EXPECT_EQ(ClampRectToBounds(Rect{-900, -700, -400, -300}, kScreen), (Rect{0, 0, 500, 400}));
    // Inside: unchanged.
    EXPECT_EQ(ClampRectToBounds(Rect{100, 50, 600, 450}, kScreen), (Rect{100, 50, 600, 450}));
    // Larger than the screen: the top left corner ends on the screen.
    EXPECT_EQ(ClampRectToBounds(Rect{-50, -60, 1450, 940}, kScreen), (Rect{0, 0, 1500, 1000}));
    EXPECT_EQ(ClampRectToBounds(Rect{200, 100, 1700, 1100}, kScreen), (Rect{0, 0, 1500, 1000}));
}

TEST(WindowLayoutRectTest, ClampIsToTheBoundingRectangleOfAllScreens) {
    // A 1920x1080 screen with a 1280x800 screen to its right: the bounds are 3200 by 1080, and a
    // rectangle in the gap below the smaller screen stays where it is.
    std::vector<Rect> screens{{0, 0, 1920, 1080}, {1920, 0, 3200, 800}};
    Rect bounds = BoundingRect(screens);
    EXPECT_EQ(bounds, (Rect{0, 0, 3200, 1080}));
    Rect inGap{2200, 850, 2600, 1050};
    EXPECT_EQ(ClampRectToBounds(inGap, bounds), inGap);
    EXPECT_EQ(BoundingRect(std::vector<Rect>{}), Rect{});
}

TEST(WindowLayoutRectTest, EmptyRectangles) {
    EXPECT_TRUE((Rect{10, 10, 10, 200}).IsEmpty()); // right equal to left
    EXPECT_TRUE((Rect{10, 10, 200, 5}).IsEmpty());
    EXPECT_TRUE(Rect{}.IsEmpty());
    EXPECT_FALSE((Rect{10, 10, 11, 11}).IsEmpty());
}

class WindowLayoutTest : public ::testing::Test {
protected:
    void SetUp() override { TestApp(); }
};

TEST_F(WindowLayoutTest, EmptyRectangleMovesNothing) {
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
    Rect screens = VirtualScreenRect();
    EXPECT_EQ(window.pos(), QPoint(screens.right - 400, screens.bottom - 300));
    EXPECT_EQ(window.size(), QSize(300, 200));
}

TEST_F(WindowLayoutTest, RestoreMovesAtOnceAndShowsLater) {
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
}

TEST_F(WindowLayoutTest, MinimisedWindowKeepsItsLastNormalPlace) {
    QWidget window;
    window.resize(320, 240);
    CWindowLayoutManager manager(&window);
    WindowLayout layout;
    manager.BeginRestore(layout, Rect{});
    QCoreApplication::processEvents();
    ASSERT_FALSE(manager.IsRestoring());

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
