// Background fill: lays an image over an opaque colour, so that every pixel ends opaque.
#pragma once

#include "foundation/Types.h"
#include "image/Dib.h"

// A COLORREF (0x00BBGGRR) as an opaque ARGB value (0xFFRRGGBB); its top byte is dropped.
u32 ColorRefToArgb(u32 color);

// A colour byte s of alpha a laid over the opaque colour byte c, rounded to the nearest.
inline u8 BlendOverByte(u32 s, u32 a, u32 c) {
    return static_cast<u8>((s * a + c * (255 - a) + 127) / 255);
}

// Fills `target` with `color` and blends `source` over it from (0, 0): each colour byte becomes
// (s * a + c * (255 - a) + 127) / 255, the source byte s weighed by the source alpha a against the
// colour byte c, rounded to the nearest; alpha becomes 255. Where the images differ in size only
// their common part is blended. 0x8007000E when either image is not 32 bits per pixel.
HResult CompositeOver(CDib& target, const CDib& source, u32 color);

// A new opaque image in `result`: `source` laid over `color` (a COLORREF). 0x80070057 for a
// source that is not 32 bits per pixel, 0x8007000E (with `result` empty) when the new image cannot
// be made. Any thread; the source is only read.
HResult FillBackground(CDibPtr& result, const CDib& source, u32 color);
