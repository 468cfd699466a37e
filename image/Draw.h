// Drawing one image into another with resampling: the stand-in for the scaling draw of the
// graphics library. Straight alpha in and out; the resampling works on premultiplied pixels.
// Any thread, after EnsureVipsStarted (image/VipsStart.h).
#pragma once

#include "foundation/Types.h"
#include "image/Dib.h"

// Interpolation modes, numbered as the logic names them.
namespace interp {
constexpr i32 kDefault = 0;
constexpr i32 kHighQuality = 2; // shrinking for output: Lanczos 3
constexpr i32 kNearestNeighbor = 5;
constexpr i32 kHighQualityBilinear = 6;
constexpr i32 kHighQualityBicubic = 7; // loading and painting: cubic
} // namespace interp

// Draws the src rectangle of `source` over the dst rectangle of `target` (both 32-bit), blending
// source over what the target holds. Returns false when either image is unusable or a rectangle
// has no area or does not lie inside its image.
bool DrawImageRect(const CDib& source, const Rect& src, CDib& target, const Rect& dst,
                   i32 interpolation);

// Makes `dib` a cleared 32-bit image of `size` and draws the src rectangle of `source` into it.
// 0x80070008 when the image cannot be made or the draw fails.
HResult DrawImageIntoDib(const CDib& source, const Rect& src, CDib& dib, Size size,
                         i32 interpolation);

// Gives `dst` the header of `src` with the new size and bit count, clears it and draws the srcRect
// of `src` into it. 0x80070008 when the image cannot be made, 0x80070057 when the draw fails.
HResult ScaleDib(const CDib& src, const Rect& srcRect, CDib& dst, Size size, u16 bitCount,
                 i32 interpolation);
