// What the encoders of the output formats hold in memory.
#include "image/OutputChoice.h"

#include <algorithm>

namespace {

// What the whole-picture encoders hold, measured as the growth of a conversion's peak resident
// memory over the same conversion to PNG or JPEG (which write row by row), from 0.6 to 20
// megapixels, rounded up. libvips' WebP saver keeps the picture as 32-bit ARGB and libwebp its YUV
// planes and the output: 3 to 5 bytes a pixel; an alpha plane adds libwebp's lossless encoder of
// it, 17 to 22 bytes a pixel in all. The AVIF road keeps the RGB(A) image, libheif's YUV planes and
// libaom's frames: 21 to 32 bytes a pixel with or without alpha, and libaom's own tables, some
// 12 MiB, even for a small picture.
constexpr u64 kWebpBytesPerPixel = 6;
constexpr u64 kWebpAlphaBytesPerPixel = 24;
constexpr u64 kAvifBytesPerPixel = 32;
constexpr u64 kAvifFixedBytes = 16u << 20;

} // namespace

u64 OutputChoice::EncoderHeldBytes(Size size) const {
    const u64 pixels =
        static_cast<u64>(std::max(size.cx, 0)) * static_cast<u64>(std::max(size.cy, 0));
    switch (format) {
    case OutputFormat::kWebp:
        return pixels * (keepAlpha ? kWebpAlphaBytesPerPixel : kWebpBytesPerPixel);
    case OutputFormat::kAvif:
        return kAvifFixedBytes + pixels * kAvifBytesPerPixel;
    default:
        return 0;
    }
}
