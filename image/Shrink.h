// The size that a shrink fits an image into, and the rounding multiply-divide that sizes are
// worked out by. Any thread: plain arithmetic.
#pragma once

#include "foundation/Types.h"
#include "image/ShrinkSettings.h"

// number * numerator / denominator with a 64-bit product and the quotient rounded to the nearest
// whole number, halves away from zero. -1 when the denominator is 0 or the quotient does not fit
// in 32 bits.
i32 MulDiv(i32 number, i32 numerator, i32 denominator);

// The size that the shrink gives an image of `image`, in `fitted`, keeping its aspect and never
// enlarging it: shrinktype::kNone and an image that fits its box keep their own size, and a long
// thin image keeps at least one pixel across. 0, or the id of the failure:
// strid::kShrinkSizeNotPositive for a box under one pixel, strid::kUnknownShrinkType for a type
// outside shrinktype::.
u32 FittedSize(const ShrinkSettings& shrink, Size image, Size& fitted);
