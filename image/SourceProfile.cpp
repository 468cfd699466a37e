// Gathering a source's colour profile: a JPEG's from its own segments, others' from libvips.
#include "image/SourceProfile.h"

#include <algorithm>
#include <cstring>

#include "image/Loaders.h"

namespace {

constexpr u8 kIccSignature[] = {'I', 'C', 'C', '_', 'P', 'R', 'O', 'F', 'I', 'L', 'E', 0};

// One APP2 "ICC_PROFILE" segment: its number, the count it states and its share of the profile.
struct IccPiece {
    u8 number = 0;
    u8 count = 0;
    const u8* bytes = nullptr;
    size_t size = 0;
};

// The profile's segments among the markers before the first scan, in file order.
std::vector<IccPiece> JpegIccPieces(const u8* data, size_t size) {
    std::vector<IccPiece> pieces;
    if (size < 2 || data[0] != 0xFF || data[1] != 0xD8)
        return pieces;
    size_t at = 2;
    while (at + 1 < size) {
        if (data[at] != 0xFF)
            return pieces; // not a marker: the headers end here
        const u8 marker = data[at + 1];
        if (marker == 0xFF) { // fill byte before a marker
            ++at;
            continue;
        }
        at += 2;
        if (marker == 0xDA || marker == 0xD9) // start of scan, end of image
            break;
        if (marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7)) // markers without a length
            continue;
        if (at + 2 > size)
            break;
        const size_t length = (size_t{data[at]} << 8) | data[at + 1];
        if (length < 2 || at + length > size)
            break;
        const u8* body = data + at + 2;
        const size_t bodySize = length - 2;
        if (marker == 0xE2 && bodySize >= sizeof kIccSignature + 2 &&
            std::memcmp(body, kIccSignature, sizeof kIccSignature) == 0) {
            const u8* p = body + sizeof kIccSignature;
            pieces.push_back({p[0], p[1], p + 2, bodySize - sizeof kIccSignature - 2});
        }
        at += length;
    }
    return pieces;
}

std::vector<u8> JpegIccProfile(const u8* data, size_t size) {
    std::vector<IccPiece> pieces = JpegIccPieces(data, size);
    if (pieces.empty())
        return {};
    const u8 count = pieces.front().count;
    if (count == 0 || pieces.size() != count)
        return {};
    std::sort(pieces.begin(), pieces.end(),
              [](const IccPiece& a, const IccPiece& b) { return a.number < b.number; });
    size_t total = 0;
    for (size_t i = 0; i < pieces.size(); ++i) {
        if (pieces[i].count != count || pieces[i].number != i + 1)
            return {};
        total += pieces[i].size;
    }
    std::vector<u8> profile;
    profile.reserve(total);
    for (const IccPiece& piece : pieces)
        profile.insert(profile.end(), piece.bytes, piece.bytes + piece.size);
    return profile;
}

} // namespace

std::vector<u8> EmbeddedIccProfile(const vips::VImage& decoded, const char* loader, const u8* data,
                                   size_t size) {
    if (CLoader::IsJpeg(loader))
        return JpegIccProfile(data, size);
    VipsImage* image = decoded.get_image();
    const void* blob = nullptr;
    size_t blobSize = 0;
    if (!vips_image_get_typeof(image, VIPS_META_ICC_NAME) ||
        vips_image_get_blob(image, VIPS_META_ICC_NAME, &blob, &blobSize) != 0)
        return {};
    const u8* bytes = static_cast<const u8*>(blob);
    return std::vector<u8>(bytes, bytes + blobSize);
}
