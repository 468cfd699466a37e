// Tests of encoder preparation: the saver and the alpha rule of each save type, and the JPEG
// quality handed to the encoder.
#include "image/EncoderSetup.h"

#include <gtest/gtest.h>

TEST(EncoderSetupTest, EachFormatGetsItsSaver) {
    auto clsidOf = [](const wchar_t* mime) {
        Gdiplus::CImageSaver saver;
        EXPECT_EQ(saver.SelectEncoder(mime), hr::kOk);
        return saver.clsid;
    };
    // 0 is BMP, 2 JPEG, and any other value PNG; only PNG keeps alpha.
    const struct {
        u32 saveType;
        const wchar_t* mime;
        bool keepsAlpha;
    } cases[] = {{savetype::kBmp, L"image/bmp", false},
                 {savetype::kPng, L"image/png", true},
                 {savetype::kJpeg, L"image/jpeg", false},
                 {7, L"image/png", true}};
    for (const auto& c : cases) {
        boost::shared_ptr<Gdiplus::CImageSaver> saver;
        bool keepsAlpha = !c.keepsAlpha;
        ASSERT_EQ(PrepareEncoder(c.saveType, 55, saver, keepsAlpha), hr::kOk) << c.saveType;
        ASSERT_TRUE(saver);
        EXPECT_EQ(saver->clsid, clsidOf(c.mime)) << c.saveType;
        EXPECT_EQ(keepsAlpha, c.keepsAlpha) << c.saveType;
        // Only JPEG takes a parameter: its quality, passed through unchanged.
        const Gdiplus::EncoderParameters* block = saver->params.Block();
        if (c.saveType != savetype::kJpeg) {
            EXPECT_EQ(block, nullptr) << c.saveType;
            continue;
        }
        ASSERT_NE(block, nullptr);
        ASSERT_EQ(block->Count, 1u);
        EXPECT_EQ(block->Parameter[0].Guid, Gdiplus::EncoderQuality);
        EXPECT_EQ(*static_cast<const u32*>(block->Parameter[0].Value), 55u);
    }
}
