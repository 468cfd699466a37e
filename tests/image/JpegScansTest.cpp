// Tests of the scan count of a JPEG, on marker sequences built byte by byte.
#include "image/JpegScans.h"

#include <vector>

#include <gtest/gtest.h>

#include "support/DeclaredBombs.h"

using testutil::PutJpegSegment;

namespace {

std::vector<u8> Start() {
    std::vector<u8> jpeg = {0xFF, 0xD8};
    PutJpegSegment(jpeg, 0xE0, {'J', 'F', 'I', 'F', 0});
    PutJpegSegment(jpeg, 0xC2, {8, 0, 1, 0, 1, 1, 1, 0x11, 0}); // progressive, 1 x 1, one component
    return jpeg;
}

const std::vector<u8> kScanHeader = {1, 1, 0x00, 0, 0, 0x10};

} // namespace

TEST(JpegScans, CountsScansAcrossEntropyDataStopsOnceEnoughAndEndsAtDamage) {
    std::vector<u8> jpeg = Start();
    // Entropy data holding a stuffed 0xFF 0x00, a restart marker and fill bytes, none of which
    // ends the scan; then a table segment between scans, whose payload looks like a marker.
    PutJpegSegment(jpeg, 0xDA, kScanHeader);
    jpeg.insert(jpeg.end(), {0x12, 0xFF, 0x00, 0x34, 0xFF, 0xD3, 0x56});
    jpeg.insert(jpeg.end(), {0xFF, 0xFF});
    PutJpegSegment(jpeg, 0xC4, {0xFF, 0xDA, 0xFF, 0xDA});
    PutJpegSegment(jpeg, 0xDA, kScanHeader);
    PutJpegSegment(jpeg, 0xDA, kScanHeader);
    jpeg.insert(jpeg.end(), {0x01, 0x02});
    const std::vector<u8> ended(jpeg.begin(), jpeg.end());
    jpeg.insert(jpeg.end(), {0xFF, 0xD9});
    // Scans hidden behind the end of the image do not count.
    PutJpegSegment(jpeg, 0xDA, kScanHeader);

    EXPECT_EQ(CountJpegScans(jpeg.data(), jpeg.size(), 100), 3u);
    EXPECT_EQ(CountJpegScans(ended.data(), ended.size(), 100), 3u);
    // The count stops one above `enough`.
    EXPECT_EQ(CountJpegScans(jpeg.data(), jpeg.size(), 1), 2u);
    EXPECT_EQ(CountJpegScans(jpeg.data(), jpeg.size(), 0), 1u);

    EXPECT_EQ(CountJpegScans(nullptr, 0, 10), 0u);
    const std::vector<u8> png = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
    EXPECT_EQ(CountJpegScans(png.data(), png.size(), 10), 0u);

    // A segment whose length runs past the end, and one whose length is below 2.
    std::vector<u8> cut = Start();
    PutJpegSegment(cut, 0xDA, kScanHeader);
    cut.insert(cut.end(), {0xFF, 0xDA, 0x40, 0x00, 1});
    EXPECT_EQ(CountJpegScans(cut.data(), cut.size(), 10), 1u);
    std::vector<u8> zero = Start();
    zero.insert(zero.end(), {0xFF, 0xDA, 0x00, 0x01});
    PutJpegSegment(zero, 0xDA, kScanHeader);
    EXPECT_EQ(CountJpegScans(zero.data(), zero.size(), 10), 0u);
}
