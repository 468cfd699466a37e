// Decoding an encoded image whole into a CDib: for the window's built-in sample and for a look at
// a file's pixels. The conversion itself never holds a whole decoded image (image/StreamConvert.h).
// The other files of the engine that know a file format: image/Loaders names the loaders that may
// run and opens them, image/DecodeStream reads their rows; image/BmpReader and image/BmpRowsImage
// read BMP without libvips; image/DecodeCost and image/JpegScans read only what headers and
// markers declare; image/SourceProfile takes a JPEG's colour profile from its own segments;
// image/StreamEncoders writes JPEG and PNG, and image/IccProfileEmbed puts a profile into their
// bytes.
#pragma once

#include <cstddef>

#include "foundation/Types.h"
#include "image/DecodeCost.h"
#include "image/DecodeLimits.h"
#include "image/Dib.h"

// Decodes the first image of an encoded buffer into a new 32-bit straight-alpha bottom-up image,
// with the file's resolution in the header. Opaque sources get alpha 255. BMP goes through our
// own reader (image/BmpReader.h); JPEG, PNG, GIF, TIFF, WebP and HEIF/AVIF through libvips; any
// other content, and a buffer that no loader claims, gives 0x80004001, as do bytes that are
// truncated or corrupt. Before any pixel is decoded: hr::kImageTooLarge when the header declares
// more pixels than limits.maxPixels, hr::kTooManyScans for a JPEG of more scans than
// limits.maxScans, hr::kOverWorkBudget and hr::kOverMemoryBudget when the decoder's cost with
// the whole 32-bit image is above the budgets (image/DecodeCost.h), 0x8007000E when the 32-bit
// buffer would not fit in 32 bits; 0x8007000E also when memory runs out, whether the program or
// a library under libvips found so. `declared` (when given) receives the size that the header
// declares, also when the image is refused, and `cost` what decoding it into the 32-bit image
// needs. `out` is only set on success. Any thread.
HResult DecodeImage(const u8* data, size_t size, CDibPtr& out, const CDecodeLimits& limits = {},
                    Size* declared = nullptr, CDecodeCost* cost = nullptr);

// Whether the first bytes of a file (a few kilobytes are enough) are those of an image that the
// program reads: BMP for our own reader, or a format of a loader that it lets run
// (image/Loaders.h). Any thread.
bool LooksLikeImage(const u8* head, size_t size);
