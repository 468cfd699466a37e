// The decoders' costs, from the sizes and kinds that the headers declare.
#include "image/DecodeCost.h"

#include <algorithm>
#include <cstring>

#include "image/BmpReader.h"
#include "image/JpegScans.h"
#include "image/Loaders.h"
#include "image/Orientation.h"
#include "image/VipsStart.h"
#include "image/WebpChunks.h"

namespace {

// The rows of the decoded width that a streamed conversion has in flight at once: the strips that
// libvips' threads work on in each step, and above all the rows that the resampler reads for one
// row of output, which grow with the shrink (about 400 rows of a 100,000-pixel row fitted into
// 1280 x 1280). Measured at 12 bytes a pixel for 16-bit RGB (6 bytes decoded, 6 for the 8-bit
// steps behind it). For a photo of ordinary width it is a few dozen megabytes; for a row of
// millions of pixels, gigabytes.
constexpr u64 kRowsInFlight = 512;
constexpr u64 kStepBytesPerPixel = 6;

// A progressive JPEG's decoder keeps every coefficient: 64 of 2 bytes per 8 x 8 block.
constexpr u64 kCoefficientBytesPerBlock = 128;

// Lossless WebP: libwebp decodes into 32-bit ARGB of its own and converts that into the output
// that libvips keeps whole; measured at 7.9 bytes a pixel. Lossy WebP and the extended form (an
// alpha plane, animation) are taken at the same, which covers them.
constexpr u64 kWebpBytesPerPixel = 8;
// libnsgif keeps the frame as 32-bit pixels; libvips copies rows out of it.
constexpr u64 kGifBytesPerPixel = 4;
// libheif keeps the decoded planes and libvips the interleaved image made of them: twice the
// decoded form covers the planes at any subsampling.
constexpr u64 kHeifCopies = 2;
// Our BMP reader makes 32-bit pixels: the whole image of a run-length file, whose rows only a
// decode from its start finds, and the rows in flight of any other.
constexpr u64 kBmpBytesPerPixel = 4;

u64 RoundUp(u64 value, u64 multiple) {
    return (value + multiple - 1) / multiple * multiple;
}

u64 CeilDiv(u64 value, u64 divisor) {
    return (value + divisor - 1) / divisor;
}

// The bytes of coefficients that libjpeg keeps for a JPEG whose scans it cannot decode one at a
// time (a progressive one, or one of several scans): each component's blocks, padded to whole
// groups of its sampling factors. 0 for a baseline JPEG of one scan, and when the frame header
// is not found before the first scan.
u64 JpegCoefficientBytes(const u8* data, size_t size, u32 scans) {
    size_t at = 2;
    while (at + 4 <= size) {
        if (data[at] != 0xFF) {
            ++at;
            continue;
        }
        const u8 marker = data[at + 1];
        if (marker == 0xFF || marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7)) {
            ++at;
            continue;
        }
        const size_t length = (static_cast<size_t>(data[at + 2]) << 8) | data[at + 3];
        if (marker == 0xDA || marker == 0xD9 || length < 2)
            return 0;
        const bool frame =
            marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
        if (!frame) {
            at += 2 + length;
            continue;
        }
        const bool progressive =
            marker == 0xC2 || marker == 0xC6 || marker == 0xCA || marker == 0xCE;
        if (!progressive && scans <= 1)
            return 0;
        const u8* f = data + at + 4;
        if (length < 8 || at + 2 + length > size)
            return 0;
        const u64 height = (static_cast<u64>(f[1]) << 8) | f[2];
        const u64 width = (static_cast<u64>(f[3]) << 8) | f[4];
        const u32 components = f[5];
        if (length < 8 + 3 * static_cast<size_t>(components))
            return 0;
        u32 maxH = 1, maxV = 1;
        for (u32 c = 0; c < components; ++c) {
            maxH = std::max<u32>(maxH, f[7 + 3 * c] >> 4);
            maxV = std::max<u32>(maxV, f[7 + 3 * c] & 15);
        }
        u64 bytes = 0;
        for (u32 c = 0; c < components; ++c) {
            const u32 h = std::max<u32>(1, f[7 + 3 * c] >> 4);
            const u32 v = std::max<u32>(1, f[7 + 3 * c] & 15);
            const u64 across = RoundUp(CeilDiv(width * h, maxH * 8ull), h);
            const u64 down = RoundUp(CeilDiv(height * v, maxV * 8ull), v);
            bytes += across * down * kCoefficientBytesPerBlock;
        }
        return bytes;
    }
    return 0;
}

// Whether a PNG's header says that its rows are interlaced: libpng then gives no row before the
// last pass, and libvips reads the whole image first.
bool IsInterlacedPng(const u8* data, size_t size) {
    return size > 28 && std::memcmp(data + 12, "IHDR", 4) == 0 && data[28] != 0;
}

bool Is(const char* loader, const char* name) {
    return loader && std::strcmp(loader, name) == 0;
}

} // namespace

