// Reading BMP files: a small bounds-checked reader of the Windows bitmap formats, so that no
// general-purpose loader ever sees them.
#pragma once

#include <cstddef>

#include "foundation/Types.h"
#include "image/Dib.h"

// True when the buffer starts with the "BM" of a bitmap file header.
bool IsBmp(const u8* data, size_t size);

// The size that a BMP file's headers declare, read without decoding a pixel; 0x80004001 for
// headers that ReadBmp would refuse.
HResult ReadBmpSize(const u8* data, size_t size, Size& declared);

// Decodes a BMP file held in memory into a new 32-bit straight-alpha bottom-up image.
//
// Reads the file header and the info header of 12 (core), 40, 52, 56, 108 or 124 bytes; 1, 4 and
// 8 bits per pixel with a palette, uncompressed or (8 and 4 bits) run-length encoded; 16 and 32
// bits as BI_RGB or BI_BITFIELDS; 24 bits; rows bottom-up or (uncompressed) top-down. Alpha is
// 255 except where a BI_BITFIELDS image has an alpha mask: a 32-bit BI_RGB image is opaque, its
// fourth byte unused. A run-length image starts as palette entry 0 everywhere, so the pixels that
// its skips pass over keep that colour; runs that reach beyond a row are cut off there.
//
// `declared` (when given) receives the size that the header declares, as soon as it is read.
// Results: 0x80004001 for a header or data that is not a complete bitmap of these kinds,
// hr::kImageTooLarge when width times height is above maxPixels (checked before any allocation),
// 0x8007000E when the 32-bit image would not fit in 32 bits or memory runs out. Every read is
// checked against the buffer. `out` is only set on success. Any thread.
HResult ReadBmp(const u8* data, size_t size, u64 maxPixels, CDibPtr& out, Size* declared = nullptr);
