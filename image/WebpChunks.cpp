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

bool TooLarge(const std::vector<u8>& extra) {
    return extra.size() >= std::numeric_limits<u32>::max() - 1;
}

u32 Little24(const u8* at) {
    return at[0] | (static_cast<u32>(at[1]) << 8) | (static_cast<u32>(at[2]) << 16);
}

u32 Little32(const u8* at) {
    return Little24(at) | (static_cast<u32>(at[3]) << 24);
}

} // namespace

bool WebpCanvas(const u8* data, size_t size, Size& canvas, bool& alpha) {
    if (size < 30 || std::memcmp(data, "RIFF", 4) != 0 || std::memcmp(data + 8, "WEBP", 4) != 0)
        return false;
    const u8* chunk = data + kRiffHead;
    const u8* body = chunk + kChunkHead;
    alpha = false;
    if (std::memcmp(chunk, "VP8 ", 4) == 0 && body[3] == 0x9D && body[4] == 0x01 &&
        body[5] == 0x2A) {
        canvas = Size{static_cast<i32>((body[6] | (body[7] << 8)) & 0x3FFF),
                      static_cast<i32>((body[8] | (body[9] << 8)) & 0x3FFF)};
        return true;
    }
    if (std::memcmp(chunk, "VP8L", 4) == 0 && body[0] == 0x2F) {
        const u32 bits = Little32(body + 1);
        canvas = Size{static_cast<i32>((bits & 0x3FFF) + 1),
                      static_cast<i32>(((bits >> 14) & 0x3FFF) + 1)};
        alpha = ((bits >> 28) & 1) != 0;
        return true;
    }
    if (std::memcmp(chunk, "VP8X", 4) == 0) {
        canvas = Size{static_cast<i32>(Little24(body + 4) + 1),
                      static_cast<i32>(Little24(body + 7) + 1)};
        return true;
    }
    return false;
}

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
    Size canvas;
    bool alpha = false;
    if (!WebpCanvas(webp.data(), webp.size(), canvas, alpha) || canvas.cx <= 0 || canvas.cy <= 0)
        return hr::kInvalidArg;
    // An extended file keeps its own flags but the extras'; a simple one states its alpha.
    size_t at = kRiffHead;
    if (extended) {
        kept = webp[at + kChunkHead] & static_cast<u8>(~(kIccFlag | kExifFlag | kXmpFlag));
        at += kChunkHead + kVp8xPayload;
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
    PutLittle(vp8x, static_cast<u32>(canvas.cx) - 1, 3);
    PutLittle(vp8x, static_cast<u32>(canvas.cy) - 1, 3);
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
