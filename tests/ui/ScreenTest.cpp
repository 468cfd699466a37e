// Tests of the drawing surface: images drawn with scaling and alpha, copies, blends and fills.
#include "ui/Screen.h"

#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include <QPainter>

#include "support/QtPixels.h"

namespace {

using namespace testutil;

constexpr ColorRef kWhite = 0x00FFFFFF;
const Bgra kWhitePixel{255, 255, 255, 255};

Bgra At(const CScreen& screen, int x, int y) {
    const Rect* r = screen.GetRect();
    return PixelOf(*screen.GetImage(), x - r->left, y - r->top);
}

// The pixels of a surface at points in the caller's coordinates.
::testing::AssertionResult Shows(const CScreen& screen, std::initializer_list<PixelAt> points,
                                 int tolerance = 0) {
    const Rect* r = screen.GetRect();
    return PixelsAt(*screen.GetImage(), points, tolerance, QPoint(r->left, r->top));
}

// An image of the given pixels, rows from the top.
CDibPtr Pixels(i32 width, i32 height, std::vector<Bgra> pixels) {
    return MakeDib(width, height, [&](i32 x, i32 y) { return pixels[y * width + x]; });
}

// A surface over rect, filled white.
::testing::AssertionResult White(CDCScreen& screen, const Rect& rect) {
    if (screen.Create(CDCScreen(), rect) != hr::kOk)
        return ::testing::AssertionFailure() << "no surface";
    screen.FillRect(kWhite, rect);
    return ::testing::AssertionSuccess();
}

TEST(ScreenTest, CreateMakesAnOpaqueBlackBufferInTheCallersCoordinates) {
    CDCScreen none;
    EXPECT_FALSE(none.IsValid());
    CDCScreen screen;
    ASSERT_EQ(screen.Create(none, Rect{10, 20, 14, 23}), hr::kOk);
    ASSERT_TRUE(screen.IsValid());
    EXPECT_EQ(*screen.GetRect(), (Rect{10, 20, 14, 23}));
    ASSERT_NE(screen.GetImage(), nullptr);
    EXPECT_EQ(screen.GetImage()->size(), QSize(4, 3));
    EXPECT_EQ(screen.GetImage()->format(), QImage::Format_ARGB32_Premultiplied);
    EXPECT_EQ(PixelOf(*screen.GetImage(), 3, 2), (Bgra{0, 0, 0, 255}));

    // The fill lands at the caller's coordinates less the surface's top-left corner.
    screen.FillRect(0x00332211, Rect{11, 21, 13, 22});
    const Bgra fill{0x33, 0x22, 0x11, 255};
    const Bgra black{0, 0, 0, 255};
    EXPECT_TRUE(
        Shows(screen,
              {{11, 21, fill}, {12, 21, fill}, {10, 21, black}, {13, 21, black}, {11, 22, black}}));

    screen.Release();
    EXPECT_FALSE(screen.IsValid());
    EXPECT_EQ(*screen.GetRect(), Rect{});
    EXPECT_EQ(screen.GetImage(), nullptr);
    EXPECT_EQ(screen.Create(none, Rect{5, 5, 5, 9}), hr::kFail);
    EXPECT_FALSE(screen.IsValid());
}

TEST(ScreenTest, DrawDibBlendsStraightPixelsAtTheSameSizeAndAConstantAlphaHalvesTheEffect) {
    CDibPtr image =
        Pixels(2, 2, {{50, 100, 200, 128}, {30, 20, 10, 0}, {3, 2, 1, 255}, {240, 120, 60, 64}});
    const std::vector<u8> before(image->Bits(), image->Bits() + image->GetSizeImage());
    CDCScreen screen;
    ASSERT_TRUE(White(screen, Rect{10, 20, 112, 58}));
    ASSERT_TRUE(screen.DrawDib(Rect{11, 21, 13, 23}, *image, Rect{0, 0, 2, 2}, 255, 2));

    // Colour * alpha / 255 plus the white through, 255 * (255 - alpha) / 255: at 128, + 127.
    EXPECT_TRUE(Shows(screen, {{11, 21, {152, 177, 227, 255}}, {12, 22, {251, 221, 206, 255}}}, 1));
    // Alpha 0 leaves the background whatever the colour; an opaque pixel is copied exactly.
    EXPECT_TRUE(Shows(screen, {{12, 21, kWhitePixel}, {11, 22, {3, 2, 1, 255}}}));
    // Nothing outside the destination.
    for (int x = 10; x < 14; ++x)
        EXPECT_TRUE(Shows(screen, {{x, 20, kWhitePixel}, {x, 23, kWhitePixel}}));
    EXPECT_TRUE(Shows(screen, {{10, 21, kWhitePixel}, {13, 22, kWhitePixel}}));

    // The image itself stays straight: its bytes are those from before the draw.
    EXPECT_EQ(std::memcmp(before.data(), image->Bits(), before.size()), 0);

    // A constant alpha of 128 halves the effect.
    CDibPtr pair = Pixels(2, 1, {{50, 100, 200, 255}, {50, 100, 200, 128}});
    CDCScreen half;
    ASSERT_TRUE(White(half, Rect{0, 0, 2, 1}));
    ASSERT_TRUE(half.DrawDib(Rect{0, 0, 2, 1}, *pair, Rect{0, 0, 2, 1}, 128, 1));
    // Opaque (200,100,50) at constant 128 over white: colour * 128/255 + 255 * 127/255.
    EXPECT_TRUE(Near(At(half, 0, 0), Bgra{152, 177, 227, 255}, 1));
    // Alpha 128 at constant 128: the premultiplied (100,50,25) scaled by 128/255 (50.2, 25.1,
    // 12.5) and the white through 1 - 64.25/255 of it (190.75).
    EXPECT_TRUE(Near(At(half, 1, 0), Bgra{203, 216, 241, 255}, 1));

    // Source rows count from the top.
    const Bgra red{0, 0, 255, 255};
    const Bgra blue{255, 0, 0, 255};
    image = MakeDib(4, 4, [&](i32, i32 y) { return y < 2 ? red : blue; });
    ASSERT_TRUE(screen.DrawDib(Rect{100, 50, 104, 52}, *image, Rect{0, 0, 4, 2}, 255, 2));
    ASSERT_TRUE(screen.DrawDib(Rect{100, 52, 104, 54}, *image, Rect{0, 2, 4, 4}, 255, 2));
    for (int x = 100; x < 104; ++x)
        EXPECT_TRUE(Shows(screen, {{x, 50, red}, {x, 51, red}, {x, 52, blue}, {x, 53, blue}}));
    // Enlarged twice with nearest neighbour, the top half stays all red.
    ASSERT_TRUE(screen.DrawDib(Rect{104, 50, 112, 54}, *image, Rect{0, 0, 4, 2}, 255, 0));
    for (int y = 50; y < 54; ++y)
        for (int x = 104; x < 112; ++x)
            EXPECT_EQ(At(screen, x, y), red) << x << "," << y;
    EXPECT_EQ(At(screen, 104, 54), kWhitePixel);
}

TEST(ScreenTest, DrawDibEdgeCases) {
    const CDibPtr black = Solid(2, 2, 0, 0, 0);
    const CDib& image = *black;
    CDCScreen none;
    CDCScreen screen;
    ASSERT_TRUE(White(screen, Rect{0, 0, 2, 2}));

    // Nothing to draw: true, and the surface keeps its white.
    EXPECT_TRUE(screen.DrawDib(Rect{0, 0, 0, 2}, image, Rect{0, 0, 2, 2}, 255, 2));
    EXPECT_TRUE(screen.DrawDib(Rect{0, 0, 2, 0}, image, Rect{0, 0, 2, 2}, 255, 2));
    EXPECT_TRUE(screen.DrawDib(Rect{0, 0, 2, 2}, image, Rect{1, 0, 1, 2}, 255, 2));
    EXPECT_TRUE(screen.DrawDib(Rect{0, 0, 2, 2}, image, Rect{0, 0, 2, 2}, 0, 2));
    const auto allWhite = [&] {
        return Shows(
            screen,
            {{0, 0, kWhitePixel}, {1, 0, kWhitePixel}, {0, 1, kWhitePixel}, {1, 1, kWhitePixel}});
    };
    EXPECT_TRUE(allWhite());

    // No header, or a header without bits: false.
    CDib empty;
    EXPECT_FALSE(screen.DrawDib(Rect{0, 0, 2, 2}, empty, Rect{0, 0, 2, 2}, 255, 2));
    CDib noBits;
    ASSERT_TRUE(noBits.Create32(2, 2));
    EXPECT_FALSE(screen.DrawDib(Rect{0, 0, 2, 2}, noBits, Rect{0, 0, 2, 2}, 255, 2));
    // A source rectangle outside the image cannot be scaled.
    EXPECT_FALSE(screen.DrawDib(Rect{0, 0, 2, 2}, image, Rect{1, 1, 3, 3}, 255, 2));
    // A surface with nothing to draw on.
    EXPECT_FALSE(none.DrawDib(Rect{0, 0, 2, 2}, image, Rect{0, 0, 2, 2}, 255, 2));
    EXPECT_TRUE(allWhite());
}

TEST(ScreenTest, CopyBlendAndAttachedSurfacesKeepTheirOwnOriginsAndOwnersState) {
    CDCScreen none;
    CDCScreen target;
    ASSERT_TRUE(White(target, Rect{0, 0, 20, 20}));
    CDCScreen source;
    ASSERT_EQ(source.Create(target, Rect{5, 5, 15, 15}), hr::kOk);
    source.FillRect(0x00332211, Rect{5, 5, 15, 15});
    source.FillRect(0x000000FF, Rect{8, 8, 10, 10});

    ASSERT_TRUE(target.CopyFrom(source, Rect{6, 6, 12, 12}));
    const Bgra fill{0x33, 0x22, 0x11, 255};
    const Bgra red{0, 0, 255, 255};
    EXPECT_TRUE(Shows(target, {{6, 6, fill},
                               {11, 11, fill},
                               {8, 8, red},
                               {9, 9, red},
                               {5, 5, kWhitePixel},
                               {12, 12, kWhitePixel},
                               {12, 6, kWhitePixel}}));

    // Red over white at constant 128: red stays 255, green and blue 255 * 127/255.
    CDCScreen blended;
    ASSERT_TRUE(White(blended, Rect{0, 0, 20, 20}));
    ASSERT_TRUE(blended.BlendFrom(source, Rect{8, 8, 10, 10}, 128));
    EXPECT_TRUE(Shows(blended, {{8, 8, {127, 127, 255, 255}}, {9, 9, {127, 127, 255, 255}}}, 1));
    EXPECT_TRUE(Shows(blended, {{10, 10, kWhitePixel}, {7, 8, kWhitePixel}}));
    // Full alpha is a copy; alpha 0 leaves the target.
    ASSERT_TRUE(blended.BlendFrom(source, Rect{5, 5, 6, 6}, 255));
    ASSERT_TRUE(blended.BlendFrom(source, Rect{6, 6, 7, 7}, 0));
    EXPECT_TRUE(Shows(blended, {{5, 5, fill}, {6, 6, kWhitePixel}}));

    // A source whose pixels cannot be read, or a target with nothing to draw on.
    EXPECT_FALSE(target.CopyFrom(none, Rect{6, 6, 12, 12}));
    EXPECT_FALSE(target.BlendFrom(none, Rect{6, 6, 12, 12}, 255));
    EXPECT_FALSE(none.CopyFrom(source, Rect{6, 6, 12, 12}));

    QImage image(10, 10, QImage::Format_ARGB32_Premultiplied);
    image.fill(0xFFFFFFFFu);
    {
        QPainter painter(&image);
        CDCScreen screen;
        screen.Attach(&painter, Rect{100, 200, 110, 210});
        ASSERT_TRUE(screen.IsValid());
        EXPECT_EQ(*screen.GetRect(), (Rect{100, 200, 110, 210}));
        screen.FillRect(0x000000FF, Rect{102, 203, 104, 204});
        ASSERT_EQ(screen.GetImage(), &image);
        EXPECT_EQ(At(screen, 102, 203), (Bgra{0, 0, 255, 255}));
        screen.Release();
        EXPECT_TRUE(painter.transform().isIdentity());
        EXPECT_TRUE(painter.isActive());
    }
    EXPECT_TRUE(
        PixelsAt(image, {{2, 3, red}, {3, 3, red}, {1, 3, kWhitePixel}, {2, 4, kWhitePixel}}));

    CDCScreen screen;
    screen.Attach(&image, Rect{-5, -5, 5, 5});
    ASSERT_TRUE(screen.IsValid());
    screen.FillRect(0x0000FF00, Rect{-5, -5, -4, -4});
    screen.Release();
    EXPECT_TRUE(PixelsAt(image, {{0, 0, {0, 255, 0, 255}}, {1, 1, kWhitePixel}}));

    screen.Attach(static_cast<QPainter*>(nullptr), Rect{0, 0, 1, 1});
    EXPECT_FALSE(screen.IsValid());
}

} // namespace
