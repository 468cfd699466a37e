// Tests of the edge plan: row by row it gives every pixel the alpha that rounding and fading the
// whole image give it (RoundWhole, the reference), whatever the size, the settings and the
// source's own alpha.
#include "image/EdgePlan.h"

#include <gtest/gtest.h>

#include <random>

#include "image/reference/WholeConversion.h"
#include "support/PixelTestUtil.h"

namespace {

using namespace testutil;

struct Case {
    i32 width;
    i32 height;
    u32 corners;
    u32 edges;
    i32 radiusTenths;
    i32 fadeTenths;
};

std::ostream& operator<<(std::ostream& os, const Case& c) {
    return os << c.width << "x" << c.height << " corners " << c.corners << " edges " << c.edges
              << " radius " << c.radiusTenths / 10.0 << " fade " << c.fadeTenths / 10.0;
}

// Compares the plan, applied row by row (the middle rows in pieces, as a stream hands them
// over), with the rounding of the whole image; the number of pixels that differ.
i32 CountDifferences(const Case& c, std::mt19937& random) {
    std::uniform_int_distribution<int> byte(0, 255);
    const bool opaque = byte(random) < 128;
    CDibPtr source = MakeDib(c.width, c.height, [&](i32, i32) {
        return Bgra{static_cast<u8>(byte(random)), 7, 9, opaque ? u8{255} : u8(byte(random))};
    });
    const RoundSettings round{.corners = c.corners,
                              .edges = c.edges,
                              .radius = LengthValue{lengthunit::kPixels, c.radiusTenths, 0},
                              .blurWidth = LengthValue{lengthunit::kPixels, c.fadeTenths, 0}};
    WholeFailure failure;
    const CDibPtr result = RoundWhole(*source, round, failure);
    EXPECT_EQ(failure.errorId, 0u) << c;
    if (!result)
        return -1;

    CEdgePlan plan;
    EXPECT_EQ(plan.Build(c.width, c.height, c.corners, c.edges, c.radiusTenths / 10.0,
                         c.fadeTenths / 10.0),
              0u)
        << c;
    i32 differences = 0;
    std::vector<u8> row(static_cast<size_t>(c.width) * 4);
    for (i32 y = 0; y < c.height; ++y) {
        for (i32 x = 0; x < c.width; ++x)
            row[static_cast<size_t>(x) * 4 + 3] = source->PixelAt(x, y)[3];
        // Two pieces, split at a point that moves from row to row.
        const i32 split = c.width > 1 ? y % c.width : 0;
        plan.Apply(y, 0, split, row.data());
        plan.Apply(y, split, c.width - split, row.data() + static_cast<size_t>(split) * 4);
        for (i32 x = 0; x < c.width; ++x) {
            const u8 expected = result->PixelAt(x, y)[3];
            if (row[static_cast<size_t>(x) * 4 + 3] != expected) {
                if (++differences == 1)
                    ADD_FAILURE() << c << " first difference at " << x << "," << y << ": "
                                  << int(row[static_cast<size_t>(x) * 4 + 3]) << " against "
                                  << int(expected);
            }
            // Untouched pixels outside the bands and the whole rows keep their alpha.
            const bool inBands =
                plan.TouchesWholeRow(y) || x < plan.SideBand() || x >= c.width - plan.SideBand();
            if (!inBands && expected != source->PixelAt(x, y)[3])
                ADD_FAILURE() << c << " the rounding changed " << x << "," << y
                              << " outside the bands";
        }
    }
    return differences;
}

TEST(EdgePlanTest, RowsGetTheAlphaOfTheWholeImage) {
    std::mt19937 random(20261123);
    // Sizes around the points where the probe stops keeping the whole axis, thin images, and
    // sizes where the radius or the fade reaches the middle.
    const std::vector<std::pair<i32, i32>> sizes = {
        {1, 1},   {1, 9},  {9, 1},  {2, 2},   {3, 5},    {22, 22},  {23, 24},  {24, 23},
        {25, 25}, {40, 7}, {7, 40}, {64, 48}, {101, 57}, {300, 41}, {257, 260}};
    const std::vector<i32> radii = {0, 5, 10, 15, 23, 100, 117, 375, 1000, 2000};
    const std::vector<i32> fades = {0, 4, 10, 37, 100, 150, 250, 1000, 3000};
    std::uniform_int_distribution<int> mask(0, 15);
    i32 cases = 0;
    for (const auto& [width, height] : sizes) {
        for (i32 radius : radii) {
            for (i32 fade : fades) {
                // All corners and edges, and a random choice of each.
                for (bool all : {true, false}) {
                    const Case c{width,
                                 height,
                                 all ? 15u : static_cast<u32>(mask(random)),
                                 all ? 15u : static_cast<u32>(mask(random)),
                                 radius,
                                 fade};
                    EXPECT_EQ(CountDifferences(c, random), 0) << c;
                    ++cases;
                }
            }
        }
    }
    EXPECT_EQ(cases, 15 * 10 * 9 * 2);
}

TEST(EdgePlanTest, TheProbeFollowsTheSettingsNotTheImage) {
    // A photo's plan with the default settings reads a few pixels from each edge.
    CEdgePlan plan;
    ASSERT_EQ(plan.Build(6000, 4000, 15, 15, 10.0, 1.0), 0u);
    EXPECT_EQ(plan.SideBand(), 10);
    EXPECT_TRUE(plan.TouchesWholeRow(0));
    EXPECT_TRUE(plan.TouchesWholeRow(9));
    EXPECT_FALSE(plan.TouchesWholeRow(10));
    EXPECT_FALSE(plan.TouchesWholeRow(3989));
    EXPECT_TRUE(plan.TouchesWholeRow(3990));
    // A pixel of the middle keeps its alpha, the corner pixel is cut to nothing.
    u8 middle[4] = {1, 2, 3, 200};
    plan.Apply(2000, 3000, 1, middle);
    EXPECT_EQ(middle[3], 200);
    u8 corner[4] = {1, 2, 3, 255};
    plan.Apply(0, 5999, 1, corner);
    EXPECT_EQ(corner[3], 0);
    EXPECT_EQ(plan.Build(0, 5, 15, 15, 1.0, 1.0), 0x80070057u);
}

} // namespace
