// Converting one encoded image into an encoded output in a single pass over its rows: decode,
// shrink, round the corners and fade the edges, lay over the background, encode. No whole image
// is held in memory at any point; the pixels come out as the in-memory steps make them.
#pragma once

#include <cstddef>
#include <vector>

#include "foundation/Types.h"
#include "image/DecodeCost.h"
#include "image/DecodeLimits.h"
#include "image/RoundStep.h"
#include "image/RowSink.h"
#include "image/SaveType.h"
#include "image/ShrinkStep.h"

// What a streamed conversion writes.
struct StreamOutput {
    bool jpeg = false; // a JPEG of jpegQuality; else an 8-bit RGBA PNG
    u32 jpegQuality = kDefaultJpegQuality;
    bool keepAlpha = false; // the rounded and faded alpha stays (PNG only); else the background
    // Let a JPEG decoder skip detail that the shrink would only average away
    // (image/DecodeStream.h): faster, and the output differs from a full decode by less than the
    // eye sees.
    bool reduceWhileDecoding = false;
    // When set, takes every row of the decoded source while the conversion reads it (at the
    // decoder's reduced size when it reduced). Rows it missed show as a row count short at the
    // end; ReadRows then gives them all from the file again.
    CRowSink* sourceRows = nullptr;
};

// Where a streamed conversion failed, with the code, or the step's own id for the shrink and the
// rounding steps, as those steps report them.
struct StreamFailure {
    enum Stage { kNone, kLoad, kShrink, kRound, kSave };
    Stage stage = kNone;
    u32 errorId = 0;
    HResult code = 0;
    Size declared;    // the size the source's header declares, when it was read
    CDecodeCost cost; // what decoding the source needs, when its header passed the pixel limit
};

// Converts the encoded source with the settings of the two steps (their images are not used) into
// `out`. The pixels are those of shrinkStep, roundStep and FillBackground run on the decoded
// image and then encoded; where the resampling runs on a source with an alpha band whose every
// pixel is opaque, the colours may differ by a level or two, since the whole-image shrink takes
// the faster colour-only path for such an image. The load codes are DecodeImage's; a source that
// turns out damaged while its rows are read fails at the load stage. Any thread; `data` is only
// read.
HResult ConvertStream(const u8* data, size_t size, const CDecodeLimits& limits,
                      const CShrinkStep& shrinkStep, const CRoundStep& roundStep,
                      const StreamOutput& output, std::vector<u8>& out, StreamFailure& failure);

// Every row of the encoded source, decoded at its full size, handed to `sink` (Begin, then the
// rows top to bottom) on the calling thread. The load codes are DecodeImage's; a source that
// turns out damaged while its rows are read gives 0x80004001, with the rows read until then.
HResult ReadRows(const u8* data, size_t size, const CDecodeLimits& limits, CRowSink& sink);
