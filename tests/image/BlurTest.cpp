// Tests of edge blur: the fade bytes, the worked corner, the square form, the bands and edge cases.
#include "image/Blur.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "image/reference/WholeConversion.h"
#include "support/PixelTestUtil.h"

namespace {

using namespace testutil;

// An image of the given alpha whose colour bytes tell where each pixel lies.
CDibPtr MakeImage(i32 width, i32 height, u8 alpha) {
    return MakeDib(width, height, [&](i32 x, i32 y) { return Bgra{u8(x), u8(y), 77, alpha}; });
}

// Rows 0 to 8, columns 0 to 11 of the top-left corner: b = 4, radius 8, all edges, corners
// rounded, before the corner mask.
const int kWorkedCaps[9][12] = {
    {0, 0, 0, 0, 0, 0, 0, 31, 31, 31, 31, 31},
    {0, 0, 0, 11, 50, 74, 90, 95, 95, 95, 95, 95},
    {0, 0, 25, 69, 106, 134, 153, 159, 159, 159, 159, 159},
    {0, 11, 69, 117, 159, 193, 215, 223, 223, 223, 223, 223},
    {0, 50, 106, 159, 207, 243, 254, 255, 255, 255, 255, 255},
    {0, 74, 134, 193, 243, 255, 255, 255, 255, 255, 255, 255},
    {0, 90, 153, 215, 254, 255, 255, 255, 255, 255, 255, 255},
    {31, 95, 159, 223, 255, 255, 255, 255, 255, 255, 255, 255},
    {31, 95, 159, 223, 255, 255, 255, 255, 255, 255, 255, 255},
};

const u8 kWidth4Bytes[5] = {31, 95, 159, 223, 255};

} // namespace

TEST(BlurTest, FadeBytesForEveryListedWidthAndTheWorkedCornersCaps) {
    const struct {
        double width;
        std::vector<int> bytes;
    } cases[] = {
        {0.5, {191}},
        {1, {127}},
        {1.5, {85, 233}},
        {2, {63, 191}},
        {2.5, {51, 153, 242}},
        {3.5, {36, 109, 182, 245}},
        {4, {31, 95, 159, 223}},
        {10, {12, 38, 63, 89, 114, 140, 165, 191, 216, 242}},
    };
    for (const auto& c : cases) {
        FadeTable table;
        BuildFadeTable(table, c.width);
        ASSERT_EQ(table.size(), c.bytes.size()) << "width " << c.width;
        for (size_t i = 0; i < c.bytes.size(); ++i) {
            EXPECT_EQ(FadeByte(table, static_cast<i32>(i)), c.bytes[i])
                << "width " << c.width << " index " << i;
        }
        EXPECT_EQ(FadeByte(table, -1), 0);
        EXPECT_EQ(FadeByte(table, static_cast<i32>(c.bytes.size())), 255);
    }
    FadeTable empty;
    BuildFadeTable(empty, 0);
    EXPECT_TRUE(empty.empty());
    BuildFadeTable(empty, -2);
    EXPECT_TRUE(empty.empty());

    // Blur alone on an opaque image gives the caps themselves, in every corner.
    CDibPtr image = MakeImage(40, 30, 255);
    ASSERT_EQ(BlurEdges(*image, true, true, true, true, true, true, true, true, 8, 8, 4), hr::kOk);
    for (int y = 0; y < 9; ++y) {
        for (int x = 0; x < 12; ++x) {
            EXPECT_EQ(AlphaOf(*image, x, y), kWorkedCaps[y][x]) << "(" << x << ", " << y << ")";
            EXPECT_EQ(AlphaOf(*image, x, 29 - y), kWorkedCaps[y][x]);
            EXPECT_EQ(AlphaOf(*image, 39 - x, 29 - y), kWorkedCaps[y][x]);
            EXPECT_EQ(AlphaOf(*image, 39 - x, y), kWorkedCaps[y][x]);
        }
    }
    // The middle is not touched, and colour bytes never are.
    EXPECT_EQ(AlphaOf(*image, 20, 15), 255);
    for (int y = 0; y < 30; ++y) {
        for (int x = 0; x < 40; ++x) {
            ASSERT_EQ(image->PixelAt(x, y)[0], x);
            ASSERT_EQ(image->PixelAt(x, y)[1], y);
            ASSERT_EQ(image->PixelAt(x, y)[2], 77);
        }
    }
}

