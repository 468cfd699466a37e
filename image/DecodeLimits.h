// CDecodeLimits: how much work one image may cost the decoder, checked before any pixel is
// decoded.
#pragma once

#include "foundation/Types.h"

// 16383 x 16383 pixels: the largest image that other image libraries accept by default, so the
// limit that users already know. A 32-bit image of that size needs about 1 GiB.
constexpr u32 kDefaultMaxPixels = 268402689;

// Encoders write about ten scans in a progressive JPEG, and a few dozen at most; one scan for each
// of the 64 coefficients of each of three components would be 192. A file with more than this
// many scans makes the decoder walk the whole image once per scan for nothing, so it is refused.
constexpr u32 kDefaultMaxScans = 1000;

struct CDecodeLimits {
    // An image of more pixels than this (width times height, as its header declares) is refused.
    u64 maxPixels = kDefaultMaxPixels;
    // A JPEG of more start-of-scan markers than this is refused.
    u32 maxScans = kDefaultMaxScans;
};
