// Tests of dialog units: base units from a font and the mapping of template rectangles.
#include "ui/DialogUnits.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QFont>
#include <QFontMetrics>

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

TEST(DialogUnitsTest, BaseUnitsComeFromTheFont) {
    QFont font = QApplication::font();
    QFontMetrics metrics(font);
    int letters = metrics.horizontalAdvance(
        QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"));
    CDialogUnits du(font);
    EXPECT_EQ(du.BaseX(), (letters + 26) / 52);
    EXPECT_EQ(du.BaseY(), metrics.height());
    EXPECT_GT(du.BaseX(), 0);
}

} // namespace
