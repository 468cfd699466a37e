// Tests of putting a colour profile into encoded JPEG and PNG bytes: libvips' own loaders read the
// same profile back, the pixels do not change, and nothing else is added.
#include "image/IccProfileEmbed.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <vips/vips8>

#include "image/VipsStart.h"
#include "image/reference/WholeEncoders.h"
#include "support/IccProfiles.h"
#include "support/ImageFiles.h"
#include "support/PixelTestUtil.h"

namespace {

// The decoded pixels of encoded bytes, band after band, row after row.
std::vector<u8> PixelsOf(const std::vector<u8>& bytes) {
    vips::VImage image = vips::VImage::new_from_buffer(bytes.data(), bytes.size(), "");
    size_t size = 0;
    void* memory = image.write_to_memory(&size);
    std::vector<u8> pixels(static_cast<u8*>(memory), static_cast<u8*>(memory) + size);
    g_free(memory);
    return pixels;
}

TEST(IccProfileEmbed, JpegAndPngCarryTheProfileAloneAndWhatIsNoneIsRefusedAsItWas) {
    ASSERT_TRUE(EnsureVipsStarted());
    const CDibPtr picture = testutil::MakeDib(37, 21, [](i32 x, i32 y) {
        return testutil::Bgra{static_cast<u8>(x * 6), static_cast<u8>(y * 11),
                              static_cast<u8>((x + y) * 3), static_cast<u8>(x < 20 ? 255 : 9 * y)};
    });
    std::vector<u8> jpeg;
    ASSERT_EQ(EncodeJpeg(*picture, 90, jpeg), hr::kOk);
    std::vector<u8> png;
    ASSERT_EQ(EncodePng(*picture, true, png), hr::kOk);
    ASSERT_TRUE(testutil::IccProfileOf(jpeg).empty());
    ASSERT_TRUE(testutil::IccProfileOf(png).empty());

    // A profile of one JPEG segment, and one spread over three.
    for (const std::vector<u8>& profile :
         {testutil::AdobeRgbProfile(), testutil::AdobeRgbProfile(150000)}) {
        SCOPED_TRACE(profile.size());
        EXPECT_EQ(IccColourSpace(profile), 0x52474220u);
        std::vector<u8> jpegWith = jpeg;
        ASSERT_EQ(EmbedIccInJpeg(jpegWith, profile), hr::kOk);
        EXPECT_EQ(testutil::IccProfileOf(jpegWith), profile);
        EXPECT_EQ(PixelsOf(jpegWith), PixelsOf(jpeg));
        // Our encoder writes no JFIF header: the first segment comes right after SOI.
        ASSERT_NE(jpeg[3], 0xE0);
        const size_t first = std::min<size_t>(profile.size(), 65519) + 16;
        const std::string head = std::string("\xFF\xE2") + static_cast<char>(first >> 8) +
                                 static_cast<char>(first & 0xFF) +
                                 std::string("ICC_PROFILE\0\1", 13);
        EXPECT_EQ(std::string(jpegWith.begin() + 2, jpegWith.begin() + 19), head);
        EXPECT_EQ(jpegWith.size() - jpeg.size(),
                  profile.size() + 18 * ((profile.size() + 65518) / 65519));

        std::vector<u8> pngWith = png;
        ASSERT_EQ(EmbedIccInPng(pngWith, profile), hr::kOk);
        EXPECT_EQ(testutil::IccProfileOf(pngWith), profile);
        EXPECT_EQ(PixelsOf(pngWith), PixelsOf(png));
        EXPECT_EQ(std::string(pngWith.begin() + 37, pngWith.begin() + 53),
                  std::string("iCCPICC profile\0", 16));
    }

    std::vector<u8> bytes = {0x89, 'P', 'N', 'G'};
    const std::vector<u8> profile(200, 1);
    EXPECT_EQ(EmbedIccInJpeg(bytes, profile), hr::kInvalidArg);
    EXPECT_EQ(EmbedIccInPng(bytes, profile), hr::kInvalidArg);
    EXPECT_EQ(bytes, (std::vector<u8>{0x89, 'P', 'N', 'G'}));
    std::vector<u8> soi = {0xFF, 0xD8, 0xFF, 0xD9};
    EXPECT_EQ(EmbedIccInJpeg(soi, {}), hr::kInvalidArg);
    // 256 segments are more than a segment's number can count.
    EXPECT_EQ(EmbedIccInJpeg(soi, std::vector<u8>(65519 * 255 + 1, 0)), hr::kInvalidArg);
    EXPECT_EQ(soi, (std::vector<u8>{0xFF, 0xD8, 0xFF, 0xD9}));
    EXPECT_EQ(IccColourSpace(std::vector<u8>(127, 0)), 0u);

    // A JFIF header stays first: the profile goes after it.
    std::vector<u8> jfif = {0xFF, 0xD8, 0xFF, 0xE0, 0x00, 0x10, 'J', 'F', 'I', 'F',  0,
                            1,    1,    0,    0,    1,    0,    1,   0,   0,   0xFF, 0xD9};
    const std::vector<u8> before = jfif;
    ASSERT_EQ(EmbedIccInJpeg(jfif, profile), hr::kOk);
    ASSERT_EQ(jfif.size(), before.size() + 218);
    EXPECT_EQ(std::vector<u8>(jfif.begin(), jfif.begin() + 20),
              std::vector<u8>(before.begin(), before.begin() + 20));
    EXPECT_EQ(std::vector<u8>(jfif.begin() + 20, jfif.begin() + 24),
              (std::vector<u8>{0xFF, 0xE2, 0x00, 216}));
    EXPECT_EQ(jfif[36], 1); // the first segment
    EXPECT_EQ(jfif[37], 1); // of one
    EXPECT_EQ(std::vector<u8>(jfif.end() - 2, jfif.end()), (std::vector<u8>{0xFF, 0xD9}));
}

} // namespace
