// A BMP writer for tests and tools that need BMP files: a CDib already is a device-independent
// bitmap, so it only needs a file header in front. No program writes BMP.
#pragma once

#include <vector>

#include "foundation/Types.h"
#include "image/Dib.h"

constexpr u32 kBmpFileHeaderSize = 14;

// Writes a 32-bit image as an uncompressed 32-bit BMP: the 14-byte file header, a 40-byte
// information header and the bottom-up rows. Without keepAlpha the fourth byte of each pixel is
// written as 255 (opaque). 0x80004005 for an image that is not 32-bit or has no area, and for one
// whose file would not fit the 32-bit size field; 0x8007000E when memory runs out. `out` is
// emptied first and holds the file only on success. Any thread.
HResult EncodeBmp(const CDib& dib, bool keepAlpha, std::vector<u8>& out);
