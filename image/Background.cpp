// Background fill: lays an image over an opaque colour, so that every pixel ends opaque.
#include "image/Background.h"

#include <algorithm>

u32 ColorRefToArgb(u32 color) {
    const u32 red = color & 0xFF;
    const u32 green = (color >> 8) & 0xFF;
    const u32 blue = (color >> 16) & 0xFF;
    return 0xFF000000u | (red << 16) | (green << 8) | blue;
}

HResult CompositeOver(CDib& target, const CDib& source, u32 color) {
    if (!IsDib32(target) || !IsDib32(source)) {
        return hr::kOutOfMemory;
    }
    // Pixel bytes are blue, green, red, alpha.
    const u32 argb = ColorRefToArgb(color);
    const u8 fill[4] = {static_cast<u8>(argb & 0xFF), static_cast<u8>((argb >> 8) & 0xFF),
                        static_cast<u8>((argb >> 16) & 0xFF), 255};
    const i32 width = target.Width();
    const i32 height = target.Height();
    const i32 commonWidth = std::min(width, source.Width());
    const i32 commonHeight = std::min(height, source.Height());
    for (i32 y = 0; y < height; ++y) {
        u8* out = target.PixelAt(0, y);
        const u8* in = y < commonHeight ? source.PixelAt(0, y) : nullptr;
        for (i32 x = 0; x < width; ++x, out += 4) {
            if (in == nullptr || x >= commonWidth) {
                std::copy(fill, fill + 4, out);
                continue;
            }
            const u32 a = in[3];
            for (int k = 0; k < 3; ++k) {
                out[k] = BlendOverByte(in[k], a, fill[k]);
            }
            out[3] = 255;
            in += 4;
        }
    }
    return hr::kOk;
}

HResult FillBackground(CDibPtr& result, const CDib& source, u32 color) {
    result.reset();
    if (!IsDib32(source)) {
        return hr::kInvalidArg;
    }
    CDibPtr filled(new CDib);
    if (!filled->Create32(source.Width(), source.Height()) || !filled->AllocBits()) {
        return hr::kOutOfMemory;
    }
    const HResult code = CompositeOver(*filled, source, color);
    if (Failed(code)) {
        return code;
    }
    filled->SetColourProfile(source.ColourProfile());
    result = filled;
    return hr::kOk;
}
