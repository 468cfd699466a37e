// Tests of the BMP writer's result codes, which follow those of the other encoders.
#include "image/BmpWriter.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include <sys/resource.h>

#include "image/Codec.h"
#include "support/AddressSpaceLimit.h"
#include "support/PixelTestUtil.h"

using namespace testutil;

TEST(BmpWriter, RefusesWhatItCannotWriteAsThePngEncoderDoes) {
    CDib noBits;
    CDib rgb;
    ASSERT_TRUE(rgb.Create(40, 2, 2, 24, 0, 0, 0));
    ASSERT_TRUE(rgb.AllocBits());
    for (const CDib* dib : {&noBits, &rgb}) {
        std::vector<u8> out(7, 0x55);
        EXPECT_EQ(EncodeBmp(*dib, true, out), 0x80004005u);
        EXPECT_TRUE(out.empty());
        std::vector<u8> png;
        EXPECT_EQ(EncodePng(*dib, true, png), 0x80004005u);
    }

    // What an earlier call left in `out` does not survive a success either.
    CDibPtr dib = MakeDib(3, 2, [](i32 x, i32 y) { return Bgra{1, 2, 3, static_cast<u8>(x + y)}; });
    std::vector<u8> out(500, 0x55);
    ASSERT_EQ(EncodeBmp(*dib, false, out), hr::kOk);
    EXPECT_EQ(out.size(), 14u + 40u + 3u * 2u * 4u);
}

// Run in a child process whose address space is capped below the file's size.
TEST(BmpWriter, RunningOutOfMemorySaysSo) {
    LVX_SKIP_UNDER_ADDRESS_LIMIT();
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    auto encodeUnderCap = [] {
        CDibPtr dib = MakeDib(4000, 4000, [](i32, i32) { return Bgra{1, 2, 3, 255}; });
        // Room for small allocations, not for the 64 MB of the file.
        CapAddressSpaceAbovePresent(rlim_t{24} << 20);
        std::vector<u8> out;
        const HResult result = EncodeBmp(*dib, true, out);
        std::_Exit(result == hr::kOutOfMemory ? 0 : result == hr::kOk ? 2 : 1);
    };
    EXPECT_EXIT(encodeUnderCap(), ::testing::ExitedWithCode(0), "");
}
