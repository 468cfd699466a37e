// Tests of the decoder's door: which loaders may run, the pixel and scan limits checked before
// decoding, and the row encoders' quality and failure codes (through the encoders of a whole
// image, which hand them its rows).
#include "image/Decode.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <string_view>

#include <sys/resource.h>

#include "image/JpegScans.h"
#include "image/VipsStart.h"
#include "image/reference/WholeEncoders.h"
#include "support/AddressSpaceLimit.h"
#include "support/ImageFiles.h"
#include "support/PixelTestUtil.h"

using namespace testutil;

namespace {

// A file that libvips' untrusted SVG loader reads: tiny, and able to ask for gigabytes.
const std::string_view kSvg =
    "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"200000\" "
    "height=\"200000\" viewBox=\"0 0 1 1\"><rect width=\"1\" height=\"1\" "
    "fill=\"red\"/></svg>";

// What libvips' PDF loader looks for: the first line of a PDF file.
const std::string_view kPdf = "%PDF-1.4\n%%EOF\n";

// The libvips loader that would claim the bytes if no loader were blocked.
std::string LoaderWithoutBlocking(const std::vector<u8>& bytes) {
    vips_block_untrusted_set(FALSE);
    const char* name = vips_foreign_find_load_buffer(bytes.data(), bytes.size());
    vips_block_untrusted_set(TRUE);
    vips_error_clear();
    return name ? vips_nickname_find(g_type_from_name(name)) : "";
}

} // namespace

// libvips starts with its built-in loaders only, and none that it marks untrusted runs for any
// caller: bytes that libvips' SVG loader claims, and those of its PDF loader, whose module (as
// every module of a loader that the program refuses) is never loaded, are no image. Bytes that no
// built-in loader claims load the HEIF module, and with it HEIF and AVIF decode. Each file is
// decoded once: libvips keeps no operation, and so no image, once it has run.
TEST(Codec, OnlyTrustedLoadersAndTheHeifModuleRunAndHeifAndAvifDecode) {
    ASSERT_TRUE(EnsureVipsStarted());
    EXPECT_EQ(vips_cache_get_max(), 0);
    const std::vector<u8> svg(kSvg.begin(), kSvg.end());
    const std::vector<u8> pdf(kPdf.begin(), kPdf.end());
    EXPECT_EQ(LoaderWithoutBlocking(svg), "svgload_buffer");
    EXPECT_EQ(LoaderWithoutBlocking(pdf), "");
    CDibPtr dib;
    EXPECT_EQ(DecodeImage(svg.data(), svg.size(), dib), hr::kNotImpl);
    EXPECT_EQ(DecodeImage(pdf.data(), pdf.size(), dib), hr::kNotImpl);
    EXPECT_FALSE(dib);
    EXPECT_THROW(vips::VImage::new_from_buffer(svg.data(), svg.size(), ""), vips::VError);
    vips_error_clear();

    const std::vector<u8> words = {'n', 'o', ' ', 'i', 'm', 'a', 'g', 'e'};
    ASSERT_EQ(DecodeImage(words.data(), words.size(), dib), hr::kNotImpl);
    EXPECT_NE(vips_type_find("VipsOperation", "heifload_buffer"), 0u);
    for (const char* loader :
         {"pdfload_buffer", "magickload_buffer", "jxlload_buffer", "openslideload_source"})
        EXPECT_EQ(vips_type_find("VipsOperation", loader), 0u) << loader;
    // The variable that turned the modules away does not reach the programs that we start.
    const char* home = std::getenv("VIPSHOME");
    EXPECT_STRNE(home ? home : "", "/dev/null");

    // A flat colour survives lossy coding within a few levels.
    std::vector<u8> pixels;
    for (int i = 0; i < 64 * 48; ++i)
        pixels.insert(pixels.end(), {200, 120, 40});
    for (const char* compression : {".heif[compression=hevc]", ".heif[compression=av1]"}) {
        const std::vector<u8> encoded = EncodedWithVips(pixels, 64, 48, 3, compression);
        CDibPtr decoded;
        ASSERT_EQ(DecodeImage(encoded.data(), encoded.size(), decoded), hr::kOk) << compression;
        ASSERT_EQ(decoded->Width(), 64);
        ASSERT_EQ(decoded->Height(), 48);
        const u8* centre = decoded->Bits() + 24 * decoded->Stride() + 32 * 4;
        EXPECT_NEAR(centre[2], 200, 4) << compression;
        EXPECT_NEAR(centre[1], 120, 4) << compression;
        EXPECT_NEAR(centre[0], 40, 4) << compression;
        EXPECT_EQ(centre[3], 255);
        EXPECT_EQ(vips_cache_get_size(), 0);
    }
}

