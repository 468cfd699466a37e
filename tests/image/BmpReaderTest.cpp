// Tests of the BMP reader with files built byte by byte: every header version, palette, bit-field
// and run-length form, with exact pixel values, and the files it must refuse.
#include "image/BmpReader.h"

#include "image/Decode.h"
#include "support/ImageFiles.h"
#include "support/PixelTestUtil.h"

using namespace testutil;

namespace {

// Four-byte palette entries (blue, green, red, reserved) from colours.
std::vector<u8> Palette(const std::vector<Bgra>& colours) {
    std::vector<u8> out;
    for (const Bgra& c : colours)
        out.insert(out.end(), {c.b, c.g, c.r, 0});
    return out;
}

HResult Read(const std::vector<u8>& file, CDibPtr& out, u64 maxPixels = kDefaultMaxPixels,
             Size* declared = nullptr) {
    return ReadBmp(file.data(), file.size(), maxPixels, out, declared);
}

// The pixels of a decoded image, rows from the top.
std::vector<Bgra> Pixels(const CDib& dib) {
    std::vector<Bgra> out;
    for (i32 y = 0; y < dib.Height(); ++y)
        for (i32 x = 0; x < dib.Width(); ++x)
            out.push_back(PixelOf(dib, x, y));
    return out;
}

// The pixels that a file of these parts decodes to; none when it is refused.
std::vector<Bgra> Decoded(const BmpParts& parts) {
    CDibPtr dib;
    const HResult code = Read(MakeBmp(parts), dib);
    if (code != hr::kOk || !dib) {
        ADD_FAILURE() << "refused with " << code;
        return {};
    }
    return Pixels(*dib);
}

const Bgra kRed{0, 0, 255, 255};
const Bgra kGreen{0, 255, 0, 255};
const Bgra kBlue{255, 0, 0, 255};
const Bgra kWhite{255, 255, 255, 255};
const Bgra kBlack{0, 0, 0, 255};
const Bgra kGrey{10, 20, 30, 255};

} // namespace

TEST(BmpReader, PaletteImagesOfOneFourAndEightBits) {
    CDibPtr dib;
    // 1 bit, 3 x 2, bottom-up: the file's first row is the bottom one. Rows pad to 4 bytes.
    BmpParts one{.width = 3, .height = 2, .bitCount = 1};
    one.palette = Palette({kRed, kBlue});
    one.pixels = {0b10100000, 0, 0, 0, 0b01000000, 0, 0, 0};
    EXPECT_EQ(Decoded(one), (std::vector<Bgra>{kRed, kBlue, kRed, kBlue, kRed, kBlue}));

    // 4 bits, 3 x 1, a palette of two colours: index 5 lies beyond it and reads as black.
    BmpParts four{.width = 3, .height = 1, .bitCount = 4, .colorsUsed = 2};
    four.palette = Palette({kGreen, kGrey});
    four.pixels = {0x10, 0x50, 0, 0};
    EXPECT_EQ(Decoded(four), (std::vector<Bgra>{kGrey, kGreen, kBlack}));

    // 8 bits, 2 x 2, top-down (negative height): the file's first row is the top one.
    BmpParts eight{.width = 2, .height = -2, .bitCount = 8, .colorsUsed = 3};
    eight.palette = Palette({kRed, kGreen, kBlue});
    eight.pixels = {2, 1, 0, 0, 0, 2, 0, 0};
    ASSERT_EQ(Read(MakeBmp(eight), dib), hr::kOk);
    EXPECT_EQ(Pixels(*dib), (std::vector<Bgra>{kBlue, kGreen, kRed, kBlue}));
    EXPECT_GT(dib->Header()->biHeight, 0); // the result is bottom-up whatever the file was
}

