// Tests of the bitmap buffer: sizes, the header of a copy, premultiplication and empty walks.
#include "image/Dib.h"

#include "support/PixelTestUtil.h"

using namespace testutil;

TEST(Dib, SizeOfTheBitsAndTheHeaderOfACopy) {
    CDib dib;
    EXPECT_EQ(dib.GetSizeImage(), 0u); // no header
    EXPECT_FALSE(dib.AllocBits());

    ASSERT_TRUE(dib.Create32(3, 2));
    EXPECT_EQ(dib.Stride(), 12u);
    EXPECT_EQ(dib.GetSizeImage(), 24u);
    ASSERT_TRUE(dib.Create(40, 5, -3, 24, 0, 0, 0));
    EXPECT_EQ(dib.Stride(), 16u); // 15 bytes raised to a multiple of 4
    EXPECT_EQ(dib.GetSizeImage(), 48u);
    ASSERT_TRUE(dib.Create(40, 33, 2, 1, 0, 0, 0));
    EXPECT_EQ(dib.Stride(), 8u); // 5 bytes raised to 8
    ASSERT_TRUE(dib.Create(40, 4, 4, 32, 0, 3, 0));
    dib.Header()->biSizeImage = 1234;
    EXPECT_EQ(dib.GetSizeImage(), 1234u); // a compressed image states its own size

    CDib original;
    ASSERT_TRUE(original.Create32(4, 3));
    original.Header()->biXPelsPerMeter = 11811;
    original.Header()->biYPelsPerMeter = 11811;
    CDib copy;
    ASSERT_TRUE(copy.CreateFromHeader(original.Header()));
    EXPECT_EQ(copy.Width(), 4);
    EXPECT_EQ(copy.Height(), 3);
    EXPECT_EQ(copy.Header()->biBitCount, 32);
    EXPECT_EQ(copy.Header()->biXPelsPerMeter, 0); // resolution is not copied
    EXPECT_EQ(copy.Header()->biYPelsPerMeter, 0);
}

TEST(Dib, PremultiplyTruncatesAndSkipsOpaquePixels) {
    CDibPtr dib = MakeDib(3, 1, [](i32 x, i32) {
        const Bgra pixels[] = {{50, 100, 200, 128}, {50, 100, 200, 255}, {50, 100, 200, 0}};
        return pixels[x];
    });
    dib->PremultiplyAlpha();
    // 50 * 128 / 255 = 25.09, 100 * 128 / 255 = 50.19, 200 * 128 / 255 = 100.39
    EXPECT_EQ(PixelOf(*dib, 0, 0), (Bgra{25, 50, 100, 128}));
    EXPECT_EQ(PixelOf(*dib, 1, 0), (Bgra{50, 100, 200, 255}));
    EXPECT_EQ(PixelOf(*dib, 2, 0), (Bgra{0, 0, 0, 0}));
}

TEST(Dib, RangesOutsideOrOverBadImagesAreEmpty) {
    CDibPtr dib = MakeDib(4, 3, [](i32, i32) { return Bgra{}; });
    const auto isEmpty = [](const CPixelRangePair& r) {
        return r.first.first == nullptr && r.second.first == nullptr && r.first.lineStep == 0 &&
               r.first.pixelStep == 0 && r.first.pixelsPerLine == 0;
    };
    EXPECT_TRUE(isEmpty(MakePixelRange(*dib, 4, 0, 1, 1, false, false))); // x == width
    EXPECT_TRUE(isEmpty(MakePixelRange(*dib, 0, 3, 1, 1, false, false))); // y == height
    EXPECT_TRUE(isEmpty(MakeColumnRange(*dib, 4, 0, 1, 1, false)));
    EXPECT_FALSE(isEmpty(MakePixelRange(*dib, 3, 2, 1, 1, false, false)));

    // A walk over an empty range does nothing.
    const CPixelRangePair none = MakePixelRange(*dib, 4, 0, 1, 1, false, false);
    int lines = 0;
    for (u8* line = none.first.first; line != none.second.first; line += none.first.lineStep)
        ++lines;
    EXPECT_EQ(lines, 0);

    dib->Header()->biCompression = 3;
    EXPECT_TRUE(isEmpty(MakePixelRange(*dib, 0, 0, 1, 1, false, false)));
    dib->Header()->biCompression = 0;
    dib->Header()->biBitCount = 12;
    EXPECT_TRUE(isEmpty(MakePixelRange(*dib, 0, 0, 1, 1, false, false)));
    dib->Header()->biBitCount = 32;
    dib->Header()->biWidth = 0;
    EXPECT_TRUE(isEmpty(MakeColumnRange(*dib, 0, 0, 1, 1, false)));

    CDib headerOnly;
    ASSERT_TRUE(headerOnly.Create32(2, 2));
    EXPECT_TRUE(isEmpty(MakePixelRange(headerOnly, 0, 0, 1, 1, false, false)));
    EXPECT_FALSE(IsDib32(headerOnly));
}
