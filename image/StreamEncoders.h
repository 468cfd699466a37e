// The row encoders: JPEG and PNG files written while the rows of a pipeline are worked out.
// Any thread, after EnsureVipsStarted (image/VipsStart.h).
#pragma once

#include <vector>

#include <vips/vips8>

#include "foundation/Types.h"

// A baseline JPEG of the given quality (0 is taken as 1, anything above 100 as 100) from three
// 8-bit bands, red, green, blue; colour only, no metadata but the ICC profile of the bands'
// colour space when one is given (empty for sRGB), the resolution of a new bitmap. A profile that
// a JPEG has no room for (IccFitsJpeg) is left out and the numbers are turned into sRGB instead
// (image/ProfiledEncode.h).
// hr::kTooLargeForJpeg for a side longer than 65500 pixels, 0x8007000E when memory runs out,
// 0x80004005 when the encoder or the pipeline fails for another reason. `out` is left empty on
// every failure.
HResult EncodeJpegRows(const vips::VImage& rgb, u32 quality, const std::vector<u8>& profile,
                       std::vector<u8>& out);

// An 8-bit RGBA PNG from four 8-bit bands, with no metadata but the profile as EncodeJpegRows
// takes it (under IccFitsPng), and the resolution of a new bitmap. Codes as EncodeJpegRows, without
// the size limit.
HResult EncodePngRows(const vips::VImage& rgba, const std::vector<u8>& profile,
                      std::vector<u8>& out);