TEST(BlurTest, SquareFormWithoutRoundedCornersAndBandsThatStopAtTheMiddle) {
    CDibPtr image = MakeImage(40, 30, 255);
    ASSERT_EQ(BlurEdges(*image, false, false, false, false, true, true, true, true, 8, 8, 4),
              hr::kOk);
    for (int y = 0; y < 12; ++y) {
        for (int x = 0; x < 12; ++x) {
            const u8 expected = kWidth4Bytes[std::min(std::min(x, y), 4)];
            EXPECT_EQ(AlphaOf(*image, x, y), expected) << "(" << x << ", " << y << ")";
            EXPECT_EQ(AlphaOf(*image, 39 - x, 29 - y), expected);
        }
    }
    // Both edges on at a corner that is not rounded: the square form, whatever the radius.
    CDibPtr other = MakeImage(40, 30, 255);
    ASSERT_EQ(BlurEdges(*other, false, false, false, false, true, true, true, true, 0, 0, 4),
              hr::kOk);
    EXPECT_TRUE(PixelsNear(*image, *other, 0));

    // H = 100, b = 80, top only: row 49 is capped at 157, row 50 and below not at all.
    CDibPtr tall = MakeImage(20, 100, 255);
    ASSERT_EQ(BlurEdges(*tall, false, false, false, false, false, true, false, false, 0, 0, 80),
              hr::kOk);
    for (int x = 0; x < 20; ++x) {
        EXPECT_EQ(AlphaOf(*tall, x, 49), 157);
        for (int y = 50; y < 100; ++y) {
            ASSERT_EQ(AlphaOf(*tall, x, y), 255);
        }
    }
    // Two opposite edges meet at the middle: the fade is the same from either side.
    CDibPtr both = MakeImage(6, 10, 255);
    ASSERT_EQ(BlurEdges(*both, false, false, false, false, false, true, false, true, 0, 0, 20),
              hr::kOk);
    for (int y = 0; y < 10; ++y) {
        EXPECT_EQ(AlphaOf(*both, 2, y), AlphaOf(*both, 2, 9 - y));
        EXPECT_LT(AlphaOf(*both, 2, y), 255);
    }
    EXPECT_LT(AlphaOf(*both, 0, 0), AlphaOf(*both, 0, 4));
}

