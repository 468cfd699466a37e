// Tests of drawing one image into another: exact copies, blending and resampling.
#include "image/Draw.h"

#include "support/PixelTestUtil.h"

using namespace testutil;

namespace {

CDibPtr Pattern(i32 w, i32 h) {
    return MakeDib(w, h, [](i32 x, i32 y) {
        return Bgra{static_cast<u8>(x * 40), static_cast<u8>(y * 30), static_cast<u8>(x * y),
                    static_cast<u8>((x * 7 + y * 13) % 256)};
    });
}

} // namespace

TEST(Draw, SameSizeDrawIntoANewImageCopiesEveryByteAndIntoAnImageBlendsOverIt) {
    CDibPtr source = Pattern(6, 5);
    SetPixel(*source, 2, 2, Bgra{11, 22, 33, 0}); // colour under zero alpha survives too
    for (i32 mode : {interp::kHighQualityBicubic, interp::kHighQuality, interp::kDefault}) {
        CDib copy;
        ASSERT_EQ(DrawImageIntoDib(*source, Rect{0, 0, 6, 5}, copy, Size{6, 5}, mode), hr::kOk);
        EXPECT_TRUE(PixelsNear(copy, *source, 0)) << "mode " << mode;
    }

    CDib part;
    ASSERT_EQ(DrawImageIntoDib(*source, Rect{2, 1, 5, 4}, part, Size{3, 3}, interp::kHighQuality),
              hr::kOk);
    for (i32 y = 0; y < 3; ++y)
        for (i32 x = 0; x < 3; ++x)
            EXPECT_EQ(PixelOf(part, x, y), PixelOf(*source, x + 2, y + 1));

    CDibPtr target = Solid(2, 1, Bgra{255, 0, 0, 255});
    CDibPtr over = MakeDib(2, 1, [](i32 x, i32) {
        return x == 0 ? Bgra{0, 0, 255, 128} : Bgra{0, 0, 255, 0};
    });
    ASSERT_TRUE(
        DrawImageRect(*over, Rect{0, 0, 2, 1}, *target, Rect{0, 0, 2, 1}, interp::kDefault));
    // red 255 * 128/255 = 128 over blue 255 * 127/255 = 127; opaque stays opaque
    EXPECT_EQ(PixelOf(*target, 0, 0), (Bgra{127, 0, 128, 255}));
    EXPECT_EQ(PixelOf(*target, 1, 0), (Bgra{255, 0, 0, 255})); // nothing drawn at alpha 0
}

TEST(Draw, ResamplingGivesTheExactSizeKeepsFlatColourAndTopAndBottomInPlace) {
    CDibPtr flat = Solid(10, 9, Bgra{30, 140, 220, 255});
    for (i32 mode : {interp::kHighQuality, interp::kHighQualityBicubic,
                     interp::kHighQualityBilinear, interp::kNearestNeighbor, interp::kDefault}) {
        for (Size size : {Size{4, 3}, Size{23, 17}, Size{1, 1}, Size{10, 2}}) {
            CDib out;
            ASSERT_EQ(DrawImageIntoDib(*flat, Rect{0, 0, 10, 9}, out, size, mode), hr::kOk);
            ASSERT_EQ(out.Width(), size.cx);
            ASSERT_EQ(out.Height(), size.cy);
            // Alpha of an opaque image stays exact; colour may move by the kernel's rounding.
            EXPECT_TRUE(PixelsNear(out, *Solid(size.cx, size.cy, Bgra{30, 140, 220, 255}), 2))
                << "mode " << mode;
            for (i32 y = 0; y < size.cy; ++y)
                for (i32 x = 0; x < size.cx; ++x)
                    ASSERT_EQ(PixelOf(out, x, y).a, 255) << "mode " << mode;
        }
    }

    // Top half red, bottom half blue: halving must keep red on top.
    CDibPtr source = MakeDib(8, 8, [](i32, i32 y) {
        return y < 4 ? Bgra{0, 0, 255, 255} : Bgra{255, 0, 0, 255};
    });
    CDib half;
    ASSERT_EQ(DrawImageIntoDib(*source, Rect{0, 0, 8, 8}, half, Size{4, 4}, interp::kHighQuality),
              hr::kOk);
    EXPECT_GT(PixelOf(half, 1, 0).r, 200);
    EXPECT_LT(PixelOf(half, 1, 0).b, 55);
    EXPECT_GT(PixelOf(half, 1, 3).b, 200);
    EXPECT_LT(PixelOf(half, 1, 3).r, 55);
}

