// Tests of the preview panes: the fit of an image to a pane, the corner that the detail pane
// shows, and the pixels that each pane paints.
#include "ui/DibWidget.h"

#include <array>

#include <gtest/gtest.h>

#include <QImage>

#include "support/IccProfiles.h"
#include "support/QtPixels.h"

namespace {

using namespace testutil;

// What the target holds where nothing is painted, and the panes' background.
constexpr QRgb kMarker = 0xFF102030;
const Bgra kMarkerPixel{0x30, 0x20, 0x10, 255};
constexpr ColorRef kBackground = 0x00336699; // red 0x99, green 0x66, blue 0x33
const Bgra kBackgroundPixel{0x33, 0x66, 0x99, 255};
// The pane: 10 x 10 at (5, 7) on a 20 x 20 target.
const Rect kPane{5, 7, 15, 17};

// An opaque image whose pixel (x, y) is red 10x, green 20 + 20y, blue 200.
Bgra Gradient(int x, int y) {
    return {200, static_cast<u8>(20 + 20 * y), static_cast<u8>(10 * x), 255};
}

CDibPtr MakeImage(int width, int height, bool gradient, Bgra fill = {}) {
    return MakeDib(width, height, [&](i32 x, i32 y) { return gradient ? Gradient(x, y) : fill; });
}

// A 20 x 20 target filled with the marker, and a pane widget over kPane; given an image, the
// pane at the anchor shows it, painted.
struct Fixture {
    Fixture() {
        target.fill(kMarker);
        widget.Create(nullptr, &kPane, true);
        widget.SetBackground(kBackground);
    }
    Fixture(u32 anchor, CDibPtr image) : Fixture() {
        widget.SetAnchor(anchor);
        widget.SetImage(std::move(image));
        Paint();
    }
    void Paint(double opacity = 1.0) {
        CDCScreen screen;
        screen.Attach(&target, Rect{0, 0, 20, 20});
        widget.Paint(screen, opacity);
    }
    Bgra At(int x, int y) const { return PixelOf(target, x, y); }

