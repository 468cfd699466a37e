// Resizing an image into a new one, and the rounding multiply-divide that sizes are worked out by.
#pragma once

#include "foundation/Types.h"
#include "image/Dib.h"

// number * numerator / denominator with a 64-bit product and the quotient rounded to the nearest
// whole number, halves away from zero. -1 when the denominator is 0 or the quotient does not fit
// in 32 bits.
i32 MulDiv(i32 number, i32 numerator, i32 denominator);

// Draws the src rectangle of `source` into a new, cleared 32-bit image the size of dst, with
// high-quality resampling; the image takes the header of `source` with the new size. Alpha is
// resampled with the colour. 0x80070008 when the source cannot be used or the new image cannot be
// made, 0x80004001 when the draw fails (for example a target of no area). `result` is set only on
// success. Any thread; the source is only read.
HResult ResizeImage(CDibPtr& result, const Rect& dst, const CDib& source, const Rect& src);
