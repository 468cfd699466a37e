// Tests of the BMP reader with files built byte by byte: every header version, palette, bit-field
// and run-length form, with exact pixel values, and the files it must refuse.
#include "image/BmpReader.h"

#include "image/Decode.h"
#include "support/DeclaredBombs.h"
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

// A file's parts in the order of its header fields, with the masks, palette and pixel data.
BmpParts Parts(u32 headerSize, i32 width, i32 height, u16 bitCount, u32 compression, u32 colorsUsed,
               std::vector<u32> masks, std::vector<u8> palette, std::vector<u8> pixels) {
    return {headerSize, width, height, bitCount, compression,
            colorsUsed, 0,     masks,  palette,  pixels};
}

const Bgra kRed{0, 0, 255, 255};
const Bgra kGreen{0, 255, 0, 255};
const Bgra kBlue{255, 0, 0, 255};
const Bgra kWhite{255, 255, 255, 255};
const Bgra kBlack{0, 0, 0, 255};
const Bgra kGrey{10, 20, 30, 255};

} // namespace

// Every header version, bit count, palette, bit-field and run-length form, to exact pixels (rows
// from the top) in a bottom-up 32-bit image at the screen's 96 dots per inch when the file states
// no resolution.
TEST(BmpReader, EveryFormDecodesToItsExactPixels) {
    const u32 kBf = kBmpBitfields;
    const std::vector<u32> kArgb = {0x00FF0000, 0x0000FF00, 0x000000FF, 0xFF000000};
    const struct {
        const char* what;
        BmpParts parts;
        std::vector<Bgra> pixels;
    } cases[] = {
        {"1 bit, bottom-up: the file's first row is the bottom one; rows pad to 4 bytes",
         Parts(40, 3, 2, 1, kBmpRgb, 0, {}, Palette({kRed, kBlue}),
               {0b10100000, 0, 0, 0, 0b01000000, 0, 0, 0}),
         {kRed, kBlue, kRed, kBlue, kRed, kBlue}},
        {"4 bits, a palette of two: index 5 lies beyond it and reads as black",
         Parts(40, 3, 1, 4, kBmpRgb, 2, {}, Palette({kGreen, kGrey}), {0x10, 0x50, 0, 0}),
         {kGrey, kGreen, kBlack}},
        {"8 bits, top-down (negative height): the file's first row is the top one",
         Parts(40, 2, -2, 8, kBmpRgb, 3, {}, Palette({kRed, kGreen, kBlue}),
               {2, 1, 0, 0, 0, 2, 0, 0}),
         {kBlue, kGreen, kRed, kBlue}},
        {"24 bits, padded to 8 bytes",
         Parts(40, 2, 1, 24, kBmpRgb, 0, {}, {}, {1, 2, 3, 4, 5, 6, 0, 0}),
         {{1, 2, 3, 255}, {4, 5, 6, 255}}},
        {"32-bit BI_RGB: the fourth byte is unused, so the image is opaque",
         Parts(40, 2, 1, 32, kBmpRgb, 0, {}, {}, {1, 2, 3, 0, 4, 5, 6, 77}),
         {{1, 2, 3, 255}, {4, 5, 6, 255}}},
        {"16-bit BI_RGB is 5-5-5: 31 becomes 255, 16 becomes 132 (16 x 255 / 31, rounded)",
         Parts(40, 2, 1, 16, kBmpRgb, 0, {}, {}, {0x00, 0x7E, 0xFF, 0x7F}),
         {{0, 132, 255, 255}, kWhite}},
        {"16-bit 5-6-5 masks after a 40-byte header: green has 63 steps, 32 becomes 130",
         Parts(40, 1, 1, 16, kBf, 0, {0xF800, 0x07E0, 0x001F}, {}, {0x1F, 0x04, 0, 0}),
         {{255, 130, 0, 255}}},
        {"a 40-byte header has no room for an alpha mask: opaque",
         Parts(40, 1, 1, 32, kBf, 0, {0x0000FF00, 0x00FF0000, 0xFF000000}, {}, {9, 1, 2, 3}),
         {{3, 2, 1, 255}}},
        {"alpha from the alpha mask of a 56-byte header",
         Parts(56, 2, 1, 32, kBf, 0, kArgb, {}, {10, 20, 30, 0, 40, 50, 60, 128}),
         {{10, 20, 30, 0}, {40, 50, 60, 128}}},
        {"alpha from the alpha mask of a 108-byte header",
         Parts(108, 2, 1, 32, kBf, 0, kArgb, {}, {10, 20, 30, 0, 40, 50, 60, 128}),
         {{10, 20, 30, 0}, {40, 50, 60, 128}}},
        {"alpha from the alpha mask of a 124-byte header",
         Parts(124, 2, 1, 32, kBf, 0, kArgb, {}, {10, 20, 30, 0, 40, 50, 60, 128}),
         {{10, 20, 30, 0}, {40, 50, 60, 128}}},
        {"the same masks with BI_RGB are not used: the fourth byte is not alpha",
         Parts(124, 1, 1, 32, kBmpRgb, 0, kArgb, {}, {10, 20, 30, 0}),
         {{10, 20, 30, 255}}},
        {"a 52-byte header has colour masks only",
         Parts(52, 1, 1, 32, kBf, 0, {0x000000FF, 0x0000FF00, 0x00FF0000}, {}, {10, 20, 30, 0}),
         {{30, 20, 10, 255}}},
        {"a core header with three-byte palette entries of blue, green, red",
         Parts(12, 2, 1, 1, kBmpRgb, 0, {}, {7, 8, 9, 17, 18, 19}, {0b01000000, 0, 0, 0}),
         {{7, 8, 9, 255}, {17, 18, 19, 255}}},
        {"a core header of 24 bits",
         Parts(12, 1, 2, 24, kBmpRgb, 0, {}, {}, {1, 2, 3, 0, 4, 5, 6, 0}),
         {{4, 5, 6, 255}, {1, 2, 3, 255}}},
        // Row 0 (bottom): a run of 2 x index 1, then an absolute run of 2, 1, 2 (padded to 4
        // bytes) whose last is cut off at the row's end. Row 1 ends at once. Row 2: a skip of 2
        // right, one pixel of index 2, end of bitmap.
        {"run-length 8 bits",
         Parts(40, 4, 3, 8, kBmpRle8, 3, {}, Palette({kGrey, kRed, kBlue}),
               {2, 1, 0, 3, 2, 1, 2, 0, 0, 0, 0, 0, 0, 2, 2, 0, 1, 2, 0, 1}),
         {kGrey, kGrey, kBlue, kGrey, kGrey, kGrey, kGrey, kGrey, kRed, kRed, kBlue, kRed}},
        // A run of 3 alternating indexes 1 and 2, an absolute run of 5 nibbles (2, 0, 1, 0, 2) in
        // three bytes padded to four, end of bitmap.
        {"run-length 4 bits",
         Parts(40, 8, 1, 4, kBmpRle4, 3, {}, Palette({kGrey, kRed, kBlue}),
               {3, 0x12, 0, 5, 0x20, 0x10, 0x20, 0, 0, 1}),
         {kRed, kBlue, kRed, kBlue, kGrey, kRed, kGrey, kBlue}},
        // A run of 255 in the bottom row, a skip far up and right, another run, a skip beyond the
        // last row: nothing lands outside, and the top row keeps palette entry 0.
        {"runs and skips never write outside the image",
         Parts(40, 2, 2, 8, kBmpRle8, 2, {}, Palette({kGrey, kRed}),
               {255, 1, 0, 2, 200, 0, 255, 1, 0, 2, 0, 255, 9, 1}),
         {kGrey, kGrey, kRed, kRed}},
    };
    for (const auto& c : cases) {
        CDibPtr dib;
        ASSERT_EQ(Read(MakeBmp(c.parts), dib), hr::kOk) << c.what;
        ASSERT_TRUE(dib) << c.what;
        EXPECT_EQ(PixelsOf(*dib), c.pixels) << c.what;
        EXPECT_GT(dib->Header()->biHeight, 0) << c.what;
        EXPECT_EQ(dib->GetSizeImage(), c.pixels.size() * 4) << c.what;
        EXPECT_EQ(dib->Header()->biXPelsPerMeter, 3780) << c.what;
        EXPECT_EQ(dib->Header()->biYPelsPerMeter, 3780) << c.what;
    }
}

