// Tests of a CDib's copy in sRGB: an Adobe RGB (1998) image gets the numbers that sRGB shows the
// same colours with, its alpha and resolution, and no profile; the image itself stays.
#include "image/SrgbCopy.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/IccProfiles.h"
#include "support/PixelTestUtil.h"

using namespace testutil;

TEST(SrgbCopy, AProfiledImageTurnsSrgbAndAPlainOneIsCopied) {
    CDibPtr dib = MakeDib(64, 48, [](i32 x, i32 y) {
        return Bgra{static_cast<u8>(x * 4), static_cast<u8>(y * 5), static_cast<u8>(200 - x - y),
                    static_cast<u8>(x < 8 ? 255 : 100 + y)};
    });
    dib->Header()->biXPelsPerMeter = 11811;
    const std::vector<u8> numbers(dib->Bits(), dib->Bits() + dib->GetSizeImage());
    CDibPtr srgb;
    ASSERT_EQ(ConvertToSrgb(*dib, srgb), hr::kOk);
    EXPECT_TRUE(PixelsNear(*srgb, *dib, 0)) << "no profile: the numbers as they are";

    dib->SetColourProfile(AdobeRgbProfile());
    ASSERT_EQ(ConvertToSrgb(*dib, srgb), hr::kOk);
    EXPECT_TRUE(srgb->ColourProfile().empty());
    EXPECT_EQ(srgb->Header()->biXPelsPerMeter, 11811);
    for (auto [x, y] : {std::pair{0, 0}, {5, 40}, {30, 20}, {63, 47}}) {
        const u8* in = dib->PixelAt(x, y);
        const u8* out = srgb->PixelAt(x, y);
        const std::array<double, 3> shown = AdobeRgbShownAsSrgb(in[2], in[1], in[0]);
        EXPECT_NEAR(out[2], shown[0], 2.0) << x << "," << y;
        EXPECT_NEAR(out[1], shown[1], 2.0) << x << "," << y;
        EXPECT_NEAR(out[0], shown[2], 2.0) << x << "," << y;
        EXPECT_EQ(out[3], in[3]) << x << "," << y;
    }
    EXPECT_TRUE(std::equal(numbers.begin(), numbers.end(), dib->Bits()));

    CDib notLoaded;
    EXPECT_EQ(ConvertToSrgb(notLoaded, srgb), hr::kInvalidArg);
    EXPECT_FALSE(srgb);
}
