// Tests of rounded corners: the corner mask, the four mirrored corners, the edge cases, lengths.
#include "image/Round.h"

#include <cstring>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "image/Blur.h"
#include "image/RoundSettings.h"
#include "image/reference/WholeConversion.h"
#include "resources/StringIds.h"
#include "support/PixelTestUtil.h"

namespace {

using namespace testutil;

// The ideal area masks for equal radii 1 to 4, row by row from the top.
const std::vector<std::vector<int>> kIdealMasks[4] = {
    {{0}},
    {{0, 2}, {2, 177}},
    {{0, 0, 12}, {0, 53, 230}, {12, 230, 255}},
    {{0, 0, 0, 25}, {0, 1, 123, 248}, {0, 123, 255, 255}, {25, 248, 255, 255}},
};

} // namespace

TEST(RoundTest, CornerMaskIsTheIdealAreaTableAndServesAllFourCorners) {
    for (int radius = 1; radius <= 4; ++radius) {
        CDib mask;
        ASSERT_TRUE(mask.Create32(radius, radius));
        ASSERT_TRUE(mask.AllocBits());
        ASSERT_EQ(DrawCornerMask(mask, radius, radius), hr::kOk);
        const auto& ideal = kIdealMasks[radius - 1];
        for (int j = 0; j < radius; ++j) {
            for (int i = 0; i < radius; ++i) {
                EXPECT_EQ(mask.PixelAt(i, j)[0], ideal[j][i])
                    << "radius " << radius << " at (" << i << ", " << j << ")";
            }
        }
    }

    CDibPtr source = Solid(20, 12, Bgra{10, 20, 30, 255});
    CDibPtr result;
    ASSERT_EQ(RoundImage(result, *source, true, true, true, true, 4, 4), hr::kOk);
    ASSERT_TRUE(result);
    ASSERT_NE(result.get(), source.get());
    const auto& ideal = kIdealMasks[3];
    const i32 w = 20;
    const i32 h = 12;
    for (int j = 0; j < 4; ++j) {
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(AlphaOf(*result, i, j), ideal[j][i]);
            EXPECT_EQ(AlphaOf(*result, i, h - 1 - j), ideal[j][i]);
            EXPECT_EQ(AlphaOf(*result, w - 1 - i, h - 1 - j), ideal[j][i]);
            EXPECT_EQ(AlphaOf(*result, w - 1 - i, j), ideal[j][i]);
        }
    }
    // Outside the corner rectangles alpha stays; colour is never touched.
    EXPECT_EQ(AlphaOf(*result, 4, 0), 255);
    EXPECT_EQ(AlphaOf(*result, 0, 4), 255);
    EXPECT_EQ(AlphaOf(*result, 10, 6), 255);
    for (i32 y = 0; y < h; ++y) {
        for (i32 x = 0; x < w; ++x) {
            const u8* p = result->PixelAt(x, y);
            ASSERT_EQ(p[0], 10);
            ASSERT_EQ(p[1], 20);
            ASSERT_EQ(p[2], 30);
        }
    }
    // The source is only read.
    EXPECT_EQ(AlphaOf(*source, 0, 0), 255);

    // One corner at a time, in the order of the corner bits.
    const std::pair<i32, i32> cornerPixels[4] = {{0, 0}, {0, h - 1}, {w - 1, h - 1}, {w - 1, 0}};
    for (int k = 0; k < 4; ++k) {
        CDibPtr one;
        ASSERT_EQ(RoundImage(one, *source, k == 0, k == 1, k == 2, k == 3, 4, 4), hr::kOk);
        for (int c = 0; c < 4; ++c) {
            EXPECT_EQ(AlphaOf(*one, cornerPixels[c].first, cornerPixels[c].second),
                      c == k ? 0 : 255)
                << "corner " << k << " pixel " << c;
        }
    }
}

