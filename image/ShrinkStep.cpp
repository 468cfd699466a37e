// The shrink step of a conversion: fits an image into a box, keeping its aspect, never enlarging.
#include "image/ShrinkStep.h"

#include <algorithm>

#include "image/Shrink.h"

void CShrinkStep::SetSettings(const ShrinkSettings& settings) {
    shrinkType = settings.shrinkType;
    shrinkWidth = settings.shrinkWidth;
    shrinkHeight = settings.shrinkHeight;
    customWidth = settings.customWidth;
    customHeight = settings.customHeight;
}

ShrinkSettings CShrinkStep::Settings() const {
    ShrinkSettings settings;
    settings.shrinkType = shrinkType;
    settings.shrinkWidth = shrinkWidth;
    settings.shrinkHeight = shrinkHeight;
    settings.customWidth = customWidth;
    settings.customHeight = customHeight;
    return settings;
}

void CShrinkStep::Run() {
    result.reset();
    errorId = 0;
    errorCode = 0;
    switch (shrinkType) {
    case shrinktype::kNone:
        result = source;
        return;
    case shrinktype::kCustom:
        FitSize(customWidth, customHeight, source);
        return;
    case shrinktype::kNamed:
        FitSize(shrinkWidth, shrinkHeight, source);
        return;
    default:
        errorId = strid::kUnknownShrinkType;
        errorCode = 0;
        return;
    }
}

namespace {

// The size of an image of imageWidth x imageHeight fitted into width x height: the image's own
// size when it fits already, so that it is never enlarged. strid::kShrinkSizeNotPositive for a box
// under one pixel.
u32 FitInto(i32 width, i32 height, i32 imageWidth, i32 imageHeight, Size& size) {
    size = Size{imageWidth, imageHeight};
    // Checked first, so that an image that fits is never enlarged.
    if (width >= imageWidth && height >= imageHeight)
        return 0;
    if (width < 1 || height < 1)
        return strid::kShrinkSizeNotPositive;
    size = Size{width, MulDiv(width, imageHeight, imageWidth)};
    if (size.cy > height) {
        size.cx = std::min(MulDiv(height, imageWidth, imageHeight), width);
        size.cy = height;
    }
    // A long thin image fitted into a small box keeps at least one pixel across.
    size.cx = std::max(size.cx, 1);
    size.cy = std::max(size.cy, 1);
    return 0;
}

} // namespace

u32 CShrinkStep::FittedSize(i32 imageWidth, i32 imageHeight, Size& size) const {
    switch (shrinkType) {
    case shrinktype::kNone:
        size = Size{imageWidth, imageHeight};
        return 0;
    case shrinktype::kCustom:
        return FitInto(customWidth, customHeight, imageWidth, imageHeight, size);
    case shrinktype::kNamed:
        return FitInto(shrinkWidth, shrinkHeight, imageWidth, imageHeight, size);
    default:
        return strid::kUnknownShrinkType;
    }
}

void CShrinkStep::FitSize(i32 width, i32 height, CDibPtr image) {
    const i32 imageWidth = image ? image->Width() : 0;
    const i32 imageHeight = image ? image->Height() : 0;
    Size size;
    errorId = FitInto(width, height, imageWidth, imageHeight, size);
    errorCode = 0;
    if (errorId != 0)
        return;
    if (size.cx == imageWidth && size.cy == imageHeight) {
        result = image;
        return;
    }
    CDibPtr resized;
    const HResult code = ResizeImage(resized, Rect{0, 0, size.cx, size.cy}, *image,
                                     Rect{0, 0, imageWidth, imageHeight});
    if (Failed(code)) {
        errorId = strid::kResizeFailed;
        errorCode = code;
        return;
    }
    result = resized;
}
