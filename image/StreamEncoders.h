// The row encoders: JPEG, PNG, WebP and AVIF files written from the rows of a pipeline, JPEG and
// PNG while the rows are worked out.
// Any thread, after EnsureVipsStarted (image/VipsStart.h).
#pragma once

#include <vector>

#include <vips/vips8>

#include "foundation/Types.h"
#include "image/MetadataEmbed.h"
#include "image/OutputChoice.h"

// The encoder of the output's format with its quality, as the functions below write, with the
// metadata given (none for an empty one).
HResult EncodeRows(const vips::VImage& pixels, const OutputChoice& output,
                   const std::vector<u8>& profile, const OutputMetadata& metadata,
                   std::vector<u8>& out);

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

// A lossy WebP of the quality (as EncodeJpegRows takes it) from three 8-bit bands or four, the
// fourth alpha, with no metadata but the profile (in an ICCP chunk) and the metadata given, the
// pixels worked out whole. hr::kTooLargeForWebp for a side longer than 16383 pixels; other codes as
// EncodeJpegRows.
HResult EncodeWebpRows(const vips::VImage& pixels, u32 quality, const std::vector<u8>& profile,
                       const OutputMetadata& metadata, std::vector<u8>& out);
