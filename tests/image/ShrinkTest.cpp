// Tests of the shrink step, the resize and MulDiv's rounding.
#include "image/Shrink.h"

#include <climits>
#include <string>

#include <gtest/gtest.h>

#include "image/ShrinkStep.h"
#include "resources/StringIds.h"
#include "support/PixelTestUtil.h"

namespace {

CDibPtr MakeImage(i32 width, i32 height, u8 alpha) {
    return testutil::MakeDib(width, height, [&](i32, i32) {
        return testutil::Bgra{40, 80, 120, alpha};
    });
}

// Runs a custom-size fit of a width x height image and returns the step.
CShrinkStep Fit(CDibPtr image, i32 targetWidth, i32 targetHeight) {
    CShrinkStep step;
    step.source = image;
    step.shrinkType = 1;
    step.customWidth = targetWidth;
    step.customHeight = targetHeight;
    step.Run();
    return step;
}

void ExpectSize(const CShrinkStep& step, i32 width, i32 height) {
    ASSERT_TRUE(step.result);
    EXPECT_EQ(step.errorId, 0u);
    EXPECT_EQ(step.result->Width(), width);
    EXPECT_EQ(step.result->Height(), height);
}

} // namespace

TEST(ShrinkTest, MulDivRoundsToNearest) {
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
}

TEST(ShrinkTest, FitsKeepingAspectAndNeverEnlarges) {
    CDibPtr image = MakeImage(300, 200, 255);
    CShrinkStep same = Fit(image, 300, 200);
    EXPECT_EQ(same.result.get(), image.get());
    ExpectSize(Fit(image, 299, 200), 299, 199);

    ExpectSize(Fit(MakeImage(800, 600, 255), 640, 640), 640, 480);
    ExpectSize(Fit(MakeImage(600, 800, 255), 640, 640), 480, 640);
    ExpectSize(Fit(MakeImage(800, 600, 255), 1000, 500), 667, 500);
    ExpectSize(Fit(MakeImage(1000, 333, 255), 100, 1000), 100, 33);

    CDibPtr small = MakeImage(800, 600, 255);
    EXPECT_EQ(Fit(small, 5000, 5000).result.get(), small.get());

    // Type 0 passes the same object; type 2 uses the named size.
    CShrinkStep step;
    step.source = small;
    step.Run();
    EXPECT_EQ(step.result.get(), small.get());
    step.SetSettings(ShrinkSettings{2, 400, 400, 1, 1});
    step.Run();
    ExpectSize(step, 400, 300);
}

TEST(ShrinkTest, Failures) {
    CShrinkStep zero = Fit(MakeImage(10, 10, 255), 0, 0);
    EXPECT_EQ(zero.errorId, strid::kShrinkSizeNotPositive);
    EXPECT_EQ(zero.errorCode, 0u);
    EXPECT_FALSE(zero.result);

    CShrinkStep flat = Fit(MakeImage(50, 50, 255), 100, 0);
    EXPECT_EQ(flat.errorId, strid::kShrinkSizeNotPositive);
    EXPECT_FALSE(flat.result);

    CShrinkStep unknown;
    unknown.source = MakeImage(10, 10, 255);
    unknown.shrinkType = 7;
    unknown.Run();
    EXPECT_EQ(unknown.errorId, strid::kUnknownShrinkType);
    EXPECT_EQ(unknown.errorCode, 0u);
    EXPECT_FALSE(unknown.result);
}

// Any fitted size of at least one pixel each way works: a thin image keeps one pixel across, and
// shrinks by factors of hundreds keep the colour and the alpha of the source.
TEST(ShrinkTest, TinySizesWork) {
    struct Case {
        i32 width, height, boxWidth, boxHeight, expectWidth, expectHeight;
    };
    const Case cases[] = {
        {298, 372, 1, 1000, 1, 1},   {5000, 3, 100, 100, 100, 1}, {1, 7, 1, 3, 1, 3},
        {2560, 1600, 1, 1000, 1, 1}, {2560, 1600, 2, 1000, 2, 1}, {2560, 1600, 3, 1000, 3, 2},
        {2560, 1600, 5, 1000, 5, 3}, {20000, 2, 1, 1, 1, 1},      {3, 30000, 10, 2, 1, 2},
        {7680, 30, 30, 30, 30, 1}, // a factor of 256, two levels darker in one pass
    };
    for (const Case& c : cases) {
        for (u8 alpha : {u8{255}, u8{128}}) {
            SCOPED_TRACE(std::to_string(c.width) + "x" + std::to_string(c.height) + " into " +
                         std::to_string(c.boxWidth) + "x" + std::to_string(c.boxHeight) +
                         " alpha " + std::to_string(alpha));
            CShrinkStep step = Fit(MakeImage(c.width, c.height, alpha), c.boxWidth, c.boxHeight);
            ExpectSize(step, c.expectWidth, c.expectHeight);
            if (!step.result)
                continue;
            for (i32 y = 0; y < c.expectHeight; ++y) {
                for (i32 x = 0; x < c.expectWidth; ++x) {
                    // The resampler's fixed-point weights may round a level either way, no
                    // more, however large the factor.
                    const u8* p = step.result->PixelAt(x, y);
                    ASSERT_NEAR(p[0], 40, 1);
                    ASSERT_NEAR(p[1], 80, 1);
                    ASSERT_NEAR(p[2], 120, 1);
                    ASSERT_EQ(p[3], alpha);
                }
            }
        }
    }
}

TEST(ShrinkTest, ResizeKeepsColourAndAlpha) {
    CDibPtr opaque = MakeImage(64, 48, 255);
    opaque->Header()->biXPelsPerMeter = 11811;
    CDibPtr result;
    ASSERT_EQ(ResizeImage(result, Rect{0, 0, 16, 12}, *opaque, Rect{0, 0, 64, 48}), hr::kOk);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->Width(), 16);
    EXPECT_EQ(result->Height(), 12);
    EXPECT_EQ(result->Header()->biBitCount, 32);
    EXPECT_EQ(result->Header()->biXPelsPerMeter, 0);
    for (i32 y = 0; y < 12; ++y) {
        for (i32 x = 0; x < 16; ++x) {
            const u8* p = result->PixelAt(x, y);
            ASSERT_NEAR(p[0], 40, 1);
            ASSERT_NEAR(p[1], 80, 1);
            ASSERT_NEAR(p[2], 120, 1);
            ASSERT_EQ(p[3], 255);
        }
    }
    CDibPtr clear = MakeImage(64, 48, 0);
    ASSERT_EQ(ResizeImage(result, Rect{0, 0, 16, 12}, *clear, Rect{0, 0, 64, 48}), hr::kOk);
    for (i32 y = 0; y < 12; ++y) {
        for (i32 x = 0; x < 16; ++x) {
            ASSERT_EQ(result->PixelAt(x, y)[3], 0);
        }
    }
    CDibPtr kept;
    EXPECT_EQ(ResizeImage(kept, Rect{0, 0, 16, 0}, *opaque, Rect{0, 0, 64, 48}), hr::kNotImpl);
    EXPECT_FALSE(kept);
}
