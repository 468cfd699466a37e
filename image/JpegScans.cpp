// A walk over the marker segments of a JPEG that counts its scans.
#include "image/JpegScans.h"

namespace {

constexpr u8 kMarkerStartOfScan = 0xDA;
constexpr u8 kMarkerEndOfImage = 0xD9;

// Markers that stand alone, without a length: TEM and the eight restart markers.
bool IsStandalone(u8 marker) {
    return marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7);
}

// The position of the next marker behind entropy-coded data: a 0xFF that is followed by neither
// a stuffed 0x00 nor a restart marker (which belong to the data).
size_t SkipEntropyData(const u8* data, size_t size, size_t at) {
    while (at + 1 < size) {
        if (data[at] == 0xFF && data[at + 1] != 0x00 && data[at + 1] != 0xFF &&
            !(data[at + 1] >= 0xD0 && data[at + 1] <= 0xD7))
            return at;
        ++at;
    }
    return size;
}

} // namespace

u32 CountJpegScans(const u8* data, size_t size, u32 enough) {
    if (!data || size < 4 || data[0] != 0xFF || data[1] != 0xD8)
        return 0;
    u32 scans = 0;
    size_t at = 2;
    while (at + 1 < size) {
        if (data[at] != 0xFF) { // bytes between segments: look for the next marker
            ++at;
            continue;
        }
        const u8 marker = data[at + 1];
        if (marker == 0xFF) { // fill byte
            ++at;
            continue;
        }
        if (marker == kMarkerEndOfImage)
            break;
        if (marker == 0x00 || IsStandalone(marker)) {
            at += 2;
            continue;
        }
        if (at + 4 > size)
            break;
        const size_t length = (static_cast<size_t>(data[at + 2]) << 8) | data[at + 3];
        if (length < 2 || length > size - at - 2)
            break;
        at += 2 + length;
        if (marker != kMarkerStartOfScan)
            continue;
        if (++scans > enough)
            return scans;
        at = SkipEntropyData(data, size, at);
    }
    return scans;
}
