// Tests of the bitmap buffer: header rules, sizes, premultiplication and pixel walks.
#include "image/Dib.h"

#include <cstring>

#include "support/PixelTestUtil.h"

using namespace testutil;

TEST(Dib, CreateFillsTheHeaderAndCountsThePalette) {
    CDib dib;
    ASSERT_TRUE(dib.Create(40, 7, -5, 32, 0, 0, 0));
    const BitmapInfoHeader& h = *dib.Header();
    EXPECT_EQ(h.biSize, 40u);
    EXPECT_EQ(h.biWidth, 7);
    EXPECT_EQ(h.biHeight, -5);
    EXPECT_EQ(h.biPlanes, 1);
    EXPECT_EQ(h.biBitCount, 32);
    EXPECT_EQ(h.biCompression, 0u);
    EXPECT_EQ(h.biClrUsed, 0u);
    EXPECT_EQ(h.biXPelsPerMeter, 0);
    EXPECT_EQ(h.biYPelsPerMeter, 0);
    EXPECT_EQ(dib.Height(), 5);
    EXPECT_EQ(dib.Bits(), nullptr); // no bits until AllocBits

    struct Case {
        u16 bitCount;
        u32 colorsUsed;
        u32 compression;
        u32 entries;
    };
    const Case cases[] = {{8, 0, 0, 256}, {4, 0, 0, 16}, {1, 0, 0, 2},  {8, 5, 0, 5},
                          {16, 0, 3, 3},  {32, 0, 3, 3}, {24, 0, 0, 0}, {32, 9, 0, 0}};
    for (const Case& c : cases) {
        ASSERT_TRUE(dib.Create(40, 2, 2, c.bitCount, c.colorsUsed, c.compression, 8));
        EXPECT_EQ(dib.Header()->biClrUsed, c.entries) << "bit count " << c.bitCount;
        EXPECT_EQ(dib.Header()->biClrImportant, c.entries) << "bit count " << c.bitCount;
    }
}

TEST(Dib, SizeOfTheBits) {
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
}

TEST(Dib, ClearAndCreateFromHeader) {
    CDib dib;
    ASSERT_TRUE(dib.Create32(4, 3));
    ASSERT_TRUE(dib.AllocBits());
    std::memset(dib.Bits(), 0xAB, dib.GetSizeImage());
    dib.ClearBits();
    for (u32 i = 0; i < dib.GetSizeImage(); ++i)
        ASSERT_EQ(dib.Bits()[i], 0) << "byte " << i;

    dib.Header()->biXPelsPerMeter = 11811;
    dib.Header()->biYPelsPerMeter = 11811;
    CDib copy;
    ASSERT_TRUE(copy.CreateFromHeader(dib.Header()));
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

TEST(Dib, PixelRangeWalksLinesInEveryDirection) {
    CDibPtr dib = MakeDib(4, 3, [](i32, i32) { return Bgra{}; });
    const i32 stride = 16;

    auto [begin, end] = MakePixelRange(*dib, 1, 1, 2, 2, false, false);
    EXPECT_EQ(begin.first, dib->PixelAt(1, 1));
    EXPECT_EQ(begin.pixelStep, 4);
    EXPECT_EQ(begin.lineStep, -stride);
    EXPECT_EQ(begin.pixelsPerLine, 2u);
    EXPECT_EQ(end.first, begin.first - 2 * stride);
    EXPECT_EQ(end.lineStep, begin.lineStep);

    auto [mirrored, mirroredEnd] = MakePixelRange(*dib, 3, 2, 4, 3, true, true);
    EXPECT_EQ(mirrored.pixelStep, -4);
    EXPECT_EQ(mirrored.lineStep, stride);
    EXPECT_EQ(mirroredEnd.first, mirrored.first + 3 * stride);

    // Walking a range marks exactly its rectangle, line by line downward.
    u8 mark = 1;
    for (u8* line = begin.first; line != end.first; line += begin.lineStep) {
        u8* p = line;
        for (u32 i = 0; i < begin.pixelsPerLine; ++i, p += begin.pixelStep)
            *p = mark++;
    }
    EXPECT_EQ(PixelOf(*dib, 1, 1).b, 1);
    EXPECT_EQ(PixelOf(*dib, 2, 1).b, 2);
    EXPECT_EQ(PixelOf(*dib, 1, 2).b, 3);
    EXPECT_EQ(PixelOf(*dib, 2, 2).b, 4);
    EXPECT_EQ(PixelOf(*dib, 0, 0).b, 0);

    auto [column, columnEnd] = MakeColumnRange(*dib, 0, 0, 2, 3, false);
    EXPECT_EQ(column.first, dib->PixelAt(0, 0));
    EXPECT_EQ(column.lineStep, 4);
    EXPECT_EQ(column.pixelStep, -stride);
    EXPECT_EQ(column.pixelsPerLine, 3u);
    EXPECT_EQ(columnEnd.first, column.first + 8);
    auto [leftward, leftwardEnd] = MakeColumnRange(*dib, 3, 0, 4, 3, true);
    EXPECT_EQ(leftward.lineStep, -4);
    EXPECT_EQ(leftwardEnd.first, leftward.first - 16);
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
