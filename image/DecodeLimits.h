// CDecodeLimits: how much work and memory one image may cost the decoder, checked before any
// pixel is decoded.
// Any thread: names, constants and plain values.
#pragma once

#include "foundation/Types.h"

// 16383 x 16383 pixels: the largest image that other image libraries accept by default, so the
// limit that users already know. A 32-bit image of that size needs about 1 GiB.
constexpr u32 kDefaultMaxPixels = 268402689;

// Encoders write about ten scans in a progressive JPEG, and a few dozen at most; one scan for each
// of the 64 coefficients of each of three components would be 192. A file with more than this
// many scans makes the decoder walk the whole image once per scan for nothing, so it is refused.
constexpr u32 kDefaultMaxScans = 1000;

// Each scan of a progressive JPEG is one pass of the decoder over the whole image, however little
// it holds: a file of less than a megabyte can ask for a thousand passes over a hundred million
// pixels, close to a minute. Scans times pixels may be at most this many times the pixel limit:
// 20 passes over 16383 x 16383 pixels, 53 over a 100-megapixel photo (encoders write about ten),
// a few seconds of decoding at most.
constexpr u32 kScanPassesOverPixelLimit = 20;

// 1000 MiB: what a decoder may hold for one file, and what the files of a batch converted at once
// may hold together. A 100-megapixel photo needs at most about 800 MB of it (a progressive CMYK
// JPEG, whose decoder keeps 8 bytes a pixel); a file that declares 16383 x 16383 pixels to a
// decoder that keeps the whole image needs more than a gigabyte, and is refused.
constexpr u32 kDefaultMaxMemoryMb = 1000;

struct CDecodeLimits {
    // An image of more pixels than this (width times height, as its header declares) is refused.
    u64 maxPixels = kDefaultMaxPixels;
    // A JPEG of more start-of-scan markers than this is refused.
    u32 maxScans = kDefaultMaxScans;
    // An image whose decoding needs more memory than this, in MiB, is refused (image/DecodeCost.h).
    u32 maxMemoryMb = kDefaultMaxMemoryMb;

    u64 MaxMemoryBytes() const { return static_cast<u64>(maxMemoryMb) << 20; }
    // The most pixel passes (scans times pixels) that a progressive JPEG may ask for.
    u64 MaxScanWork() const { return maxPixels * kScanPassesOverPixelLimit; }
};