TEST(BmpReader, TrueColourIsOpaqueAndBitFieldsScaleEachChannel) {
    // 24 bits, 2 x 1, padded to 8 bytes.
    BmpParts rgb24{.width = 2, .height = 1, .bitCount = 24};
    rgb24.pixels = {1, 2, 3, 4, 5, 6, 0, 0};
    EXPECT_EQ(Decoded(rgb24), (std::vector<Bgra>{{1, 2, 3, 255}, {4, 5, 6, 255}}));

    // 32-bit BI_RGB: the fourth byte is unused, so the image is opaque whatever it holds.
    BmpParts rgb32{.width = 2, .height = 1, .bitCount = 32};
    rgb32.pixels = {1, 2, 3, 0, 4, 5, 6, 77};
    EXPECT_EQ(Decoded(rgb32), (std::vector<Bgra>{{1, 2, 3, 255}, {4, 5, 6, 255}}));

    // 16-bit BI_RGB is 5-5-5: 31 becomes 255, 16 becomes 132 (16 x 255 / 31, rounded).
    BmpParts rgb16{.width = 2, .height = 1, .bitCount = 16};
    rgb16.pixels.clear();
    Put16(rgb16.pixels, (31u << 10) | (16u << 5) | 0u);
    Put16(rgb16.pixels, 0x7FFF);
    EXPECT_EQ(Decoded(rgb16), (std::vector<Bgra>{{0, 132, 255, 255}, kWhite}));

    // 16-bit 5-6-5 masks after a 40-byte header: green has 63 steps, 32 becomes 130.
    BmpParts bits565{.width = 1, .height = 1, .bitCount = 16, .compression = kBmpBitfields};
    bits565.masks = {0xF800, 0x07E0, 0x001F};
    Put16(bits565.pixels, (0u << 11) | (32u << 5) | 31u);
    Put16(bits565.pixels, 0);
    EXPECT_EQ(Decoded(bits565), (std::vector<Bgra>{{255, 130, 0, 255}}));

    // A 40-byte header has room for no alpha mask: a 32-bit bit-field image of it is opaque.
    BmpParts noAlpha{.width = 1, .height = 1, .bitCount = 32, .compression = kBmpBitfields};
    noAlpha.masks = {0x0000FF00, 0x00FF0000, 0xFF000000};
    noAlpha.pixels = {9, 1, 2, 3};
    EXPECT_EQ(Decoded(noAlpha), (std::vector<Bgra>{{3, 2, 1, 255}}));
}

TEST(BmpReader, AlphaComesFromTheAlphaMaskOfTheLongerHeaders) {
    for (u32 headerSize : {56u, 108u, 124u}) {
        BmpParts v5{.headerSize = headerSize,
                    .width = 2,
                    .height = 1,
                    .bitCount = 32,
                    .compression = kBmpBitfields};
        v5.masks = {0x00FF0000, 0x0000FF00, 0x000000FF, 0xFF000000};
        v5.pixels = {10, 20, 30, 0, 40, 50, 60, 128};
        EXPECT_EQ(Decoded(v5), (std::vector<Bgra>{{10, 20, 30, 0}, {40, 50, 60, 128}}))
            << headerSize;
    }
    // The same masks with BI_RGB are not used: the fourth byte is not alpha.
    BmpParts plain{.headerSize = 124, .width = 1, .height = 1, .bitCount = 32};
    plain.masks = {0x00FF0000, 0x0000FF00, 0x000000FF, 0xFF000000};
    plain.pixels = {10, 20, 30, 0};
    EXPECT_EQ(Decoded(plain), (std::vector<Bgra>{{10, 20, 30, 255}}));

    // A 52-byte header has colour masks only.
    BmpParts v2{.headerSize = 52, .width = 1, .height = 1, .bitCount = 32, .compression = 3};
    v2.masks = {0x000000FF, 0x0000FF00, 0x00FF0000};
    v2.pixels = {10, 20, 30, 0};
    EXPECT_EQ(Decoded(v2), (std::vector<Bgra>{{30, 20, 10, 255}}));
}

TEST(BmpReader, CoreHeaderWithThreeBytePaletteEntries) {
    CDibPtr dib;
    BmpParts core{.headerSize = 12, .width = 2, .height = 1, .bitCount = 1};
    core.palette = {7, 8, 9, 17, 18, 19}; // two entries of blue, green, red
    core.pixels = {0b01000000, 0, 0, 0};
    EXPECT_EQ(Decoded(core), (std::vector<Bgra>{{7, 8, 9, 255}, {17, 18, 19, 255}}));

    BmpParts core24{.headerSize = 12, .width = 1, .height = 2, .bitCount = 24};
    core24.pixels = {1, 2, 3, 0, 4, 5, 6, 0};
    ASSERT_EQ(Read(MakeBmp(core24), dib), hr::kOk);
    EXPECT_EQ(Pixels(*dib), (std::vector<Bgra>{{4, 5, 6, 255}, {1, 2, 3, 255}}));
    // No resolution stated: the screen's 96 dots per inch.
    EXPECT_EQ(dib->Header()->biXPelsPerMeter, 3780);
}

