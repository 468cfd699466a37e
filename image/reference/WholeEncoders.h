// The encoders of a whole CDib: the files that the row encoders (image/StreamEncoders.h) write
// from the same pixels. Any thread, after EnsureVipsStarted (image/VipsStart.h).
#pragma once

#include <vector>

#include "foundation/Types.h"
#include "image/Dib.h"
#include "image/OutputChoice.h"

// Encodes a 32-bit image as a baseline JPEG of the given quality (0 to 100; 0 is taken as 1 and
// anything above 100 as 100), colour only, with no metadata but the image's colour profile when
// it has one and it fits (IccFitsJpeg; else the numbers are turned into sRGB without it, as
// image/ProfiledEncode.h does). hr::kTooLargeForJpeg for a side longer than 65500 pixels,
// 0x8007000E when memory runs out, 0x80004005 when the encoder refuses for another reason.
HResult EncodeJpeg(const CDib& dib, u32 quality, std::vector<u8>& out);

// Encodes a 32-bit image as an 8-bit RGBA PNG with no metadata but the image's colour profile
// when it has one, under the same rule with IccFitsPng; without keepAlpha every pixel is written
// opaque. 0x8007000E when memory runs out, 0x80004005 when the encoder refuses for another reason.
HResult EncodePng(const CDib& dib, bool keepAlpha, std::vector<u8>& out);

// The output's format and quality: a JPEG, or a PNG that keeps the image's alpha.
HResult EncodeWhole(const CDib& dib, const OutputChoice& output, std::vector<u8>& out);
