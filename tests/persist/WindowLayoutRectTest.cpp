// Tests of the rectangle rules of the window's remembered place: the clamp to the screens.
#include "persist/WindowLayoutRect.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

const Rect kScreen{0, 0, 1280, 800};

TEST(WindowLayoutRectTest, ClampIsToTheBoundingRectangleOfAllScreensAndKeepsTheSize) {
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

    // A 1920x1080 screen with a 1280x800 screen to its right: the bounds are 3200 by 1080, and a
    // rectangle in the gap below the smaller screen stays where it is.
    std::vector<Rect> screens{{0, 0, 1920, 1080}, {1920, 0, 3200, 800}};
    Rect bounds = BoundingRect(screens);
    EXPECT_EQ(bounds, (Rect{0, 0, 3200, 1080}));
    Rect inGap{2200, 850, 2600, 1050};
    EXPECT_EQ(ClampRectToBounds(inGap, bounds), inGap);
    EXPECT_EQ(BoundingRect(std::vector<Rect>{}), Rect{});
}

} // namespace
