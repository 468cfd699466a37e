// Tests of the background fill: colour conversion, the blend and its rounding, the failures.
#include "image/Background.h"

#include <cstring>

#include <gtest/gtest.h>

#include "support/PixelTestUtil.h"

namespace {

using testutil::Bgra;

CDibPtr MakeImage(i32 width, i32 height) {
    return testutil::MakeDib(width, height, [](i32, i32) { return Bgra{}; });
}

void SetPixel(CDib& dib, i32 x, i32 y, u8 blue, u8 green, u8 red, u8 alpha) {
    testutil::SetPixel(dib, x, y, Bgra{blue, green, red, alpha});
}

void ExpectPixel(const CDib& dib, i32 x, i32 y, int blue, int green, int red, int alpha) {
    const Bgra expected{static_cast<u8>(blue), static_cast<u8>(green), static_cast<u8>(red),
                        static_cast<u8>(alpha)};
    EXPECT_EQ(testutil::PixelOf(dib, x, y), expected) << "(" << x << ", " << y << ")";
}

} // namespace

TEST(BackgroundTest, FillBlendsOverTheColour) {
    CDibPtr source = MakeImage(3, 2);
    SetPixel(*source, 0, 0, 9, 99, 199, 0);    // transparent: exactly the colour
    SetPixel(*source, 1, 0, 10, 20, 30, 255);  // opaque: itself
    SetPixel(*source, 2, 0, 200, 100, 0, 200); // 200 * 200 / 255 = 156.9 rounds to 157
    SetPixel(*source, 0, 1, 200, 200, 200, 128);
    SetPixel(*source, 1, 1, 255, 255, 255, 1);
    SetPixel(*source, 2, 1, 0, 0, 0, 0);
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
    CDibPtr opaque = MakeImage(4, 3);
    for (i32 y = 0; y < 3; ++y) {
        for (i32 x = 0; x < 4; ++x) {
            SetPixel(*opaque, x, y, static_cast<u8>(x * 50), static_cast<u8>(y * 70), 33, 255);
        }
    }
    ASSERT_EQ(FillBackground(result, *opaque, 0xFFFFFF), hr::kOk);
    EXPECT_EQ(std::memcmp(result->Bits(), opaque->Bits(), opaque->GetSizeImage()), 0);
    EXPECT_EQ(result->Header()->biXPelsPerMeter, 0);
}

TEST(BackgroundTest, CompositeAndFailures) {
    // CompositeOver clears the target to the colour first, whatever it held.
    CDibPtr target = MakeImage(2, 1);
    SetPixel(*target, 0, 0, 1, 2, 3, 4);
    SetPixel(*target, 1, 0, 5, 6, 7, 8);
    CDibPtr source = MakeImage(1, 1);
    SetPixel(*source, 0, 0, 50, 60, 70, 0);
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
