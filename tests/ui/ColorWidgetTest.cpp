// Tests of the colour swatch: its colour inside a sunken two-pixel frame, and when it paints.
#include "ui/ColorWidget.h"

#include <array>
#include <cstdlib>

#include <gtest/gtest.h>

#include <QImage>

#include "support/QtPixels.h"

namespace {

using namespace testutil;

constexpr QRgb kMarker = 0xFF102030;
const Bgra kMarkerPixel{0x30, 0x20, 0x10, 255};
// The swatch: 8 x 6 at (3, 4) on a 16 x 12 target.
const Rect kSwatch{3, 4, 11, 10};

// Classic frame colours as bytes blue, green, red, alpha.
const Bgra kShadow{0xA0, 0xA0, 0xA0, 255};
const Bgra kDarkShadow{0x69, 0x69, 0x69, 255};
const Bgra kLight{0xE3, 0xE3, 0xE3, 255};
const Bgra kHighlight{255, 255, 255, 255};

QImage PaintOnTarget(CColorWidget& widget, double opacity) {
    QImage target(16, 12, QImage::Format_ARGB32_Premultiplied);
    target.fill(kMarker);
    CDCScreen screen;
    screen.Attach(&target, Rect{0, 0, 16, 12});
    widget.Paint(screen, opacity);
    return target;
}

bool Untouched(const QImage& target) {
    for (int y = 0; y < target.height(); ++y)
        for (int x = 0; x < target.width(); ++x)
            if (PixelOf(target, x, y) != kMarkerPixel)
                return false;
    return true;
}

TEST(ColorWidgetTest, StartsBlackWithASunkenFrameOnAllSides) {
    CColorWidget widget;
    EXPECT_EQ(widget.EdgeKind(), 10u);
    EXPECT_EQ(widget.EdgeFlags(), 15u);
    EXPECT_EQ(widget.Color(), 0u);
    EXPECT_FALSE(widget.IsVisible());
}

TEST(ColorWidgetTest, PaintsTheColourInsideASunkenFrame) {
    CColorWidget widget;
    widget.Create(nullptr, &kSwatch, true);
    widget.SetColor(0x00336699); // red 0x99, green 0x66, blue 0x33
    const QImage target = PaintOnTarget(widget, 1.0);
    const Bgra color{0x33, 0x66, 0x99, 255};

    // Inside both rings: x 5 to 8, y 6 to 7.
    for (int y = 6; y < 8; ++y)
        for (int x = 5; x < 9; ++x)
            EXPECT_EQ(PixelOf(target, x, y), color) << x << "," << y;
    // Outer ring: shadow at top and left, highlight at bottom and right, the highlight holding
    // the bottom-left and top-right corners.
    EXPECT_EQ(PixelOf(target, 3, 4), kShadow);
    EXPECT_EQ(PixelOf(target, 7, 4), kShadow);
    EXPECT_EQ(PixelOf(target, 3, 7), kShadow);
    EXPECT_EQ(PixelOf(target, 10, 4), kHighlight);
    EXPECT_EQ(PixelOf(target, 10, 7), kHighlight);
    EXPECT_EQ(PixelOf(target, 7, 9), kHighlight);
    EXPECT_EQ(PixelOf(target, 3, 9), kHighlight);
    // Inner ring, one pixel in: dark shadow at top and left, light at bottom and right.
    EXPECT_EQ(PixelOf(target, 4, 5), kDarkShadow);
    EXPECT_EQ(PixelOf(target, 7, 5), kDarkShadow);
    EXPECT_EQ(PixelOf(target, 4, 7), kDarkShadow);
    EXPECT_EQ(PixelOf(target, 9, 5), kLight);
    EXPECT_EQ(PixelOf(target, 9, 7), kLight);
    EXPECT_EQ(PixelOf(target, 7, 8), kLight);
    EXPECT_EQ(PixelOf(target, 4, 8), kLight);
    // Nothing outside the rectangle.
    for (int x = 2; x < 12; ++x) {
        EXPECT_EQ(PixelOf(target, x, 3), kMarkerPixel) << x;
        EXPECT_EQ(PixelOf(target, x, 10), kMarkerPixel) << x;
    }
    for (int y = 3; y < 11; ++y) {
        EXPECT_EQ(PixelOf(target, 2, y), kMarkerPixel) << y;
        EXPECT_EQ(PixelOf(target, 11, y), kMarkerPixel) << y;
    }
}

TEST(ColorWidgetTest, FramesOnlyTheChosenSidesAndRings) {
    CColorWidget widget;
    widget.Create(nullptr, &kSwatch, true);
    widget.SetColor(0x00FFFFFF);
    // Sunken outer ring only, top and left only: those lines run the full sides, and the other
    // sides are the colour.
    widget.SetEdge(0x2, 0x1 | 0x2);
    const QImage target = PaintOnTarget(widget, 1.0);
    EXPECT_EQ(PixelOf(target, 3, 4), kShadow);
    EXPECT_EQ(PixelOf(target, 3, 9), kShadow);
    EXPECT_EQ(PixelOf(target, 10, 4), kShadow);
    EXPECT_EQ(PixelOf(target, 4, 5), kHighlight);
    EXPECT_EQ(PixelOf(target, 10, 9), kHighlight);
}

TEST(ColorWidgetTest, PaintsNothingWhenHiddenOrTransparent) {
    CColorWidget widget;
    widget.Create(nullptr, &kSwatch, false);
    widget.SetColor(0x00FFFFFF);
    EXPECT_TRUE(Untouched(PaintOnTarget(widget, 1.0)));
    widget.SetVisible(true);
    // (i32)(0.003 * 255) is 0.
    EXPECT_TRUE(Untouched(PaintOnTarget(widget, 0.003)));
    EXPECT_TRUE(Untouched(PaintOnTarget(widget, 0.0)));

    // At half opacity (alpha 127) the colour lies over what was there: white over the marker,
    // 255 * 127/255 + marker * 128/255.
    const QImage half = PaintOnTarget(widget, 0.5);
    EXPECT_TRUE(Near(PixelOf(half, 6, 6), (Bgra{151, 143, 135, 255}), 1));
    EXPECT_EQ(PixelOf(half, 2, 6), kMarkerPixel);
}

} // namespace
