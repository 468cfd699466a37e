#include "image/IccProfileEmbed.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include <zlib.h>

#include "image/MetadataEmbed.h"

namespace {

// One APP2 segment holds at most 65535 - 2 (length) - 12 ("ICC_PROFILE\0") - 2 (its number and
// the count) bytes of the profile.
constexpr size_t kIccBytesPerSegment = 65519;
constexpr size_t kMostIccSegments = 255;
// libpng's default limit on a chunk's data and on a profile's length (PNG_USER_CHUNK_MALLOC_MAX).
constexpr size_t kPngReadersChunkLimit = 8000000;
constexpr u8 kIccSignature[] = {'I', 'C', 'C', '_', 'P', 'R', 'O', 'F', 'I', 'L', 'E', 0};
constexpr u8 kPngSignature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
// The start of an iCCP chunk: its type, the profile's name and terminator, compression method 0
// (zlib); the compressed profile follows.
constexpr u8 kIccpHead[] = {'i', 'C', 'C', 'P', 'I', 'C', 'C', ' ', 'p',
                            'r', 'o', 'f', 'i', 'l', 'e', 0,   0};

u32 BigEndian32(const u8* p) {
    return (u32{p[0]} << 24) | (u32{p[1]} << 16) | (u32{p[2]} << 8) | u32{p[3]};
}

} // namespace

bool IccFitsJpeg(size_t size) {
    return size <= kMostIccSegments * kIccBytesPerSegment;
}

bool IccFitsPng(size_t size) {
    return size <= kPngReadersChunkLimit &&
           compressBound(static_cast<uLong>(size)) + sizeof kIccpHead - 4 <= kPngReadersChunkLimit;
}

u32 IccColourSpace(const std::vector<u8>& profile) {
    return profile.size() < 128 ? 0 : BigEndian32(profile.data() + 16);
}

HResult EmbedIccInJpeg(std::vector<u8>& jpeg, const std::vector<u8>& profile) {
    const size_t segments = (profile.size() + kIccBytesPerSegment - 1) / kIccBytesPerSegment;
    if (jpeg.size() < 2 || jpeg[0] != 0xFF || jpeg[1] != 0xD8 || profile.empty() ||
        !IccFitsJpeg(profile.size()))
        return hr::kInvalidArg;
    // After SOI, and after the JFIF APP0 when it is there: readers expect JFIF first.
    size_t at = 2;
    if (jpeg.size() >= at + 4 && jpeg[at] == 0xFF && jpeg[at + 1] == 0xE0) {
        const size_t length = (size_t{jpeg[at + 2]} << 8) | jpeg[at + 3];
        if (jpeg.size() < at + 2 + length)
            return hr::kInvalidArg;
        at += 2 + length;
    }
    std::vector<u8> inserted;
    inserted.reserve(profile.size() + segments * 18);
    for (size_t i = 0; i < segments; ++i) {
        const size_t begin = i * kIccBytesPerSegment;
        const size_t size = std::min(kIccBytesPerSegment, profile.size() - begin);
        const size_t length = 2 + sizeof kIccSignature + 2 + size;
        inserted.insert(inserted.end(),
                        {0xFF, 0xE2, static_cast<u8>(length >> 8), static_cast<u8>(length & 0xFF)});
        inserted.insert(inserted.end(), std::begin(kIccSignature), std::end(kIccSignature));
        inserted.push_back(static_cast<u8>(i + 1));
        inserted.push_back(static_cast<u8>(segments));
        inserted.insert(inserted.end(), profile.begin() + static_cast<std::ptrdiff_t>(begin),
                        profile.begin() + static_cast<std::ptrdiff_t>(begin + size));
    }
    jpeg.insert(jpeg.begin() + static_cast<std::ptrdiff_t>(at), inserted.begin(), inserted.end());
    return hr::kOk;
}

HResult EmbedIccInPng(std::vector<u8>& png, const std::vector<u8>& profile) {
    // The signature, then IHDR: length 13, type, 13 bytes, CRC.
    constexpr size_t kAfterIhdr = sizeof kPngSignature + 4 + 4 + 13 + 4;
    if (png.size() < kAfterIhdr || profile.empty() || !IccFitsPng(profile.size()) ||
        !std::equal(std::begin(kPngSignature), std::end(kPngSignature), png.begin()) ||
        std::memcmp(png.data() + 12, "IHDR", 4) != 0)
        return hr::kInvalidArg;
    uLongf packedSize = compressBound(static_cast<uLong>(profile.size()));
    std::vector<u8> packed(packedSize);
    if (compress2(packed.data(), &packedSize, profile.data(), static_cast<uLong>(profile.size()),
                  Z_BEST_COMPRESSION) != Z_OK)
        return hr::kOutOfMemory;
    packed.resize(packedSize);

    // The profile's name and its terminator, compression method 0 (zlib), the packed profile.
    std::vector<u8> body(std::begin(kIccpHead) + 4, std::end(kIccpHead));
    body.insert(body.end(), packed.begin(), packed.end());
    const std::vector<u8> chunk = MakePngChunk("iCCP", body);
    png.insert(png.begin() + static_cast<std::ptrdiff_t>(kAfterIhdr), chunk.begin(), chunk.end());
    return hr::kOk;
}