TEST(Draw, HiddenColourDoesNotBleedIntoVisiblePixels) {
    // Left half: fully transparent red; right half: opaque green. Straight-alpha averaging would
    // tint the seam red; premultiplied resampling must not.
    CDibPtr source = MakeDib(48, 4, [](i32 x, i32) {
        return x < 24 ? Bgra{0, 0, 255, 0} : Bgra{0, 200, 0, 255};
    });
    for (i32 mode : {interp::kHighQuality, interp::kHighQualityBicubic, interp::kDefault}) {
        CDib out;
        ASSERT_EQ(DrawImageIntoDib(*source, Rect{0, 0, 48, 4}, out, Size{12, 3}, mode), hr::kOk);
        for (i32 y = 0; y < 3; ++y) {
            for (i32 x = 0; x < 12; ++x) {
                const Bgra p = PixelOf(out, x, y);
                if (p.a > 8) {
                    EXPECT_LE(p.r, 2) << "mode " << mode << " at " << x << ", " << y << " " << p;
                }
            }
        }
        EXPECT_EQ(PixelOf(out, 0, 1).a, 0);
        EXPECT_EQ(PixelOf(out, 11, 1), (Bgra{0, 200, 0, 255}));
    }
}

TEST(Draw, BadRectanglesAndSizesFailAndScaleDibTakesTheSourceHeaderWithTheNewSize) {
    CDibPtr source = Pattern(4, 4);
    CDib out;
    for (auto [rect, size] : {std::pair{Rect{0, 0, 4, 4}, Size{0, 3}},
                              {Rect{0, 0, 4, 4}, Size{3, 0}},
                              {Rect{0, 0, 5, 4}, Size{2, 2}},
                              {Rect{2, 2, 2, 4}, Size{2, 2}}})
        EXPECT_EQ(DrawImageIntoDib(*source, rect, out, size, interp::kHighQuality),
                  hr::kNotEnoughMemory)
            << rect.left << "," << rect.right << " " << size.cx << "x" << size.cy;
    CDibPtr target = Pattern(3, 3);
    EXPECT_FALSE(DrawImageRect(*source, Rect{0, 0, 4, 4}, *target, Rect{1, 1, 4, 4}, 0));
    CDib empty;
    EXPECT_FALSE(DrawImageRect(empty, Rect{0, 0, 1, 1}, *target, Rect{0, 0, 1, 1}, 0));

    CDibPtr wide = Pattern(6, 4);
    wide->Header()->biXPelsPerMeter = 3780;
    CDib scaled;
    ASSERT_EQ(ScaleDib(*wide, Rect{0, 0, 6, 4}, scaled, Size{3, 2}, 32, interp::kHighQuality),
              hr::kOk);
    EXPECT_EQ(scaled.Width(), 3);
    EXPECT_EQ(scaled.Height(), 2);
    EXPECT_EQ(scaled.Header()->biSizeImage, 0u);
    EXPECT_EQ(scaled.Header()->biXPelsPerMeter, 0);

    CDib same;
    ASSERT_EQ(ScaleDib(*wide, Rect{0, 0, 6, 4}, same, Size{6, 4}, 32, interp::kHighQuality),
              hr::kOk);
    EXPECT_TRUE(PixelsNear(same, *wide, 0));

    CDib wrongDepth;
    EXPECT_EQ(ScaleDib(*wide, Rect{0, 0, 6, 4}, wrongDepth, Size{3, 2}, 24, interp::kHighQuality),
              hr::kInvalidArg);
}