TEST(BmpReader, RunLengthEightBits) {
    // 4 x 3, bottom-up. Row 0 (bottom): a run of 2 x index 1, then an absolute run of the 3
    // indexes 2, 1, 2 (padded to 4 bytes) whose last falls outside the row and is cut off. Row 1
    // ends at once. Row 2 (top): a skip of 2 right, one pixel of index 2, end of bitmap.
    BmpParts rle{.width = 4, .height = 3, .bitCount = 8, .compression = kBmpRle8, .colorsUsed = 3};
    rle.palette = Palette({kGrey, kRed, kBlue});
    rle.pixels = {2, 1, 0, 3, 2, 1, 2, 0, 0, 0, 0, 0, 0, 2, 2, 0, 1, 2, 0, 1};
    EXPECT_EQ(Decoded(rle), (std::vector<Bgra>{kGrey, kGrey, kBlue, kGrey, // top row
                                               kGrey, kGrey, kGrey, kGrey, // middle row
                                               kRed, kRed, kBlue, kRed})); // bottom row
}

TEST(BmpReader, RunLengthFourBits) {
    // 8 x 1: a run of 3 alternating indexes 1 and 2, then an absolute run of 5 nibbles (2, 0, 1,
    // 0, 2) in three bytes padded to four, then end of bitmap.
    BmpParts rle{.width = 8, .height = 1, .bitCount = 4, .compression = kBmpRle4, .colorsUsed = 3};
    rle.palette = Palette({kGrey, kRed, kBlue});
    rle.pixels = {3, 0x12, 0, 5, 0x20, 0x10, 0x20, 0, 0, 1};
    EXPECT_EQ(Decoded(rle),
              (std::vector<Bgra>{kRed, kBlue, kRed, kBlue, kGrey, kRed, kGrey, kBlue}));
}

TEST(BmpReader, RunsAndSkipsNeverWriteOutsideTheImage) {
    CDibPtr dib;
    // 2 x 2: a run of 255 pixels in the bottom row, a skip far up and right, another run, a skip
    // beyond the last row: nothing lands outside, and the top row keeps palette entry 0.
    BmpParts rle{.width = 2, .height = 2, .bitCount = 8, .compression = kBmpRle8, .colorsUsed = 2};
    rle.palette = Palette({kGrey, kRed});
    rle.pixels = {255, 1, 0, 2, 200, 0, 255, 1, 0, 2, 0, 255, 9, 1};
    ASSERT_EQ(Read(MakeBmp(rle), dib), hr::kOk);
    EXPECT_EQ(Pixels(*dib), (std::vector<Bgra>{kGrey, kGrey, kRed, kRed}));
    EXPECT_EQ(dib->GetSizeImage(), 16u);
}

TEST(BmpReader, ThePixelLimitIsCheckedBeforeAnyAllocation) {
    CDibPtr dib;
    Size declared;
    // 30000 x 30000 in a file of a few bytes: a run-length image that ends at once.
    BmpParts huge{.width = 30000, .height = 30000, .bitCount = 8, .compression = kBmpRle8};
    huge.palette = Palette({kGrey});
    huge.colorsUsed = 1;
    huge.pixels = {0, 1};
    EXPECT_EQ(Read(MakeBmp(huge), dib, kDefaultMaxPixels, &declared), hr::kImageTooLarge);
    EXPECT_EQ(declared, (Size{30000, 30000}));
    EXPECT_FALSE(dib);

    // At the limit exactly the image is read; one pixel over, it is refused.
    BmpParts small{.width = 3, .height = 2, .bitCount = 24};
    small.pixels.assign(2 * 12, 0);
    EXPECT_EQ(Read(MakeBmp(small), dib, 5), hr::kImageTooLarge);
    EXPECT_FALSE(dib);
    EXPECT_EQ(Read(MakeBmp(small), dib, 6), hr::kOk);
    ASSERT_TRUE(dib);
    EXPECT_EQ(dib->Width(), 3);

    // Within the limit but beyond a 32-bit buffer.
    BmpParts wide{.width = 70000, .height = 70000, .bitCount = 8, .compression = kBmpRle8};
    wide.palette = Palette({kGrey});
    wide.colorsUsed = 1;
    wide.pixels = {0, 1};
    CDibPtr none;
    EXPECT_EQ(Read(MakeBmp(wide), none, UINT64_MAX), hr::kOutOfMemory);
    EXPECT_FALSE(none);
}

