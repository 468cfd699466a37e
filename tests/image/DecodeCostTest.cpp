// Tests of the decoding budgets: files that declare far more work or memory than they hold are
// refused from their header, and a 100-megapixel photo of every costly kind is not.
#include "image/DecodeCost.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "image/StreamConvert.h"
#include "support/AddressSpaceLimit.h"
#include "support/DeclaredBombs.h"

using namespace testutil;

namespace {

struct Declared {
    const char* name;
    std::vector<u8> bytes;
    HResult refusal; // with the default limits
    u64 leastMemory; // what the estimate must count at least
};

} // namespace

// Each conversion runs in a child whose address space is capped 300 MB above what it holds:
// decoding any of these files would need gigabytes, or (the scans) half a minute.
TEST(DecodeCost, FilesThatDeclareFarMoreThanTheyHoldAreRefusedFromTheirHeader) {
    LVX_SKIP_UNDER_ADDRESS_LIMIT();
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const Declared bombs[] = {
        {"946 empty scans", EmptyProgressiveJpeg(10000, 10000, 3, 946), hr::kOverWorkBudget, 0},
        {"run-length BMP", EmptyRleBmp(16383, 16383), hr::kOverMemoryBudget, 16383ull * 16383 * 4},
        {"lossless WebP", LosslessWebpHeader(16383, 16383), hr::kOverMemoryBudget,
         16383ull * 16383 * 8},
        {"wide 16-bit PNG", Png16Header(10000000, 26), hr::kOverMemoryBudget, 10000000ull * 26 * 6},
        {"progressive CMYK", EmptyProgressiveJpeg(16383, 16383, 4, 2), hr::kOverMemoryBudget,
         16384ull * 16384 * 8},
    };
    for (const Declared& bomb : bombs) {
        auto convert = [&] {
            CapAddressSpaceAbovePresent(rlim_t{300} << 20);
            std::vector<u8> out;
            StreamFailure failure;
            const HResult code = ConvertStream(bomb.bytes.data(), bomb.bytes.size(), {}, {}, {}, {},
                                               {}, out, failure);
            std::_Exit(code == bomb.refusal && failure.stage == StreamFailure::kLoad &&
                               failure.cost.memory >= bomb.leastMemory
                           ? 0
                           : 1);
        };
        EXPECT_EXIT(convert(), ::testing::ExitedWithCode(0), "") << bomb.name;
    }
}

// 12000 x 8400 pixels, the costliest kinds: the estimate counts what their decoders keep and
// still fits the default budget.
TEST(DecodeCost,
     AHundredMegapixelPhotoFitsTheDefaultBudgetAndAnUncompressedBmpCostsItsRowsInFlight) {
    const Declared photos[] = {
        {"progressive YCbCr", EmptyProgressiveJpeg(12000, 8400, 3, 10), 0, 12000ull * 8400 * 6},
        {"progressive CMYK", EmptyProgressiveJpeg(12000, 8400, 4, 10), 0, 12000ull * 8400 * 8},
        {"lossless WebP", LosslessWebpHeader(12000, 8400), 0, 12000ull * 8400 * 8},
        {"interlaced 16-bit PNG", Png16Header(12000, 8400, true), 0, 12000ull * 8400 * 6},
    };
    for (const Declared& photo : photos) {
        CDecodeCost cost;
        ASSERT_EQ(EstimateDecodeCostOf(photo.bytes.data(), photo.bytes.size(), {}, cost), hr::kOk)
            << photo.name;
        EXPECT_GE(cost.memory, photo.leastMemory) << photo.name;
        EXPECT_EQ(CheckDecodeCost(cost, {}), hr::kOk) << photo.name << ": " << cost.MemoryMb();
    }

    // An uncompressed BMP's rows are read from the file as they are asked for: it costs only its
    // rows in flight and converts within a budget that its whole 32-bit image (2 MiB) would exceed,
    // where a run-length BMP of the same size, decoded whole, costs 4 bytes a pixel and is refused.
    const i32 width = 8;
    const i32 height = 65536;
    const u64 pixels = static_cast<u64>(width) * height;
    const struct {
        std::vector<u8> bytes;
        HResult code;
    } files[] = {{MakeBmp({.width = width,
                           .height = height,
                           .bitCount = 8,
                           .colorsUsed = 1,
                           .palette = {0, 0, 255, 0},
                           .pixels = std::vector<u8>(pixels)}),
                  hr::kOk},
                 {EmptyRleBmp(width, height), hr::kOverMemoryBudget}};
    for (const auto& file : files) {
        CDecodeCost cost;
        ASSERT_EQ(EstimateDecodeCostOf(file.bytes.data(), file.bytes.size(), {}, cost), hr::kOk);
        if (file.code == hr::kOk)
            EXPECT_LT(cost.memory, pixels);
        else
            EXPECT_GE(cost.memory, pixels * 4);
        std::vector<u8> out;
        StreamFailure failure;
        EXPECT_EQ(ConvertStream(file.bytes.data(), file.bytes.size(), {.maxMemoryMb = 1}, {}, {},
                                {}, {}, out, failure),
                  file.code);
    }
}
