// Tests of the background fill: colour conversion, the blend and its rounding, the failures.
#include "image/Background.h"

#include <cstring>

#include <gtest/gtest.h>

#include "support/PixelTestUtil.h"

namespace {

using namespace testutil;

CDibPtr MakeImage(i32 width, i32 height) {
    return Solid(width, height, Bgra{});
}

void Put(CDib& dib, i32 x, i32 y, u8 blue, u8 green, u8 red, u8 alpha) {
    SetPixel(dib, x, y, Bgra{blue, green, red, alpha});
}

void ExpectPixel(const CDib& dib, i32 x, i32 y, u8 blue, u8 green, u8 red, u8 alpha) {
    EXPECT_EQ(PixelOf(dib, x, y), (Bgra{blue, green, red, alpha})) << "(" << x << ", " << y << ")";
}

} // namespace

TEST(BackgroundTest, FillBlendsOverTheColour) {
    CDibPtr source = MakeImage(3, 2);
    Put(*source, 0, 0, 9, 99, 199, 0);    // transparent: exactly the colour
    Put(*source, 1, 0, 10, 20, 30, 255);  // opaque: itself
    Put(*source, 2, 0, 200, 100, 0, 200); // 200 * 200 / 255 = 156.9 rounds to 157
    Put(*source, 0, 1, 200, 200, 200, 128);
    Put(*source, 1, 1, 255, 255, 255, 1);
    Put(*source, 2, 1, 0, 0, 0, 0);
    CDibPtr result;
    // Red in a COLORREF: bytes blue 0, green 0, red 255.
    ASSERT_EQ(FillBackground(result, *source, 0x0000FF), hr::kOk);
    ASSERT_TRUE(result);
    ASSERT_NE(result.get(), source.get());
    ExpectPixel(*result, 0, 0, 0, 0, 255, 255);
    ExpectPixel(*result, 1, 0, 10, 20, 30, 255);
    ExpectPixel(*result, 2, 0, 157, 78, 55, 255);
    // 200 * 128 / 255 = 100.4; red: 100.4 + 255 * 127 / 255 = 227.4.
    ExpectPixel(*result, 0, 1, 100, 100, 227, 255);
    // 255 * 1 / 255 = 1; red 1 + 254 = 255.
    ExpectPixel(*result, 1, 1, 1, 1, 255, 255);
    ExpectPixel(*result, 2, 1, 0, 0, 255, 255);
    // The source is only read.
    ExpectPixel(*source, 0, 0, 9, 99, 199, 0);

    // An opaque image is unchanged apart from being a new copy.
    CDibPtr opaque = MakeDib(4, 3, [](i32 x, i32 y) {
        return Bgra{u8(x * 50), u8(y * 70), 33, 255};
    });
    ASSERT_EQ(FillBackground(result, *opaque, 0xFFFFFF), hr::kOk);
    EXPECT_EQ(std::memcmp(result->Bits(), opaque->Bits(), opaque->GetSizeImage()), 0);
    EXPECT_EQ(result->Header()->biXPelsPerMeter, 0);
}

TEST(BackgroundTest, CompositeAndFailures) {
    // CompositeOver clears the target to the colour first, whatever it held.
    CDibPtr target = MakeImage(2, 1);
    Put(*target, 0, 0, 1, 2, 3, 4);
    Put(*target, 1, 0, 5, 6, 7, 8);
    CDibPtr source = MakeImage(1, 1);
    Put(*source, 0, 0, 50, 60, 70, 0);
    ASSERT_EQ(CompositeOver(*target, *source, 0x336699), hr::kOk);
    ExpectPixel(*target, 0, 0, 0x33, 0x66, 0x99, 255);
    ExpectPixel(*target, 1, 0, 0x33, 0x66, 0x99, 255);

    CDib rgb;
    ASSERT_TRUE(rgb.Create(40, 2, 2, 24, 0, 0, 0));
    ASSERT_TRUE(rgb.AllocBits());
    CDibPtr result(new CDib);
    EXPECT_EQ(FillBackground(result, rgb, 0), hr::kInvalidArg);
    EXPECT_FALSE(result);
    EXPECT_EQ(CompositeOver(*target, rgb, 0), hr::kOutOfMemory);
}