TEST(BlurTest, EdgeCasesArcDistanceAndSmallSizeCaps) {
    CDibPtr source = MakeImage(16, 16, 255);
    CDibPtr result;
    // Unchanged: no edge chosen; width 0 with straight edges; width 0 and radius 0.
    for (auto [corners, width, edges, radius] :
         {std::tuple{true, 4, false, 4}, {false, 0, true, 4}, {true, 0, true, 0}}) {
        ASSERT_EQ(BlurImage(result, *source, corners, corners, corners, corners, width, edges,
                            edges, edges, edges, radius, radius),
                  hr::kOk);
        EXPECT_TRUE(PixelsNear(*result, *source, 0)) << width << " " << radius;
    }
    // A width under 1: only the outermost pixel, capped at 191 for 0.5.
    ASSERT_EQ(BlurImage(result, *source, false, false, false, false, 0.5, false, true, false, false,
                        0, 0),
              hr::kOk);
    EXPECT_EQ(AlphaOf(*result, 5, 0), 191);
    EXPECT_EQ(AlphaOf(*result, 5, 1), 255);
    // A cap, not a multiplication: alpha below the cap stays.
    CDibPtr faint = MakeImage(16, 16, 20);
    faint->PixelAt(5, 1)[3] = 200;
    ASSERT_EQ(
        BlurImage(result, *faint, false, false, false, false, 4, false, true, false, false, 0, 0),
        hr::kOk);
    EXPECT_EQ(AlphaOf(*result, 5, 0), 20);
    EXPECT_EQ(AlphaOf(*result, 5, 1), 95);
    // Only one edge at a rounded corner: the strip runs straight to the image's corner.
    ASSERT_EQ(
        BlurImage(result, *source, true, true, true, true, 4, true, false, false, false, 8, 8),
        hr::kOk);
    for (int y = 0; y < 16; ++y) {
        EXPECT_EQ(AlphaOf(*result, 0, y), 31);
        EXPECT_EQ(AlphaOf(*result, 3, y), 223);
        EXPECT_EQ(AlphaOf(*result, 4, y), 255);
    }
    // Width 1: rx is 0, so there are no corner blocks and the strips cap everything at 31.
    CDibPtr thin = MakeImage(1, 20, 255);
    ASSERT_EQ(BlurImage(result, *thin, true, true, true, true, 4, true, true, true, true, 8, 8),
              hr::kOk);
    for (int y = 0; y < 20; ++y) {
        EXPECT_EQ(AlphaOf(*result, 0, y), 31);
    }
    // Not 32 bits (the copy's own refusal is RoundTest's).
    CDib rgb;
    ASSERT_TRUE(rgb.Create(40, 4, 4, 24, 0, 0, 0));
    ASSERT_TRUE(rgb.AllocBits());
    EXPECT_EQ(BlurEdges(rgb, true, true, true, true, true, true, true, true, 2, 2, 2),
              hr::kInvalidArg);

    // On the straight rim next to a block the distance is the table's index.
    for (int i = 0; i <= 7; ++i) {
        EXPECT_DOUBLE_EQ(ArcDistance(7 - i, 0, 7, 7), i);
        EXPECT_DOUBLE_EQ(ArcDistance(0, 7 - i, 7, 7), i);
    }
    // A radius of 1 leaves a degenerate arc: the measures of 0 / 0 are left out.
    EXPECT_DOUBLE_EQ(ArcDistance(0, 0, 0, 0), 0.0);
    for (double a : {0.0, 0.2, 0.45}) {
        for (int i = 0; i < 2; ++i) {
            for (int j = 0; j < 2; ++j) {
                EXPECT_TRUE(std::isfinite(ArcDistance(a - i, a - j, a, a)));
            }
        }
    }
    // A pixel straddling the rim keeps the formula e / b x e / 2 while it is a share of full alpha;
    // above full alpha, or infinite at width 0, it is held at full alpha.
    EXPECT_DOUBLE_EQ(FadeValue(-0.2, 0.5), 0.64);
    EXPECT_DOUBLE_EQ(FadeValue(-0.5, 0.25), 0.5);
    EXPECT_DOUBLE_EQ(FadeValue(-0.1, 0.3), 1.0);
    EXPECT_DOUBLE_EQ(FadeValue(-0.5, 0), 1.0);
    EXPECT_DOUBLE_EQ(FadeValue(-1.0, 0.25), 0.0);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_EQ(FadeCap(nan), 255);
    EXPECT_EQ(FadeCap(inf), 255);
    EXPECT_EQ(FadeCap(1.7), 255);
    EXPECT_EQ(FadeCap(-0.1), 0);
    EXPECT_EQ(FadeCap(-inf), 0);
    EXPECT_EQ(FadeCap(0.5), 127);

    // Radius 1: the corner pixel sits on the degenerate arc and takes the rim's outermost byte.
    CDibPtr image = MakeImage(10, 10, 255);
    ASSERT_EQ(BlurEdges(*image, true, true, true, true, true, true, true, true, 1, 1, 1), hr::kOk);
    EXPECT_EQ(AlphaOf(*image, 0, 0), 127);
    EXPECT_EQ(AlphaOf(*image, 9, 9), 127);
    // Radii from 1 to 1.5 and widths below 0.5 stay defined and leave the middle alone.
    for (double radius : {1.0, 1.2, 1.49}) {
        for (double width : {0.0, 0.2, 0.4, 1.0}) {
            CDibPtr small = MakeImage(6, 6, 255);
            ASSERT_EQ(BlurEdges(*small, true, true, true, true, true, true, true, true, radius,
                                radius, width),
                      hr::kOk);
            for (int y = 2; y < 4; ++y) {
                for (int x = 2; x < 4; ++x) {
                    EXPECT_EQ(AlphaOf(*small, x, y), 255);
                }
            }
            EXPECT_EQ(AlphaOf(*small, 0, 0), AlphaOf(*small, 5, 5));
        }
    }
}