CDecodeCost EstimateDecodeCost(const char* loader, const u8* data, size_t size, Size declared,
                               int bands, int bytesPerSample, u32 scans) {
    const u64 width = static_cast<u64>(std::max(declared.cx, 0));
    const u64 height = static_cast<u64>(std::max(declared.cy, 0));
    const u64 pixels = width * height;
    Size bmpSize;
    bool runLength = false;
    const bool bmpRows =
        !loader && Succeeded(ReadBmpSize(data, size, bmpSize, &runLength)) && !runLength;
    // The rows in flight of a whole run-length BMP are views of its image.
    const u64 decodedPixel =
        bmpRows ? kBmpBytesPerPixel
                : static_cast<u64>(std::max(bands, 1)) * std::max(bytesPerSample, 1);
    CDecodeCost cost;
    cost.scans = scans;
    cost.work = pixels * std::max<u64>(scans, 1);
    cost.memory = width * std::min(height, kRowsInFlight) * (decodedPixel + kStepBytesPerPixel);
    if (!loader && !bmpRows)
        cost.memory += pixels * kBmpBytesPerPixel;
    else if (CLoader::IsJpeg(loader))
        cost.memory += JpegCoefficientBytes(data, size, scans);
    else if (Is(loader, "pngload_buffer") && IsInterlacedPng(data, size))
        cost.memory += pixels * decodedPixel;
    else if (Is(loader, "webpload_buffer"))
        cost.memory += pixels * kWebpBytesPerPixel;
    else if (Is(loader, "gifload_buffer"))
        cost.memory += pixels * kGifBytesPerPixel;
    else if (Is(loader, "heifload_buffer"))
        cost.memory += pixels * decodedPixel * kHeifCopies;
    return cost;
}

bool EstimateBeforeOpening(const char* loader, const u8* data, size_t size, Size& declared,
                           CDecodeCost& cost) {
    Size header;
    bool alpha = false;
    if (!Is(loader, "webpload_buffer") || !WebpCanvas(data, size, header, alpha))
        return false;
    declared = header;
    cost = EstimateDecodeCost(loader, data, size, header, 4, 1, 0);
    return true;
}

HResult CheckDecodeCost(const CDecodeCost& cost, const CDecodeLimits& limits, u64 extra) {
    if (cost.work > limits.MaxScanWork())
        return hr::kOverWorkBudget;
    if (cost.memory + extra > limits.MaxMemoryBytes())
        return hr::kOverMemoryBudget;
    return hr::kOk;
}

HResult CheckBmpCost(const u8* data, size_t size, const CDecodeLimits& limits, bool whole,
                     Size* declared, CDecodeCost* cost, bool& runLength) {
    Size header;
    if (Failed(ReadBmpSize(data, size, header, &runLength)))
        return hr::kOk;
    const u64 pixels = static_cast<u64>(header.cx) * static_cast<u64>(header.cy);
    if (pixels > limits.maxPixels)
        return hr::kOk;
    CDecodeCost needs = EstimateDecodeCost(nullptr, data, size, header, 1, 1, 0);
    if (whole && !runLength)
        needs.memory += pixels * kBmpBytesPerPixel;
    if (cost)
        *cost = needs;
    if (Succeeded(CheckDecodeCost(needs, limits)))
        return hr::kOk;
    if (declared)
        *declared = header;
    return hr::kOverMemoryBudget;
}

HResult EstimateDecodeCostOf(const u8* data, size_t size, const CDecodeLimits& limits,
                             CDecodeCost& cost, Size* declaredOut) {
    cost = CDecodeCost();
    Size unused;
    Size& declared = declaredOut ? *declaredOut : unused;
    declared = Size{};
    if (IsBmp(data, size)) {
        if (Failed(ReadBmpSize(data, size, declared)))
            return hr::kNotImpl;
        cost = EstimateDecodeCost(nullptr, data, size, declared, 1, 1, 0);
        return hr::kOk;
    }
    if (!data || size == 0 || !EnsureVipsStarted())
        return hr::kNotImpl;
    const char* loader = CLoader::For(data, size);
    if (EstimateBeforeOpening(loader, data, size, declared, cost))
        return hr::kOk;
    CLoader open;
    VipsImage* image = loader ? open.Open(loader, data, size) : nullptr;
    if (!image) {
        vips_error_clear();
        return hr::kNotImpl;
    }
    const u32 scans = CLoader::IsJpeg(loader) ? CountJpegScans(data, size, limits.maxScans) : 0;
    declared = Size{image->Xsize, image->Ysize};
    cost = EstimateDecodeCost(loader, data, size, declared, image->Bands,
                              static_cast<int>(vips_format_sizeof(image->BandFmt)), scans);
    // A picture that is turned upright is held whole once shrunk: at most its decoded size.
    if (NeedsWholePicture(LoadedOrientation(loader, image)))
        cost.memory += static_cast<u64>(declared.cx) * static_cast<u64>(declared.cy) * 4;
    g_object_unref(image);
    return hr::kOk;
}
