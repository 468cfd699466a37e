// Tests of dialog units: the mapping of template rectangles with their rounding.
#include "ui/DialogUnits.h"

#include <gtest/gtest.h>

namespace {

TEST(DialogUnitsTest, MapsUnitsWithBaseUnits) {
    // Base units 6 by 13 (a common 8-point dialog font): x is units * 6 / 4, y units * 13 / 8,
    // each rounded to the nearest pixel.
    CDialogUnits du(6, 13);
    EXPECT_EQ(du.X(432), 648);
    EXPECT_EQ(du.Y(308), 501); // 500.5 rounds up
    EXPECT_EQ(du.X(1), 2);     // 1.5 rounds up
    EXPECT_EQ(du.Y(3), 5);     // 4.875
    EXPECT_EQ(du.Size(432, 308), QSize(648, 501));
    // A rectangle keeps both of its edges on the mapped grid.
    EXPECT_EQ(du.Rect(7, 7, 275, 33), QRect(11, 11, 423 - 11, 65 - 11));
}

} // namespace
