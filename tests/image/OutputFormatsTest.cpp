// Tests of the WebP and AVIF outputs: read back by libvips with their alpha as chosen, the source's
// colour profile and no other metadata, and WebP's limit on a side.
#include <gtest/gtest.h>

#include <string>

#include "image/AvifEncoder.h"
#include "image/StreamConvert.h"
#include "image/VipsStart.h"
#include "support/IccProfiles.h"
#include "support/ImageFiles.h"

namespace {

using namespace testutil;

// An Adobe RGB picture with a transparent band at the top, as a PNG.
std::vector<u8> Source(i32 width, i32 height) {
    std::vector<u8> rgba;
    for (i32 y = 0; y < height; ++y)
        for (i32 x = 0; x < width; ++x)
            rgba.insert(rgba.end(), {static_cast<u8>(x * 4), 120, static_cast<u8>(y * 4),
                                     static_cast<u8>(y < 4 ? 0 : 255)});
    return EncodedWithVips(rgba, width, height, 4, ".png", AdobeRgbProfile());
}

TEST(OutputFormats, WebpAndAvifKeepTheAlphaAsChosenAndTheProfileAlone) {
    ASSERT_TRUE(EnsureHeifLoader());
    const std::vector<u8> source = Source(48, 40);
    const RoundSettings round{.corners = 0, .edges = 0};
    for (OutputFormat format : {OutputFormat::kWebp, OutputFormat::kAvif}) {
        if (format == OutputFormat::kAvif && !CanWriteAvif())
            continue; // the README says why the choice is not offered then
        for (bool keepAlpha : {true, false}) {
            OutputChoice output{.format = format, .quality = 90, .keepAlpha = keepAlpha};
            const std::string label = std::string(format == OutputFormat::kWebp ? "webp" : "avif") +
                                      (keepAlpha ? " with alpha" : " filled");
            std::vector<u8> out;
            StreamFailure failure;
            ASSERT_EQ(ConvertStream(source.data(), source.size(), {}, {}, round, output, {}, out,
                                    failure),
                      hr::kOk)
                << label;
            vips::VImage image = vips::VImage::new_from_buffer(out.data(), out.size(), "");
            EXPECT_EQ(image.width(), 48) << label;
            EXPECT_EQ(image.height(), 40) << label;
            ASSERT_EQ(image.bands(), keepAlpha ? 4 : 3) << label;
            EXPECT_EQ(IccProfileOf(out), AdobeRgbProfile()) << label;
            EXPECT_EQ(image.get_typeof(VIPS_META_EXIF_NAME), 0u) << label;
            EXPECT_EQ(image.get_typeof(VIPS_META_XMP_NAME), 0u) << label;
            // The transparent band stays transparent, or is laid over the white background.
            const std::vector<double> top = image.getpoint(20, 1);
            const std::vector<double> below = image.getpoint(20, 30);
            if (keepAlpha) {
                EXPECT_EQ(top[3], 0.0) << label;
                EXPECT_EQ(below[3], 255.0) << label;
            } else {
                EXPECT_GE(top[1], 245.0) << label;
                EXPECT_LE(below[1], 135.0) << label;
            }
        }
    }
}

TEST(OutputFormats, AWebpSideOver16383PixelsIsRefusedWithItsOwnCode) {
    const std::vector<u8> source =
        EncodedWithVips(std::vector<u8>(16384 * 3, 90), 16384, 1, 3, ".png");
    const OutputChoice output{.format = OutputFormat::kWebp};
    std::vector<u8> out;
    StreamFailure failure;
    EXPECT_EQ(ConvertStream(source.data(), source.size(), {}, {}, {.corners = 0, .edges = 0},
                            output, {}, out, failure),
              hr::kTooLargeForWebp);
    EXPECT_EQ(failure.stage, StreamFailure::kSave);
    EXPECT_TRUE(out.empty());
}

} // namespace
