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
    case 0:
        result = source;
        return;
    case 1:
        FitSize(customWidth, customHeight, source);
        return;
    case 2:
        FitSize(shrinkWidth, shrinkHeight, source);
        return;
    default:
        errorId = kUnknownType;
        errorCode = 0;
        return;
    }
}

void CShrinkStep::FitSize(i32 width, i32 height, CDibPtr image) {
    const i32 imageWidth = image ? image->Width() : 0;
    const i32 imageHeight = image ? image->Height() : 0;
    // Checked first, so that an image that fits is never enlarged.
    if (width >= imageWidth && height >= imageHeight) {
        result = image;
        return;
    }
    if (width < 1 || height < 1) {
        errorId = kZeroSize;
        errorCode = 0;
        return;
    }
    Size size{width, MulDiv(width, imageHeight, imageWidth)};
    if (size.cy > height) {
        size.cx = std::min(MulDiv(height, imageWidth, imageHeight), width);
        size.cy = height;
    }
    // A long thin image fitted into a small box keeps at least one pixel across.
    size.cx = std::max(size.cx, 1);
    size.cy = std::max(size.cy, 1);
    CDibPtr resized;
    const HResult code = ResizeImage(resized, Rect{0, 0, size.cx, size.cy}, *image,
                                     Rect{0, 0, imageWidth, imageHeight});
    if (Failed(code)) {
        errorId = kResizeFailed;
        errorCode = code;
        return;
    }
    result = resized;
}