TEST(RoundTest, RadiusEdgeCasesAndClippingToDiscsAndEllipticalCorners) {
    CDibPtr source = Solid(16, 16, Bgra{1, 2, 3, 255});
    CDibPtr result;
    // Unchanged: a radius of 0 or less; a width or height of 1, whose half is 0; no corner chosen.
    for (auto [w, h, corners, radius] : {std::tuple{16, 16, true, 0.0},
                                         {16, 16, true, -3.0},
                                         {1, 10, true, 5.0},
                                         {10, 1, true, 5.0},
                                         {16, 16, false, 5.0}}) {
        const CDibPtr image = Solid(w, h, Bgra{1, 2, 3, 255});
        ASSERT_EQ(RoundImage(result, *image, corners, corners, corners, corners, radius, 5),
                  hr::kOk);
        EXPECT_TRUE(PixelsNear(*result, *image, 0)) << w << "x" << h << " radius " << radius;
    }
    // A radius of 0.1: a 1 x 1 mask, only the corner pixel changes, and only partly.
    ASSERT_EQ(RoundImage(result, *source, true, false, false, false, 0.1, 0.1), hr::kOk);
    EXPECT_GT(AlphaOf(*result, 0, 0), 0);
    EXPECT_LT(AlphaOf(*result, 0, 0), 255);
    EXPECT_EQ(AlphaOf(*result, 1, 0), 255);
    EXPECT_EQ(AlphaOf(*result, 0, 1), 255);
    EXPECT_EQ(AlphaOf(*result, 1, 1), 255);
    // Radius 1: the corner pixel becomes fully transparent, its neighbours stay.
    ASSERT_EQ(RoundImage(result, *source, true, false, false, false, 1, 1), hr::kOk);
    EXPECT_EQ(AlphaOf(*result, 0, 0), 0);
    EXPECT_EQ(AlphaOf(*result, 1, 0), 255);
    EXPECT_EQ(AlphaOf(*result, 0, 1), 255);

    // At half the short edge a square becomes a disc; a larger radius is clipped to that.
    CDibPtr square = Solid(16, 16, Bgra{0, 0, 0, 255});
    CDibPtr disc;
    CDibPtr clipped;
    ASSERT_EQ(RoundImage(disc, *square, true, true, true, true, 8, 8), hr::kOk);
    ASSERT_EQ(RoundImage(clipped, *square, true, true, true, true, 100, 100), hr::kOk);
    EXPECT_TRUE(PixelsNear(*disc, *clipped, 0));
    for (i32 y = 0; y < 16; ++y) {
        for (i32 x = 0; x < 16; ++x) {
            ASSERT_EQ(AlphaOf(*disc, x, y), AlphaOf(*disc, 15 - x, y));
            ASSERT_EQ(AlphaOf(*disc, x, y), AlphaOf(*disc, y, x));
        }
    }
    // Every pixel lies in some mask; the arcs meet at the middle of each side.
    EXPECT_LT(AlphaOf(*disc, 7, 0), 255);
    EXPECT_LT(AlphaOf(*disc, 8, 0), 255);
    EXPECT_EQ(AlphaOf(*disc, 7, 7), 255);
    EXPECT_EQ(AlphaOf(*disc, 0, 0), 0);

    // 100 x 50 at radius 40: rx 40, ry 25, so the mask is 40 x 25.
    CDibPtr wide = Solid(100, 50, Bgra{0, 0, 0, 255});
    CDibPtr oval;
    ASSERT_EQ(RoundImage(oval, *wide, true, false, false, false, 40, 40), hr::kOk);
    EXPECT_GT(AlphaOf(*oval, 39, 0), 0);
    EXPECT_LT(AlphaOf(*oval, 39, 0), 255);
    EXPECT_EQ(AlphaOf(*oval, 40, 0), 255);
    EXPECT_GT(AlphaOf(*oval, 0, 24), 0);
    EXPECT_LT(AlphaOf(*oval, 0, 24), 255);
    EXPECT_EQ(AlphaOf(*oval, 0, 25), 255);

    // Odd size: the middle column and row lie outside every mask.
    CDibPtr odd = Solid(9, 9, Bgra{0, 0, 0, 255});
    CDibPtr rounded;
    ASSERT_EQ(RoundImage(rounded, *odd, true, true, true, true, 10, 10), hr::kOk);
    for (i32 k = 0; k < 9; ++k) {
        EXPECT_EQ(AlphaOf(*rounded, 4, k), 255);
        EXPECT_EQ(AlphaOf(*rounded, k, 4), 255);
    }
    for (int j = 0; j < 4; ++j) {
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(AlphaOf(*rounded, 8 - i, 8 - j), kIdealMasks[3][j][i]);
        }
    }
}

