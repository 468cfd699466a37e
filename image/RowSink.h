// CRowSink: what takes a decoded image's rows while a streamed conversion reads them, so that a
// second product of the same source (the preview's copy) needs no second decode.
#pragma once

#include <vector>

#include "foundation/Types.h"

// Called with every row once, top to bottom, from one thread at a time (not always the same).
class CRowSink {
public:
    virtual ~CRowSink() = default;
    // Before the first row. `rows` is the size of what is decoded, which a JPEG decoder may have
    // reduced by `reduction` from the size the file declares, `declared`. Three bands are red,
    // green and blue; four add straight alpha.
    virtual void Begin(Size rows, i32 reduction, Size declared, i32 bands) = 0;
    // After Begin, before the first row: the ICC profile of the colour space whose numbers the
    // rows keep, as the source embeds it; empty for sRGB.
    virtual void TakeColourProfile(std::vector<u8> profile) { static_cast<void>(profile); }
    // After Begin, before the first row: the orientation that the source's tag states
    // (image/Orientation.h); the rows are those of the stored picture.
    virtual void TakeOrientation(u32 orientation) { static_cast<void>(orientation); }
    virtual void Row(const u8* pixels) = 0;
};