    QImage target{20, 20, QImage::Format_ARGB32_Premultiplied};
    CSimpleDibWidget widget;
};

TEST(DibWidgetTest, FitToPaneKeepsTheShapeAndFillsThePane) {
    // A shape within the tolerance of the pane's is the pane (1005 x 1000 is not 1000 x 995).
    EXPECT_EQ(FitToPane({200, 200}, {50, 50}, 0.01), (Size{200, 200}));
    EXPECT_EQ(FitToPane({300, 200}, {3, 2}, 0.01), (Size{300, 200}));
    EXPECT_EQ(FitToPane({1000, 1000}, {1005, 1000}, 0.01), (Size{1000, 1000}));
    // 300 x 296 in 200 x 200 would be 200 x 197: within 4 pixels, so stretched.
    EXPECT_EQ(FitToPane({200, 200}, {300, 296}, 0.01), (Size{200, 200}));
    EXPECT_EQ(FitToPane({200, 200}, {296, 300}, 0.01), (Size{200, 200}));
    // Exactly 5 short stays: 39 x 40 in 200 x 200 is 195 x 200.
    EXPECT_EQ(FitToPane({200, 200}, {39, 40}, 0.01), (Size{195, 200}));
    // A small image is enlarged: 40 x 20 in 200 x 200 is 200 x 100.
    EXPECT_EQ(FitToPane({200, 200}, {40, 20}, 0.01), (Size{200, 100}));
    // Tall images are limited by the height: 50 x 100 in 200 x 200 is 100 x 200.
    EXPECT_EQ(FitToPane({200, 200}, {50, 100}, 0.01), (Size{100, 200}));
    // Truncation: 300 x 200 in 200 x 200 is 200 x 133.33; 70 x 60 in 200 x 100 is 116.67 x 100.
    EXPECT_EQ(FitToPane({200, 200}, {300, 200}, 0.01), (Size{200, 133}));
    EXPECT_EQ(FitToPane({200, 100}, {70, 60}, 0.01), (Size{116, 100}));
    // A pane without width or height is returned as it is.
    EXPECT_EQ(FitToPane({0, 150}, {10, 10}, 0.01), (Size{0, 150}));
    EXPECT_EQ(FitToPane({150, 0}, {10, 20}, 0.01), (Size{150, 0}));
}

TEST(DibWidgetTest, AnchoredPaneCropsWideImagesAndCentresLowOnes) {
    // 16 x 4: the pane's width from the left (anchors 1, 2) or right (3, 4), rows centred at 10.
    for (u32 anchor = 1; anchor <= 4; ++anchor) {
        Fixture f(anchor, MakeImage(16, 4, true));
        const bool fromLeft = anchor <= 2;
        for (int row = 0; row < 4; ++row) {
            EXPECT_EQ(f.At(5, 10 + row), Gradient(fromLeft ? 0 : 6, row)) << anchor;
            EXPECT_EQ(f.At(14, 10 + row), Gradient(fromLeft ? 9 : 15, row)) << anchor;
        }
        for (int x = 5; x < 15; ++x)
            for (int y : {7, 8, 9, 14, 15, 16})
                EXPECT_EQ(f.At(x, y), kBackgroundPixel) << anchor << " " << x << "," << y;
        // Nothing outside the pane.
        for (int y = 6; y < 18; ++y) {
            EXPECT_EQ(f.At(4, y), kMarkerPixel);
            EXPECT_EQ(f.At(15, y), kMarkerPixel);
        }
        EXPECT_EQ(f.At(10, 6), kMarkerPixel);
        EXPECT_EQ(f.At(10, 17), kMarkerPixel);
    }
    // 12 x 12: cropped both ways; bottom rows (2 to 12) for anchors 2 and 3.
    const std::array<std::array<int, 2>, 4> topLeft{{{0, 0}, {0, 2}, {2, 2}, {2, 0}}};
    for (u32 anchor = 1; anchor <= 4; ++anchor) {
        Fixture f(anchor, MakeImage(12, 12, true));
        const auto [x0, y0] = topLeft[anchor - 1];
        EXPECT_EQ(f.At(5, 7), Gradient(x0, y0)) << anchor;
        EXPECT_EQ(f.At(14, 16), Gradient(x0 + 9, y0 + 9)) << anchor;
    }
}

TEST(DibWidgetTest, SmallImagesAreCentredInTheDetailPaneAndEnlargedInTheWholePane) {
    // 4 x 2 at real size: left 5 + 3 = 8, top 7 + 4 = 11, whatever the anchor.
    for (u32 anchor : {1u, 3u}) {
        Fixture f(anchor, MakeImage(4, 2, true));
        EXPECT_EQ(f.At(8, 11), Gradient(0, 0));
        EXPECT_EQ(f.At(11, 12), Gradient(3, 1));
        EXPECT_EQ(f.At(7, 11), kBackgroundPixel);
        EXPECT_EQ(f.At(12, 11), kBackgroundPixel);
        EXPECT_EQ(f.At(8, 10), kBackgroundPixel);
        EXPECT_EQ(f.At(8, 13), kBackgroundPixel);
    }
    // The whole pane fits 4 x 2 to 10 x 5, at top 7 + (10 - 5) / 2 = 9.
    const Bgra color{40, 160, 220, 255};
    Fixture f(paneanchor::kWhole, MakeImage(4, 2, false, color));
    ASSERT_TRUE(f.widget.ScaledCopy());
    EXPECT_EQ(f.widget.ScaledCopy()->Width(), 10);
    EXPECT_EQ(f.widget.ScaledCopy()->Height(), 5);
    for (int x = 5; x < 15; ++x) {
        for (int y = 9; y < 14; ++y)
            EXPECT_TRUE(Near(f.At(x, y), color, 2)) << x << "," << y;
        for (int y : {7, 8, 14, 15, 16})
            EXPECT_EQ(f.At(x, y), kBackgroundPixel) << x << "," << y;
    }
    // A wholly transparent image leaves only the background, through the scaled copy.
    Fixture whole(paneanchor::kWhole, MakeImage(3, 3, false, {200, 100, 50, 0}));
    for (int y = 7; y < 17; ++y)
        for (int x = 5; x < 15; ++x)
            EXPECT_TRUE(Near(whole.At(x, y), kBackgroundPixel, 1)) << x << "," << y;
}

// An image in Adobe RGB (1998) shows in sRGB, the screen's colours, in both panes; the background
// under a translucent pixel is the screen's own colour. The image keeps its numbers.
TEST(DibWidgetTest, AnImageWithAColourProfileShowsInTheScreensColours) {
    const std::vector<u8> profile = AdobeRgbProfile();
    CDibPtr image = MakeImage(2, 2, false, {25, 85, 63, 255});
    SetPixel(*image, 1, 0, {200, 30, 10, 255});
    SetPixel(*image, 0, 1, {0, 0, 255, 128});
    image->SetColourProfile(profile);
    const std::vector<u8> numbers(image->Bits(), image->Bits() + image->GetSizeImage());
    auto shown = [](Bgra p) {
        const std::array<double, 3> rgb = AdobeRgbShownAsSrgb(p.r, p.g, p.b);
        return Bgra{static_cast<u8>(std::lround(rgb[2])), static_cast<u8>(std::lround(rgb[1])),
                    static_cast<u8>(std::lround(rgb[0])), p.a};
    };
    Fixture f(1, image);
    // Real size at 5 + 4 = 9, 7 + 4 = 11.
    EXPECT_TRUE(Near(f.At(9, 11), shown({25, 85, 63, 255}), 3)) << f.At(9, 11);
    EXPECT_TRUE(Near(f.At(10, 11), shown({200, 30, 10, 255}), 3)) << f.At(10, 11);
    const Bgra red = shown({0, 0, 255, 255});
    const auto over = [](u8 top, u8 under) {
        return static_cast<u8>(std::lround((top * 128 + under * 127) / 255.0));
    };
    EXPECT_TRUE(Near(f.At(9, 12),
                     (Bgra{over(red.b, kBackgroundPixel.b), over(red.g, kBackgroundPixel.g),
                           over(red.r, kBackgroundPixel.r), 255}),
                     3))
        << f.At(9, 12);
    EXPECT_EQ(f.widget.Image(), image);
    EXPECT_TRUE(std::equal(numbers.begin(), numbers.end(), image->Bits()));
    ASSERT_TRUE(f.widget.Shown());
    EXPECT_TRUE(f.widget.Shown()->ColourProfile().empty());

    CDibPtr flat = MakeImage(10, 10, false, {25, 85, 63, 255});
    flat->SetColourProfile(profile);
    Fixture whole(paneanchor::kWhole, flat);
    for (int y = 7; y < 17; y += 3)
        for (int x = 5; x < 15; x += 3)
            EXPECT_TRUE(Near(whole.At(x, y), shown({25, 85, 63, 255}), 3)) << x << "," << y;

    // Without a profile the numbers are the screen's: the image itself is shown.
    CDibPtr plain = MakeImage(2, 2, false, {25, 85, 63, 255});
    f.widget.SetImage(plain);
    EXPECT_EQ(f.widget.Shown(), plain);
    f.Paint();
    EXPECT_EQ(f.At(9, 11), (Bgra{25, 85, 63, 255}));
}

TEST(DibWidgetTest, TheScaledCopyIsKeptWhileItsSizeFitsNoImagePaintsNothingAndOpacityBlends) {
    Fixture f;
    CDibPtr image = MakeImage(5, 5, true);
    f.widget.SetImage(image);
    EXPECT_FALSE(f.widget.ScaledCopy());
    f.Paint();
    const CDibPtr first = f.widget.ScaledCopy();
    ASSERT_TRUE(first);
    EXPECT_NE(first, image);
    EXPECT_EQ(first->Width(), 10);
    EXPECT_EQ(first->Height(), 10);
    f.Paint();
    EXPECT_EQ(f.widget.ScaledCopy(), first);

    // A new image or anchor empties it.
    f.widget.SetImage(image);
    EXPECT_FALSE(f.widget.ScaledCopy());
    f.Paint();
    f.widget.SetAnchor(0);
    EXPECT_FALSE(f.widget.ScaledCopy());

    // A pane of another size needs a copy of its own size: 5 x 5 in 12 x 6 is 6 x 6.
    f.Paint();
    const Rect other{5, 7, 17, 13};
    f.widget.SetRect(&other);
    f.Paint();
    ASSERT_TRUE(f.widget.ScaledCopy());
    EXPECT_EQ(f.widget.ScaledCopy()->Width(), 6);
    EXPECT_EQ(f.widget.ScaledCopy()->Height(), 6);
    // The anchored panes use no copy.
    f.widget.SetAnchor(2);
    f.Paint();
    EXPECT_FALSE(f.widget.ScaledCopy());

    // An image taken away leaves nothing to paint.
    f.widget.SetImage(CDibPtr());
    f.target.fill(kMarker);
    f.Paint();
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 20; ++x)
            ASSERT_EQ(f.At(x, y), kMarkerPixel) << x << "," << y;

    f.widget.SetBackground(0x000000FF);
    f.widget.SetAnchor(1);
    f.widget.SetImage(MakeImage(2, 2, true));
    f.Paint(0.5);
    // Alpha (i32)(0.5 * 255) = 127: red 255 * 127/255 + 0x10 * 128/255 = 135.0, green
    // 0x20 * 128/255 = 16.1, blue 0x30 * 128/255 = 24.1.
    EXPECT_TRUE(Near(f.At(5, 7), (Bgra{24, 16, 135, 255}), 1));
    EXPECT_EQ(f.At(4, 7), kMarkerPixel);
}

} // namespace
