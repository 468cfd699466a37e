// Tests of the fitted size of a shrink, the resampling of tiny sizes and MulDiv's rounding.
#include "image/Shrink.h"

#include <climits>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "image/reference/WholeConversion.h"
#include "resources/StringIds.h"
#include "support/PixelTestUtil.h"

namespace {

CDibPtr MakeImage(i32 width, i32 height, u8 alpha) {
    return testutil::Solid(width, height, testutil::Bgra{40, 80, 120, alpha});
}

ShrinkSettings Custom(i32 width, i32 height) {
    return ShrinkSettings{
        .shrinkType = shrinktype::kCustom, .customWidth = width, .customHeight = height};
}

} // namespace

TEST(ShrinkTest, MulDivRoundsToNearestAndFitsKeepAspectNeverEnlargeAndWorkAtTinySizes) {
    EXPECT_EQ(MulDiv(100, 333, 1000), 33); // 1000 x 333 at width 100
    EXPECT_EQ(MulDiv(299, 200, 300), 199); // 199.33 down
    EXPECT_EQ(MulDiv(500, 800, 600), 667); // 666.67 up
    EXPECT_EQ(MulDiv(1, 1, 2), 1);         // halves away from zero
    EXPECT_EQ(MulDiv(5, 1, 2), 3);
    EXPECT_EQ(MulDiv(-5, 1, 2), -3);
    EXPECT_EQ(MulDiv(5, -1, 2), -3);
    EXPECT_EQ(MulDiv(5, 1, -2), -3);
    EXPECT_EQ(MulDiv(-5, 1, -2), 3);
    EXPECT_EQ(MulDiv(7, 1, 4), 2);                     // 1.75
    EXPECT_EQ(MulDiv(5, 1, 4), 1);                     // 1.25
    EXPECT_EQ(MulDiv(100, 3, 5000), 0);                // 0.06
    EXPECT_EQ(MulDiv(100000, 100000, 100000), 100000); // the product needs 64 bits
    EXPECT_EQ(MulDiv(12, 34, 0), -1);
    EXPECT_EQ(MulDiv(INT_MAX, 2, 1), -1);

    // The fitted size keeps the aspect, never enlarges and refuses what cannot work; any size of at
    // least one pixel each way works: a thin image keeps one pixel across, and shrinks by factors
    // of hundreds keep the colour and the alpha of the source.
    const struct {
        ShrinkSettings shrink;
        Size image;
        u32 error;
        Size fitted;
    } cases[] = {
        {Custom(300, 200), {300, 200}, 0, {300, 200}},
        {Custom(299, 200), {300, 200}, 0, {299, 199}},
        {Custom(640, 640), {800, 600}, 0, {640, 480}},
        {Custom(640, 640), {600, 800}, 0, {480, 640}},
        {Custom(1000, 500), {800, 600}, 0, {667, 500}},
        {Custom(100, 1000), {1000, 333}, 0, {100, 33}},
        {Custom(5000, 5000), {800, 600}, 0, {800, 600}},
        {{}, {800, 600}, 0, {800, 600}},
        {ShrinkSettings{2, 400, 400, 1, 1}, {800, 600}, 0, {400, 300}},
        {Custom(1, 1000), {298, 372}, 0, {1, 1}},
        {Custom(100, 100), {5000, 3}, 0, {100, 1}},
        {Custom(1, 3), {1, 7}, 0, {1, 3}},
        {Custom(1, 1000), {2560, 1600}, 0, {1, 1}},
        {Custom(2, 1000), {2560, 1600}, 0, {2, 1}},
        {Custom(3, 1000), {2560, 1600}, 0, {3, 2}},
        {Custom(5, 1000), {2560, 1600}, 0, {5, 3}},
        {Custom(1, 1), {20000, 2}, 0, {1, 1}},
        {Custom(10, 2), {3, 30000}, 0, {1, 2}},
        {Custom(30, 30), {7680, 30}, 0, {30, 1}}, // a factor of 256, two levels darker in one pass
        {Custom(0, 0), {10, 10}, strid::kShrinkSizeNotPositive, {}},
        {Custom(100, 0), {50, 50}, strid::kShrinkSizeNotPositive, {}},
        {ShrinkSettings{2, 0, 400, 1000, 1000}, {50, 500}, strid::kShrinkSizeNotPositive, {}},
        {ShrinkSettings{.shrinkType = 7}, {10, 10}, strid::kUnknownShrinkType, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.image.cx) + "x" + std::to_string(c.image.cy) + " type " +
                     std::to_string(c.shrink.shrinkType));
        Size fitted{-1, -1};
        EXPECT_EQ(FittedSize(c.shrink, c.image, fitted), c.error);
        if (c.error != 0)
            continue;
        EXPECT_EQ((std::pair{fitted.cx, fitted.cy}), (std::pair{c.fitted.cx, c.fitted.cy}));
        for (u8 alpha : {u8{255}, u8{128}}) {
            WholeFailure failure;
            const CDibPtr result =
                ShrinkWhole(MakeImage(c.image.cx, c.image.cy, alpha), c.shrink, failure);
            ASSERT_TRUE(result);
            ASSERT_EQ((std::pair{result->Width(), result->Height()}),
                      (std::pair{fitted.cx, fitted.cy}));
            // The resampler's fixed-point weights may round a level either way, no more, however
            // large the factor.
            for (i32 y = 0; y < fitted.cy; ++y) {
                for (i32 x = 0; x < fitted.cx; ++x) {
                    const u8* p = result->PixelAt(x, y);
                    ASSERT_NEAR(p[0], 40, 1);
                    ASSERT_NEAR(p[1], 80, 1);
                    ASSERT_NEAR(p[2], 120, 1);
                    ASSERT_EQ(p[3], alpha);
                }
            }
        }
    }
}
