// The RIFF container of a WebP file, extended with a profile and metadata chunks.
#include "image/WebpChunks.h"

#include <cstring>
#include <limits>

namespace {

// VP8X flags.
constexpr u8 kIccFlag = 0x20;
constexpr u8 kAlphaFlag = 0x10;
constexpr u8 kExifFlag = 0x08;
constexpr u8 kXmpFlag = 0x04;

// "RIFF", its size, "WEBP".
constexpr size_t kRiffHead = 12;
// A chunk's type and size.
constexpr size_t kChunkHead = 8;
constexpr size_t kVp8xPayload = 10;

u32 Little32(const u8* p) {
    return u32{p[0]} | (u32{p[1]} << 8) | (u32{p[2]} << 16) | (u32{p[3]} << 24);
}

void PutLittle(std::vector<u8>& out, u32 value, int bytes) {
    for (int i = 0; i < bytes; ++i)
        out.push_back(static_cast<u8>(value >> (8 * i)));
}

void PutLittleAt(std::vector<u8>& out, size_t at, u32 value) {
    for (int i = 0; i < 4; ++i)
        out[at + i] = static_cast<u8>(value >> (8 * i));
}

// A chunk of the given type and payload, padded to an even length.
void PutChunk(std::vector<u8>& out, const char type[4], const std::vector<u8>& payload) {
    out.insert(out.end(), type, type + 4);
    PutLittle(out, static_cast<u32>(payload.size()), 4);
    out.insert(out.end(), payload.begin(), payload.end());
    if (payload.size() % 2 != 0)
        out.push_back(0);
}

// The canvas size and the alpha of a simple file's one picture chunk at `chunk`, read from its
// bitstream's header; false when it is none of the two kinds or too short.
bool SimplePicture(const std::vector<u8>& webp, size_t chunk, u32& width, u32& height,
                   bool& alpha) {
    const u8* payload = webp.data() + chunk + kChunkHead;
    const size_t size = webp.size() - chunk - kChunkHead;
    if (std::memcmp(webp.data() + chunk, "VP8L", 4) == 0) {
        if (size < 5 || payload[0] != 0x2F)
            return false;
        const u32 bits = Little32(payload + 1);
        width = (bits & 0x3FFF) + 1;
        height = ((bits >> 14) & 0x3FFF) + 1;
        alpha = ((bits >> 28) & 1) != 0;
        return true;
    }
    // A lossy key frame: three bytes of frame tag, the start code, then the sizes in 14 bits.
    if (size < 10 || payload[3] != 0x9D || payload[4] != 0x01 || payload[5] != 0x2A)
        return false;
    width = (payload[6] | (payload[7] << 8)) & 0x3FFF;
    height = (payload[8] | (payload[9] << 8)) & 0x3FFF;
    alpha = false;
    return true;
}

bool TooLarge(const std::vector<u8>& extra) {
    return extra.size() >= std::numeric_limits<u32>::max() - 1;
}

} // namespace

HResult SetWebpExtras(std::vector<u8>& webp, const WebpExtras& extras) {
    if (webp.size() < kRiffHead + kChunkHead || std::memcmp(webp.data(), "RIFF", 4) != 0 ||
        std::memcmp(webp.data() + 8, "WEBP", 4) != 0 || TooLarge(extras.icc) ||
        TooLarge(extras.exif) || TooLarge(extras.xmp))
        return hr::kInvalidArg;
    const bool extended = std::memcmp(webp.data() + kRiffHead, "VP8X", 4) == 0;
    const u8 flags = (extras.icc.empty() ? 0 : kIccFlag) | (extras.exif.empty() ? 0 : kExifFlag) |
                     (extras.xmp.empty() ? 0 : kXmpFlag);
    if (!extended && flags == 0)
        return hr::kOk;
    // The chunks of the picture: every chunk after VP8X but the extras, which are put anew.
    std::vector<u8> picture;
    u8 kept = 0; // the flags of VP8X that stay
    u32 width = 0, height = 0;
    bool alpha = false;
    size_t at = kRiffHead;
    if (extended) {
        if (webp.size() < kRiffHead + kChunkHead + kVp8xPayload)
            return hr::kInvalidArg;
        kept = webp[at + kChunkHead] & static_cast<u8>(~(kIccFlag | kExifFlag | kXmpFlag));
        width = (Little32(webp.data() + at + kChunkHead + 4) & 0xFFFFFF) + 1;
        height = (Little32(webp.data() + at + kChunkHead + 7) & 0xFFFFFF) + 1;
        at += kChunkHead + kVp8xPayload;
    } else if (!SimplePicture(webp, at, width, height, alpha) || width == 0 || height == 0) {
        return hr::kInvalidArg;
    } else {
        kept = alpha ? kAlphaFlag : 0;
    }
    while (at + kChunkHead <= webp.size()) {
        const size_t size = Little32(webp.data() + at + 4);
        const size_t end = at + kChunkHead + size + (size % 2);
        if (end > webp.size() || end < at)
            return hr::kInvalidArg;
        const u8* type = webp.data() + at;
        if (std::memcmp(type, "ICCP", 4) != 0 && std::memcmp(type, "EXIF", 4) != 0 &&
            std::memcmp(type, "XMP ", 4) != 0)
            picture.insert(picture.end(), type, static_cast<const u8*>(webp.data() + end));
        at = end;
    }
    std::vector<u8> vp8x{static_cast<u8>(kept | flags), 0, 0, 0};
    PutLittle(vp8x, width - 1, 3);
    PutLittle(vp8x, height - 1, 3);
    std::vector<u8> out(webp.begin(), webp.begin() + kRiffHead);
    PutChunk(out, "VP8X", vp8x);
    if (!extras.icc.empty())
        PutChunk(out, "ICCP", extras.icc);
    out.insert(out.end(), picture.begin(), picture.end());
    if (!extras.exif.empty())
        PutChunk(out, "EXIF", extras.exif);
    if (!extras.xmp.empty())
        PutChunk(out, "XMP ", extras.xmp);
    if (out.size() - 8 > std::numeric_limits<u32>::max())
        return hr::kInvalidArg;
    PutLittleAt(out, 4, static_cast<u32>(out.size() - 8));
    webp.swap(out);
    return hr::kOk;
}