TEST(Codec, ThePixelAndScanLimitsRefuseFromTheHeaderBeforeDecoding) {
    // Each format that libvips reads, 4 x 3: refused at 11 pixels, read at 12. A header of a size
    // far above the limit is the file layer's test (ImageIo).
    for (const char* name : {".jpg", ".png", ".tif", ".webp", ".gif"}) {
        const std::vector<u8> file = EncodedWithVips(TestPictureRgb(4, 3), 4, 3, 3, name);
        CDibPtr out;
        Size size;
        EXPECT_EQ(
            DecodeImage(file.data(), file.size(), out, CDecodeLimits{11, kDefaultMaxScans}, &size),
            hr::kImageTooLarge)
            << name;
        EXPECT_EQ(size, (Size{4, 3})) << name;
        EXPECT_FALSE(out) << name;
        EXPECT_EQ(DecodeImage(file.data(), file.size(), out, CDecodeLimits{12, kDefaultMaxScans}),
                  hr::kOk)
            << name;
        ASSERT_TRUE(out) << name;
        EXPECT_EQ(out->Width(), 4) << name;
    }

    const std::vector<u8> jpeg =
        EncodedWithVips(TestPictureRgb(16, 16), 16, 16, 3, ".jpg[interlace]");
    const u32 scans = CountJpegScans(jpeg.data(), jpeg.size(), kDefaultMaxScans);
    ASSERT_GT(scans, 1u);
    ASSERT_LT(scans, kDefaultMaxScans);

    CDibPtr dib;
    EXPECT_EQ(DecodeImage(jpeg.data(), jpeg.size(), dib), hr::kOk);
    dib.reset();
    EXPECT_EQ(DecodeImage(jpeg.data(), jpeg.size(), dib, CDecodeLimits{kDefaultMaxPixels, scans}),
              hr::kOk);
    dib.reset();
    EXPECT_EQ(
        DecodeImage(jpeg.data(), jpeg.size(), dib, CDecodeLimits{kDefaultMaxPixels, scans - 1}),
        hr::kTooManyScans);
    EXPECT_FALSE(dib);
}

TEST(Codec, JpegQualityAboveTheBestIsTheBestAndASideTooLongForJpegSaysSo) {
    CDibPtr dib = MakeDib(32, 16, [](i32 x, i32 y) {
        return Bgra{static_cast<u8>(x * 8), static_cast<u8>(y * 16), static_cast<u8>(x ^ y), 255};
    });
    std::vector<u8> best, above, usual;
    ASSERT_EQ(EncodeJpeg(*dib, 100, best), hr::kOk);
    ASSERT_EQ(EncodeJpeg(*dib, 75, usual), hr::kOk);
    // GLib's object system warns of a property set out of its range.
    int warnings = 0;
    const guint handler = g_log_set_handler(
        "GLib-GObject", G_LOG_LEVEL_WARNING,
        [](const gchar*, GLogLevelFlags, const gchar*, gpointer n) { ++*static_cast<int*>(n); },
        &warnings);
    ASSERT_EQ(EncodeJpeg(*dib, 150, above), hr::kOk);
    g_log_remove_handler("GLib-GObject", handler);
    EXPECT_EQ(warnings, 0);
    EXPECT_EQ(above, best);
    EXPECT_NE(above, usual);

    CDibPtr wide = MakeDib(65501, 1, [](i32, i32) { return Bgra{1, 2, 3, 255}; });
    CDibPtr tall = MakeDib(1, 65501, [](i32, i32) { return Bgra{1, 2, 3, 255}; });
    CDibPtr widest = MakeDib(65500, 1, [](i32, i32) { return Bgra{1, 2, 3, 255}; });
    std::vector<u8> bytes;
    EXPECT_EQ(EncodeJpeg(*wide, 80, bytes), hr::kTooLargeForJpeg);
    EXPECT_TRUE(bytes.empty());
    EXPECT_EQ(EncodeJpeg(*tall, 80, bytes), hr::kTooLargeForJpeg);
    EXPECT_EQ(EncodeJpeg(*widest, 80, bytes), hr::kOk);
    EXPECT_FALSE(bytes.empty());
    EXPECT_EQ(EncodePng(*wide, false, bytes), hr::kOk);
}

// The encoders report a failed allocation as such. The test runs in a child process whose
// address space is capped 100 MB above what it uses, so that the encoder's output buffer cannot
// grow to the 120 MB or more of the file. The buffer fails once a doubling needs three times its
// size: a third of the room at least is left for the threads that libvips may start under the cap
// (each maps its stack) and for what runs after the failure.
TEST(Codec, AnEncoderOutOfMemorySaysSo) {
    LVX_SKIP_UNDER_ADDRESS_LIMIT();
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    auto encodeUnderCap = [](bool png) {
        // Noise does not compress: the encoded file is about as large as the pixels.
        u32 state = 12345;
        CDibPtr dib = MakeDib(7000, 7000, [&state](i32, i32) {
            state = state * 1103515245u + 12345u;
            return Bgra{static_cast<u8>(state >> 24), static_cast<u8>(state >> 16),
                        static_cast<u8>(state >> 8), 255};
        });
        std::vector<u8> warmUp;
        CDibPtr small = MakeDib(8, 8, [](i32, i32) { return Bgra{1, 2, 3, 255}; });
        if (Failed(png ? EncodePng(*small, true, warmUp) : EncodeJpeg(*small, 100, warmUp)))
            std::_Exit(3);
        CapAddressSpaceAbovePresent(rlim_t{100} << 20);
        std::vector<u8> out;
        const HResult result = png ? EncodePng(*dib, true, out) : EncodeJpeg(*dib, 100, out);
        std::_Exit(result == hr::kOutOfMemory ? 0 : result == hr::kOk ? 2 : 1);
    };
    EXPECT_EXIT(encodeUnderCap(true), ::testing::ExitedWithCode(0), "");
    EXPECT_EXIT(encodeUnderCap(false), ::testing::ExitedWithCode(0), "");
}
