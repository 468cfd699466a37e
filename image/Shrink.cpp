// The fitted size of a shrink and the rounding multiply-divide.
#include "image/Shrink.h"

#include <algorithm>
#include <cstdlib>

#include "resources/StringIds.h"

namespace {

// The size of an image fitted into width x height: its own size when it fits already.
u32 FitInto(i32 width, i32 height, Size image, Size& size) {
    size = image;
    // Checked first, so that an image that fits is never enlarged.
    if (width >= image.cx && height >= image.cy)
        return 0;
    if (width < 1 || height < 1)
        return strid::kShrinkSizeNotPositive;
    size = Size{width, MulDiv(width, image.cy, image.cx)};
    if (size.cy > height) {
        size.cx = std::min(MulDiv(height, image.cx, image.cy), width);
        size.cy = height;
    }
    size.cx = std::max(size.cx, 1);
    size.cy = std::max(size.cy, 1);
    return 0;
}

} // namespace

i32 MulDiv(i32 number, i32 numerator, i32 denominator) {
    if (denominator == 0) {
        return -1;
    }
    const i64 product = static_cast<i64>(number) * numerator;
    const i64 divisor = std::llabs(static_cast<i64>(denominator));
    const bool negative = (product < 0) != (denominator < 0);
    const i64 magnitude = std::llabs(product);
    const i64 quotient = (magnitude + divisor / 2) / divisor;
    const i64 value = negative ? -quotient : quotient;
    if (value > 2147483647LL || value < -2147483647LL) {
        return -1;
    }
    return static_cast<i32>(value);
}

u32 FittedSize(const ShrinkSettings& shrink, Size image, Size& fitted) {
    switch (shrink.shrinkType) {
    case shrinktype::kNone:
        fitted = image;
        return 0;
    case shrinktype::kCustom:
        return FitInto(shrink.customWidth, shrink.customHeight, image, fitted);
    case shrinktype::kNamed:
        return FitInto(shrink.shrinkWidth, shrink.shrinkHeight, image, fitted);
    default:
        return strid::kUnknownShrinkType;
    }
}
