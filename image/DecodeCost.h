// What decoding one image will cost, in memory and in passes over its pixels, worked out from its
// header before any pixel is decoded.
#pragma once

#include <cstddef>

#include "foundation/Types.h"
#include "image/DecodeLimits.h"

struct CDecodeCost {
    // Bytes that the decoder and the rows in flight through a conversion hold at most, beyond the
    // encoded file itself.
    u64 memory = 0;
    // Pixel passes: the pixels times the passes that the decoder makes over them (the scans of a
    // progressive JPEG, one for every other file).
    u64 work = 0;
    u32 scans = 0; // the scans of a JPEG, 0 for other formats

    // The memory in MiB, rounded up, as the messages show it.
    u64 MemoryMb() const { return (memory + (1u << 20) - 1) >> 20; }
};

// The cost of decoding the encoded image in `data` with the named libvips loader (its operation
// name, "jpegload_buffer" and so on), or with our own BMP reader when `loader` is null. `declared`
// is the size from the header; `bands` and `bytesPerSample` the decoded form that the loader
// reported (ignored for a BMP, whose form is worked out here); `scans` the JPEG's count of scans.
// Decoders that keep the whole image (WebP, GIF, HEIF, interlaced PNG, our BMP reader for a
// run-length file) and the coefficients of a progressive or multi-scan JPEG cost what they keep;
// every decoder also costs the rows that a conversion has in flight at once, which grows with the
// width. Any thread.
CDecodeCost EstimateDecodeCost(const char* loader, const u8* data, size_t size, Size declared,
                               int bands, int bytesPerSample, u32 scans);

// The size and the cost of a WebP file, from its own header: libvips' WebP loader sets aside
// memory for the whole image as soon as it is opened, so the budget has to be checked before
// that. False (nothing set) for other loaders and for a header that is none of the three kinds
// (lossy, lossless, extended).
bool EstimateBeforeOpening(const char* loader, const u8* data, size_t size, Size& declared,
                           CDecodeCost& cost);

// hr::kOverWorkBudget when the scans times the pixels are above limits.MaxScanWork(),
// hr::kOverMemoryBudget when the memory (plus `extra`, what the caller keeps besides) is above
// limits.MaxMemoryBytes(), hr::kOk otherwise.
HResult CheckDecodeCost(const CDecodeCost& cost, const CDecodeLimits& limits, u64 extra = 0);

// The cost of our BMP reader for the BMP file in `data`, from its header, checked against the
// limits before a pixel is read: hr::kOverMemoryBudget (`declared` then set) when it is over.
// `whole` when the caller keeps the whole 32-bit image besides the rows in flight; a run-length
// file's decode makes it anyway, and `runLength` says which kind the file is. hr::kOk also for a
// header that the reader refuses and for a size over the pixel limit: the reader reports those.
HResult CheckBmpCost(const u8* data, size_t size, const CDecodeLimits& limits, bool whole,
                     Size* declared, CDecodeCost* cost, bool& runLength);

// The cost of decoding the encoded image in `data`, from its header alone: the loader is opened
// for the header and our BMP reader reads only its headers; `declared`, when given, gets the
// stored size. 0x80004001 (cost left at zero) for bytes that no allowed loader reads; the pixel
// and scan limits are not checked here. Any thread.
HResult EstimateDecodeCostOf(const u8* data, size_t size, const CDecodeLimits& limits,
                             CDecodeCost& cost, Size* declared = nullptr);