TEST(RoundTest, MaskScalesAlphaWithoutRounding) {
    CDib mask;
    ASSERT_TRUE(mask.Create32(2, 1));
    ASSERT_TRUE(mask.AllocBits());
    u8* m = mask.Bits();
    const u8 values[8] = {128, 0, 0, 255, 255, 0, 0, 255};
    std::memcpy(m, values, sizeof values);
    CDibPtr image = Solid(2, 2, Bgra{7, 8, 9, 255});
    image->PixelAt(0, 1)[3] = 100;
    image->PixelAt(1, 1)[3] = 100;
    ApplyCornerMask(mask, MakePixelRange(*image, 0, 0, 2, 1, false, false));
    ApplyCornerMask(mask, MakePixelRange(*image, 0, 1, 2, 1, false, false));
    EXPECT_EQ(AlphaOf(*image, 0, 0), 128); // 255 * 128 / 255
    EXPECT_EQ(AlphaOf(*image, 1, 0), 255); // mask 255: untouched
    EXPECT_EQ(AlphaOf(*image, 0, 1), 50);  // 100 * 128 / 255, the remainder dropped
    EXPECT_EQ(AlphaOf(*image, 1, 1), 100);
    EXPECT_EQ(image->PixelAt(0, 0)[0], 7);
    EXPECT_EQ(image->PixelAt(0, 0)[2], 9);

    // A pixel already partly transparent is scaled by the corner mask, not replaced.
    CDibPtr faint = Solid(8, 8, Bgra{0, 0, 0, 128});
    CDibPtr result;
    ASSERT_EQ(RoundImage(result, *faint, true, false, false, false, 2, 2), hr::kOk);
    EXPECT_EQ(AlphaOf(*result, 1, 1), 128 * 177 / 255);
    EXPECT_EQ(AlphaOf(*result, 0, 1), 128 * 2 / 255);
}

TEST(RoundTest, RefusesImagesThatAreNot32Bit) {
    CDib rgb;
    ASSERT_TRUE(rgb.Create(40, 4, 4, 24, 0, 0, 0));
    ASSERT_TRUE(rgb.AllocBits());
    CDibPtr result(new CDib);
    EXPECT_EQ(RoundImage(result, rgb, true, true, true, true, 2, 2), hr::kInvalidArg);
    EXPECT_FALSE(result);
    EXPECT_EQ(RoundCorners(rgb, true, true, true, true, 2, 2), hr::kInvalidArg);

    // The copy takes size and bits only: the resolution stays 0.
    CDibPtr source = Solid(4, 4, Bgra{0, 0, 0, 255});
    source->Header()->biXPelsPerMeter = 11811;
    ASSERT_EQ(RoundImage(result, *source, true, true, true, true, 1, 1), hr::kOk);
    EXPECT_EQ(result->Header()->biXPelsPerMeter, 0);
    EXPECT_EQ(result->Header()->biSize, 40u);
    EXPECT_EQ(result->Header()->biBitCount, 32);
}

// Lengths resolve against the image: a share of the short edge, or tenths of a pixel.
TEST(RoundTest, LengthsResolveAgainstTheShortEdge) {
    EXPECT_DOUBLE_EQ(ResolveLength({lengthunit::kShortEdgeShare, 7, 100}, 30, 40), 3.0);
    EXPECT_DOUBLE_EQ(ResolveLength({lengthunit::kShortEdgeShare, 7, 50}, 40, 30), 1.5);
    EXPECT_DOUBLE_EQ(ResolveLength({5, 25, 999}, 30, 40), 2.5); // any unit but 1 is pixels
}