TEST(BmpReader, DamagedFilesAreRefused) {
    CDibPtr dib;
    BmpParts good{.width = 2, .height = 2, .bitCount = 24};
    good.pixels.assign(16, 0);
    const std::vector<u8> file = MakeBmp(good);
    ASSERT_EQ(Read(file, dib), hr::kOk);
    dib.reset();

    // Cut anywhere: in the file header, the info header or the last row.
    for (size_t size : {size_t{1}, size_t{13}, size_t{20}, size_t{53}, file.size() - 7}) {
        const std::vector<u8> cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_EQ(Read(cut, dib), hr::kNotImpl) << size;
    }
    // The last row may lack its padding.
    const std::vector<u8> unpadded(file.begin(), file.end() - 2);
    EXPECT_EQ(Read(unpadded, dib), hr::kOk);
    dib.reset();

    auto refused = [&](BmpParts parts) {
        CDibPtr out;
        const HResult result = Read(MakeBmp(parts), out);
        return result == hr::kNotImpl && !out;
    };
    // A header of no known size, no width or height, a bit count of no format, run-length
    // coding of 24 bits, and JPEG inside.
    int damageNumber = 0;
    for (auto damage : std::initializer_list<void (*)(BmpParts&)>{
             [](BmpParts& p) { p.headerSize = 64; }, [](BmpParts& p) { p.width = 0; },
             [](BmpParts& p) { p.height = 0; }, [](BmpParts& p) { p.bitCount = 7; },
             [](BmpParts& p) { p.compression = kBmpRle8; },
             [](BmpParts& p) { p.compression = 4; }}) {
        BmpParts parts = good;
        damage(parts);
        EXPECT_TRUE(refused(parts)) << "damage " << damageNumber++;
    }

    // Run-length data is bottom-up only, and must not end before its end-of-bitmap mark.
    BmpParts topDownRle{.width = 2, .height = -2, .bitCount = 8, .compression = kBmpRle8};
    topDownRle.palette = Palette({kGrey});
    topDownRle.pixels = {0, 1};
    EXPECT_TRUE(refused(topDownRle));
    BmpParts cutRle{.width = 2, .height = 2, .bitCount = 8, .compression = kBmpRle8};
    cutRle.palette = Palette({kGrey});
    cutRle.pixels = {2, 0, 0, 5, 1};
    EXPECT_TRUE(refused(cutRle));
    // A palette that runs past the end of the file.
    BmpParts shortPalette{.width = 1, .height = 1, .bitCount = 8, .colorsUsed = 200};
    shortPalette.palette = Palette({kGrey});
    EXPECT_TRUE(refused(shortPalette));
}

TEST(BmpReader, TheDecoderEntryPointReadsBmpWithItsResolution) {
    BmpParts parts{.width = 1, .height = 1, .bitCount = 24, .pelsPerMeter = 11811};
    parts.pixels = {1, 2, 3, 0};
    const std::vector<u8> file = MakeBmp(parts);
    EXPECT_TRUE(IsBmp(file.data(), file.size()));
    CDibPtr dib;
    ASSERT_EQ(DecodeImage(file.data(), file.size(), dib), hr::kOk);
    EXPECT_EQ(PixelOf(*dib, 0, 0), (Bgra{1, 2, 3, 255}));
    EXPECT_EQ(dib->Header()->biXPelsPerMeter, 11811);
    EXPECT_EQ(dib->Header()->biYPelsPerMeter, 11811);

    // The pixel limit reaches the reader through the entry point.
    CDibPtr none;
    Size declared;
    EXPECT_EQ(
        DecodeImage(file.data(), file.size(), none, CDecodeLimits{0, kDefaultMaxScans}, &declared),
        hr::kImageTooLarge);
    EXPECT_EQ(declared, (Size{1, 1}));
}
