// Tests of encoder preparation: the saver per save type, the JPEG quality, alpha, replacement.
#include "image/EncoderSetup.h"

#include <gtest/gtest.h>

namespace {

using SaverPtr = boost::shared_ptr<Gdiplus::CImageSaver>;

// The one JPEG quality value of a saver's parameter block.
void ExpectQuality(const Gdiplus::CImageSaver& saver, u32 quality) {
    const Gdiplus::EncoderParameters* block = saver.params.Block();
    ASSERT_NE(block, nullptr);
    ASSERT_EQ(block->Count, 1u);
    const Gdiplus::EncoderParameter& entry = block->Parameter[0];
    EXPECT_EQ(entry.Guid,
              (Gdiplus::GUID{
                  0x1D5BE4B5, 0xFA4A, 0x452D, {0x9C, 0xDD, 0x5D, 0xB3, 0x51, 0x05, 0xE7, 0xEB}}));
    EXPECT_EQ(entry.NumberOfValues, 1u);
    EXPECT_EQ(entry.Type, 4u);
    ASSERT_NE(entry.Value, nullptr);
    EXPECT_EQ(*static_cast<const u32*>(entry.Value), quality);
}

} // namespace

TEST(EncoderSetupTest, EachFormatGetsItsSaver) {
    SaverPtr saver;
    bool keepsAlpha = true;

    ASSERT_EQ(PrepareJpegEncoder(80, saver, keepsAlpha), hr::kOk);
    ASSERT_TRUE(saver);
    EXPECT_FALSE(keepsAlpha);
    ExpectQuality(*saver, 80);
    const Gdiplus::GUID jpegClsid = saver->clsid;

    // Quality 0 and 100 pass through unchanged.
    ASSERT_EQ(PrepareJpegEncoder(0, saver, keepsAlpha), hr::kOk);
    ExpectQuality(*saver, 0);
    ASSERT_EQ(PrepareJpegEncoder(100, saver, keepsAlpha), hr::kOk);
    ExpectQuality(*saver, 100);

    ASSERT_EQ(PreparePngEncoder(saver, keepsAlpha), hr::kOk);
    ASSERT_TRUE(saver);
    EXPECT_TRUE(keepsAlpha);
    EXPECT_EQ(saver->params.Block(), nullptr);
    EXPECT_NE(saver->clsid, jpegClsid);

    ASSERT_EQ(PrepareBmpEncoder(saver, keepsAlpha), hr::kOk);
    ASSERT_TRUE(saver);
    EXPECT_FALSE(keepsAlpha);
    EXPECT_EQ(saver->params.Block(), nullptr);
}

TEST(EncoderSetupTest, ChangingTheTypeReplacesTheSaver) {
    SaverPtr saver;
    bool keepsAlpha = false;
    ASSERT_EQ(PrepareEncoder(savetype::kJpeg, 55, saver, keepsAlpha), hr::kOk);
    const SaverPtr jpeg = saver;
    ExpectQuality(*jpeg, 55);

    ASSERT_EQ(PrepareEncoder(savetype::kPng, 55, saver, keepsAlpha), hr::kOk);
    ASSERT_TRUE(saver);
    EXPECT_NE(saver.get(), jpeg.get());
    EXPECT_TRUE(keepsAlpha);
    EXPECT_EQ(saver->params.Block(), nullptr);
    EXPECT_EQ(saver->params.ValueCount(), 0u);
    // The earlier saver is untouched; only its holder let it go.
    ExpectQuality(*jpeg, 55);

    // 0 is BMP, 2 JPEG, and any other value PNG.
    ASSERT_EQ(PrepareEncoder(savetype::kBmp, 55, saver, keepsAlpha), hr::kOk);
    EXPECT_FALSE(keepsAlpha);
    EXPECT_EQ(saver->params.Block(), nullptr);
    ASSERT_EQ(PrepareEncoder(7, 55, saver, keepsAlpha), hr::kOk);
    EXPECT_TRUE(keepsAlpha);
    const Gdiplus::GUID pngClsid = saver->clsid;
    ASSERT_EQ(PrepareEncoder(1, 55, saver, keepsAlpha), hr::kOk);
    EXPECT_EQ(saver->clsid, pngClsid);
    EXPECT_TRUE(keepsAlpha);
}
