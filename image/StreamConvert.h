// Converting one encoded image into an encoded output in a single pass over its rows: decode,
// shrink, round the corners and fade the edges, lay over the background, encode. No whole image
// is held in memory at any point. This is the conversion that both programs run.
#pragma once

#include <cstddef>
#include <vector>

#include "foundation/Types.h"
#include "image/DecodeCost.h"
#include "image/DecodeLimits.h"
#include "image/OutputChoice.h"
#include "image/RoundSettings.h"
#include "image/RowSink.h"
#include "image/ShrinkSettings.h"

// How a streamed conversion reads its source, besides what it writes.
struct StreamOptions {
    // Let a JPEG decoder skip detail that the shrink would only average away
    // (image/DecodeStream.h): faster, and the output differs from a full decode by less than the
    // eye sees.
    bool reduceWhileDecoding = false;
    // When set, takes every row of the decoded source while the conversion reads it (at the
    // decoder's reduced size when it reduced). Rows it missed show as a row count short at the
    // end; ReadRows then gives them all from the file again.
    CRowSink* sourceRows = nullptr;
};

// Where a streamed conversion failed, with the code, or the id of the failure for the shrink
// (FittedSize, image/Shrink.h) and the rounding.
struct StreamFailure {
    enum Stage { kNone, kLoad, kShrink, kRound, kSave };
    Stage stage = kNone;
    u32 errorId = 0;
    HResult code = 0;
    Size declared;    // the size the source's header declares, when it was read
    CDecodeCost cost; // what decoding the source needs, when its header passed the pixel limit
};

// Converts the encoded source with the shrink and round settings into the output chosen, in
// `out`. The pixels are those of the whole-image road (image/reference/WholeConversion.h) made on
// the decoded image and then encoded, byte for byte without a shrink; where the resampling runs on
// a source with an alpha band whose every pixel is opaque, the colours may differ by a level or
// two, since the whole-image resize takes the faster colour-only path for such an image. The
// round settings' own background fields are not read: the output choice holds them. The load
// codes are DecodeImage's (image/Decode.h); a source that turns out damaged while its rows are
// read fails at the load stage. Any thread; `data` is only read.
HResult ConvertStream(const u8* data, size_t size, const CDecodeLimits& limits,
                      const ShrinkSettings& shrink, const RoundSettings& round,
                      const OutputChoice& output, const StreamOptions& options,
                      std::vector<u8>& out, StreamFailure& failure);

// Every row of the encoded source, decoded at its full size, handed to `sink` (Begin, then the
// rows top to bottom) on the calling thread. The load codes are DecodeImage's; a source that
// turns out damaged while its rows are read gives 0x80004001, with the rows read until then.
HResult ReadRows(const u8* data, size_t size, const CDecodeLimits& limits, CRowSink& sink);
