// Resizing an image into a new one, and the rounding multiply-divide that sizes are worked out by.
#include "image/Shrink.h"

#include <cstdlib>

#include "image/Draw.h"

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

HResult ResizeImage(CDibPtr& result, const Rect& dst, const CDib& source, const Rect& src) {
    if (!IsDib32(source)) {
        return hr::kNotEnoughMemory;
    }
    BitmapInfoHeader header = *source.Header();
    header.biWidth = dst.right - dst.left;
    header.biHeight = dst.bottom - dst.top;
    header.biBitCount = 32;
    header.biCompression = 0;
    header.biSizeImage = 0;

    CDibPtr target(new CDib);
    if (!target->CreateFromHeader(&header)) {
        return hr::kNotEnoughMemory;
    }
    // A target of no area has no bits to allocate; the draw below refuses it.
    if (target->GetSizeImage() > 0) {
        if (!target->AllocBits()) {
            return hr::kNotEnoughMemory;
        }
        target->ClearBits();
    }
    if (!DrawImageRect(source, src, *target, dst, interp::kHighQuality)) {
        return hr::kNotImpl;
    }
    target->SetColourProfile(source.ColourProfile());
    result = target;
    return hr::kOk;
}
