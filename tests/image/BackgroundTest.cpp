// Tests of the background fill: colour conversion, the blend and its rounding, the failures.
#include "image/Background.h"

#include <cstring>

#include <gtest/gtest.h>

#include "support/PixelTestUtil.h"

using namespace testutil;

TEST(BackgroundTest, FillBlendsOverTheColour) {
    CDibPtr source = Solid(3, 2, Bgra{});
    SetPixel(*source, 0, 0, Bgra{9, 99, 199, 0});    // transparent: exactly the colour
    SetPixel(*source, 1, 0, Bgra{10, 20, 30, 255});  // opaque: itself
    SetPixel(*source, 2, 0, Bgra{200, 100, 0, 200}); // 200 * 200 / 255 = 156.9 rounds to 157
    SetPixel(*source, 0, 1, Bgra{200, 200, 200, 128});
    SetPixel(*source, 1, 1, Bgra{255, 255, 255, 1});
    SetPixel(*source, 2, 1, Bgra{0, 0, 0, 0});
    CDibPtr result;
    // Red in a COLORREF: bytes blue 0, green 0, red 255.
    ASSERT_EQ(FillBackground(result, *source, 0x0000FF), hr::kOk);
    ASSERT_TRUE(result);
    ASSERT_NE(result.get(), source.get());
    EXPECT_EQ(PixelOf(*result, 0, 0), (Bgra{0, 0, 255, 255}));
    EXPECT_EQ(PixelOf(*result, 1, 0), (Bgra{10, 20, 30, 255}));
    EXPECT_EQ(PixelOf(*result, 2, 0), (Bgra{157, 78, 55, 255}));
    // 200 * 128 / 255 = 100.4; red: 100.4 + 255 * 127 / 255 = 227.4.
    EXPECT_EQ(PixelOf(*result, 0, 1), (Bgra{100, 100, 227, 255}));
    // 255 * 1 / 255 = 1; red 1 + 254 = 255.
    EXPECT_EQ(PixelOf(*result, 1, 1), (Bgra{1, 1, 255, 255}));
    EXPECT_EQ(PixelOf(*result, 2, 1), (Bgra{0, 0, 255, 255}));
    // The source is only read.
    EXPECT_EQ(PixelOf(*source, 0, 0), (Bgra{9, 99, 199, 0}));

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
    CDibPtr target = Solid(2, 1, Bgra{1, 2, 3, 4});
    SetPixel(*target, 1, 0, Bgra{5, 6, 7, 8});
    CDibPtr source = Solid(1, 1, Bgra{50, 60, 70, 0});
    ASSERT_EQ(CompositeOver(*target, *source, 0x336699), hr::kOk);
    EXPECT_EQ(PixelOf(*target, 0, 0), (Bgra{0x33, 0x66, 0x99, 255}));
    EXPECT_EQ(PixelOf(*target, 1, 0), (Bgra{0x33, 0x66, 0x99, 255}));

    CDib rgb;
    ASSERT_TRUE(rgb.Create(40, 2, 2, 24, 0, 0, 0));
    ASSERT_TRUE(rgb.AllocBits());
    CDibPtr result(new CDib);
    EXPECT_EQ(FillBackground(result, rgb, 0), hr::kInvalidArg);
    EXPECT_FALSE(result);
    EXPECT_EQ(CompositeOver(*target, rgb, 0), hr::kOutOfMemory);
}
