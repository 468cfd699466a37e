// Whether a converted image keeps its rounded and faded alpha or has the background colour laid
// under it: one rule for the encoder choice, the conversion, the streamed conversion and the
// preview.
#pragma once

#include "foundation/Types.h"
#include "image/SaveType.h"

// Whether the format saved for saveType holds alpha: PNG, which is also what any value other than
// savetype::kBmp and savetype::kJpeg is saved as.
constexpr bool FormatKeepsAlpha(u32 saveType) {
    return saveType != savetype::kBmp && saveType != savetype::kJpeg;
}

// Whether the result keeps its alpha: the round settings ask for a transparent background and the
// output format holds alpha (formatKeepsAlpha, as FormatKeepsAlpha tells it). Otherwise the
// background colour fills every pixel that is not opaque.
constexpr bool KeepsAlpha(bool transparent, bool formatKeepsAlpha) {
    return transparent && formatKeepsAlpha;
}