TEST(BmpReader, ThePixelLimitIsCheckedBeforeAnyAllocationAndDamagedFilesAreRefused) {
    CDibPtr dib;
    Size declared;
    // 30000 x 30000 in a file of a few bytes: a run-length image that ends at once.
    EXPECT_EQ(Read(EmptyRleBmp(30000, 30000), dib, kDefaultMaxPixels, &declared),
              hr::kImageTooLarge);
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
    CDibPtr none;
    EXPECT_EQ(Read(EmptyRleBmp(70000, 70000), none, UINT64_MAX), hr::kOutOfMemory);
    EXPECT_FALSE(none);

    // Damaged files.
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

    auto refused = [&](const std::vector<u8>& bytes) {
        CDibPtr out;
        return Read(bytes, out) == hr::kNotImpl && !out;
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
        EXPECT_TRUE(refused(MakeBmp(parts))) << "damage " << damageNumber++;
    }

    // Run-length data is bottom-up only, and must not end before its end-of-bitmap mark.
    EXPECT_TRUE(refused(EmptyRleBmp(2, -2)));
    BmpParts cutRle{.width = 2, .height = 2, .bitCount = 8, .compression = kBmpRle8};
    cutRle.palette = Palette({kGrey});
    cutRle.pixels = {2, 0, 0, 5, 1};
    EXPECT_TRUE(refused(MakeBmp(cutRle)));
    // A palette that runs past the end of the file.
    BmpParts shortPalette{.width = 1, .height = 1, .bitCount = 8, .colorsUsed = 200};
    shortPalette.palette = Palette({kGrey});
    EXPECT_TRUE(refused(MakeBmp(shortPalette)));
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
