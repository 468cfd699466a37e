// The whole-image road: a conversion made on a decoded image held whole in memory, step by step
// (shrink, round and fade, background, encode). It is the reference that tests and benchmarks
// compare the streamed conversion (image/StreamConvert.h) and the preview with; no program links
// it. Any thread; each call works on its own images.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "foundation/Types.h"
#include "image/Dib.h"
#include "image/OutputChoice.h"
#include "image/RoundSettings.h"
#include "image/ShrinkSettings.h"

// Where a whole-image step failed: the string-table id that the streamed conversion reports for
// the same settings, with the code where one caused it.
struct WholeFailure {
    u32 errorId = 0;
    HResult code = 0;
};

// Draws the src rectangle of `source` into a new, cleared 32-bit image the size of dst, with
// high-quality resampling; the image takes the header of `source` with the new size. Alpha is
// resampled with the colour. 0x80070008 when the source cannot be used or the new image cannot be
// made, 0x80004001 when the draw fails (for example a target of no area). `result` is set only on
// success.
HResult ResizeImage(CDibPtr& result, const Rect& dst, const CDib& source, const Rect& src);

// Copies `source` into a new image in `result` (CopyDib32, image/Round.h) and rounds the copy
// (RoundCorners).
HResult RoundImage(CDibPtr& result, const CDib& source, bool topLeft, bool bottomLeft,
                   bool bottomRight, bool topRight, double radiusX, double radiusY);

// Copies `source` into a new image in `result` and blurs the copy (BlurEdges, image/Blur.h), even
// when no edge is chosen. 0x80070057 for a source that is not 32 bits per pixel, 0x8007000E when
// the copy cannot be made.
HResult BlurImage(CDibPtr& result, const CDib& source, bool topLeft, bool bottomLeft,
                  bool bottomRight, bool topRight, double width, bool left, bool top, bool right,
                  bool bottom, double radiusX, double radiusY);

// The source fitted as FittedSize (image/Shrink.h) says; the same object when its size stays.
// Null with the failure set when the shrink is refused or the resize fails
// (strid::kResizeFailed with its code).
CDibPtr ShrinkWhole(const CDibPtr& source, const ShrinkSettings& shrink, WholeFailure& failure);

// A copy of the source with the chosen corners rounded, then the chosen edges faded, the lengths
// resolved against the source's size. Null with strid::kRoundFailed or strid::kBlurFailed and
// the code on failure.
CDibPtr RoundWhole(const CDib& source, const RoundSettings& round, WholeFailure& failure);

// Shrink, round and fade, then the background laid under unless output.keepAlpha. Null when a
// step fails, with its failure where `failure` is given.
CDibPtr ConvertWhole(const CDibPtr& source, const ShrinkSettings& shrink,
                     const RoundSettings& round, const OutputChoice& output,
                     WholeFailure* failure = nullptr);

// The encoded source decoded whole (DecodeImage), converted and encoded (EncodeWhole). The
// decoder's code, 0x80004005 when a step fails, or the encoder's code.
HResult ConvertWholeFile(const u8* data, size_t size, const ShrinkSettings& shrink,
                         const RoundSettings& round, const OutputChoice& output,
                         std::vector<u8>& out);

// Reads and decodes an image file whole; the decoder decides by content, not by the file's name.
// The codes of ReadFileToBuffer (image/ImageIo.h) and DecodeImage (image/Decode.h).
HResult LoadImageFile(CDibPtr& out, const std::wstring& path);
