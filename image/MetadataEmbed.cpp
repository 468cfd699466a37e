// EXIF and XMP segments and chunks, put in after the encoder has written the pixels.
#include "image/MetadataEmbed.h"

#include <cstring>

#include <zlib.h>

namespace {

// A JPEG segment holds at most 65535 bytes with its length.
constexpr size_t kMostSegmentBytes = 65533;
constexpr char kExifHead[] = "Exif\0"; // with the string's own terminator: two zeros
constexpr char kXmpHead[] = "http://ns.adobe.com/xap/1.0/"; // and its terminator
constexpr u8 kPngSignature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
// The signature and IHDR: length, type, 13 bytes, CRC.
constexpr size_t kAfterIhdr = sizeof kPngSignature + 4 + 4 + 13 + 4;

void PutBigEndian32(std::vector<u8>& out, u32 value) {
    for (int shift = 24; shift >= 0; shift -= 8)
        out.push_back(static_cast<u8>(value >> shift));
}

// An APP1 segment of head (with its terminating zero, or zeros) and body; nothing when too large.
void PutApp1(std::vector<u8>& out, const char* head, size_t headSize, const u8* body, size_t size) {
    if (size == 0 || headSize + size > kMostSegmentBytes)
        return;
    const size_t length = 2 + headSize + size;
    out.insert(out.end(), {0xFF, 0xE1, static_cast<u8>(length >> 8), static_cast<u8>(length)});
    out.insert(out.end(), head, head + headSize);
    out.insert(out.end(), body, body + size);
}

} // namespace

std::vector<u8> MakePngChunk(const char type[4], const std::vector<u8>& data) {
    std::vector<u8> chunk;
    chunk.reserve(data.size() + 12);
    PutBigEndian32(chunk, static_cast<u32>(data.size()));
    chunk.insert(chunk.end(), type, type + 4);
    chunk.insert(chunk.end(), data.begin(), data.end());
    PutBigEndian32(
        chunk, static_cast<u32>(crc32(0, chunk.data() + 4, static_cast<uInt>(data.size() + 4))));
    return chunk;
}

HResult EmbedMetadataInJpeg(std::vector<u8>& jpeg, const OutputMetadata& metadata) {
    if (jpeg.size() < 2 || jpeg[0] != 0xFF || jpeg[1] != 0xD8)
        return hr::kInvalidArg;
    size_t at = 2;
    if (jpeg.size() >= at + 4 && jpeg[at] == 0xFF && jpeg[at + 1] == 0xE0)
        at += 2 + ((size_t{jpeg[at + 2]} << 8) | jpeg[at + 3]);
    if (at > jpeg.size())
        return hr::kInvalidArg;
    std::vector<u8> segments;
    PutApp1(segments, kExifHead, sizeof kExifHead, metadata.exif.data(), metadata.exif.size());
    PutApp1(segments, kXmpHead, sizeof kXmpHead, reinterpret_cast<const u8*>(metadata.xmp.data()),
            metadata.xmp.size());
    jpeg.insert(jpeg.begin() + static_cast<std::ptrdiff_t>(at), segments.begin(), segments.end());
    return hr::kOk;
}

HResult EmbedMetadataInPng(std::vector<u8>& png, const OutputMetadata& metadata) {
    if (png.size() < kAfterIhdr ||
        std::memcmp(png.data(), kPngSignature, sizeof kPngSignature) != 0 ||
        std::memcmp(png.data() + 12, "IHDR", 4) != 0)
        return hr::kInvalidArg;
    std::vector<u8> chunks;
    if (!metadata.exif.empty()) {
        const std::vector<u8> chunk = MakePngChunk("eXIf", metadata.exif);
        chunks.insert(chunks.end(), chunk.begin(), chunk.end());
    }
    if (!metadata.xmp.empty()) {
        // Keyword, its terminator, no compression (flag and method), empty language and
        // translated keyword, each with its terminator, then the packet.
        constexpr char kKeyword[] = "XML:com.adobe.xmp";
        std::vector<u8> text(kKeyword, kKeyword + sizeof kKeyword);
        text.insert(text.end(), {0, 0, 0, 0});
        text.insert(text.end(), metadata.xmp.begin(), metadata.xmp.end());
        const std::vector<u8> chunk = MakePngChunk("iTXt", text);
        chunks.insert(chunks.end(), chunk.begin(), chunk.end());
    }
    png.insert(png.begin() + static_cast<std::ptrdiff_t>(kAfterIhdr), chunks.begin(), chunks.end());
    return hr::kOk;
}
