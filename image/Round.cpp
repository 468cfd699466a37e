// Rounded corners: the corner mask by exact area, and its use on the four corners of an image.
#include "image/Round.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

// Area under the arc v = b * sqrt(1 - (t / a)^2) for t from 0 to u, with u clamped to [0, a].
double AreaUnderArc(double u, double a, double b) {
    u = std::clamp(u, 0.0, a);
    return (b / a) * (0.5 * u * std::sqrt(a * a - u * u) + 0.5 * a * a * std::asin(u / a));
}

// The u at which the arc has height v, for 0 <= v; 0 at and above the top of the arc.
double ArcReach(double v, double a, double b) {
    if (v >= b) {
        return 0.0;
    }
    const double s = v / b;
    return a * std::sqrt(1.0 - s * s);
}

struct Corner {
    i32 x;
    i32 y;
    bool flipX;
    bool flipY;
};

} // namespace

HResult CopyDib32(CDibPtr& result, const CDib& source) {
    result.reset();
    if (!IsDib32(source)) {
        return hr::kInvalidArg;
    }
    CDibPtr copy(new CDib);
    if (!copy->Create32(source.Width(), source.Height()) || !copy->AllocBits()) {
        return hr::kOutOfMemory;
    }
    const u32 size = std::min(copy->GetSizeImage(), source.GetSizeImage());
    if (size > 0) {
        std::memcpy(copy->Bits(), source.Bits(), size);
    }
    copy->SetColourProfile(source.ColourProfile());
    result = copy;
    return hr::kOk;
}

HResult RoundCorners(CDib& image, bool topLeft, bool bottomLeft, bool bottomRight, bool topRight,
                     double radiusX, double radiusY) {
    if (!IsDib32(image)) {
        return hr::kInvalidArg;
    }
    const i32 width = image.Width();
    const i32 height = image.Height();
    const double rx = std::min(static_cast<double>(width / 2), radiusX);
    const double ry = std::min(static_cast<double>(height / 2), radiusY);
    // A radius of 0 or less (or not a number) leaves no mask pixel.
    if (!(rx > 0.0) || !(ry > 0.0)) {
        return hr::kOk;
    }
    const i32 w = static_cast<i32>(std::ceil(rx));
    const i32 h = static_cast<i32>(std::ceil(ry));

    CDib mask;
    if (!mask.Create32(w, h) || !mask.AllocBits()) {
        return hr::kOutOfMemory;
    }
    const HResult drawn = DrawCornerMask(mask, rx, ry);
    if (Failed(drawn)) {
        return drawn;
    }

    // The one mask serves every corner: the corner is walked backwards instead of the mask being
    // flipped.
    const bool chosen[4] = {topLeft, bottomLeft, bottomRight, topRight};
    const Corner corners[4] = {{0, 0, false, false},
                               {0, height - 1, false, true},
                               {width - 1, height - 1, true, true},
                               {width - 1, 0, true, false}};
    for (int k = 0; k < 4; ++k) {
        if (!chosen[k]) {
            continue;
        }
        const Corner& c = corners[k];
        ApplyCornerMask(mask, MakePixelRange(image, c.x, c.y, static_cast<u32>(w),
                                             static_cast<u32>(h), c.flipX, c.flipY));
    }
    return hr::kOk;
}

double QuarterEllipseArea(double u0, double u1, double v0, double v1, double a, double b) {
    u0 = std::max(u0, 0.0);
    v0 = std::max(v0, 0.0);
    if (!(u1 > u0) || !(v1 > v0) || !(a > 0.0) || !(b > 0.0)) {
        return 0.0;
    }
    // Up to uFull the arc is above v1 and the whole column of the rectangle is inside; from there
    // to uNone the arc crosses the rectangle; beyond uNone it lies below v0.
    const double uFull = ArcReach(v1, a, b);
    const double uNone = ArcReach(v0, a, b);
    double area = (v1 - v0) * std::max(0.0, std::min(u1, uFull) - u0);
    const double from = std::max(u0, uFull);
    const double to = std::min(u1, uNone);
    if (to > from) {
        area += AreaUnderArc(to, a, b) - AreaUnderArc(from, a, b) - v0 * (to - from);
    }
    return area;
}

HResult DrawCornerMask(CDib& mask, double rx, double ry) {
    if (!IsDib32(mask)) {
        return hr::kOutOfMemory;
    }
    const double a = rx + 1.0;
    const double b = ry + 1.0;
    const i32 w = mask.Width();
    const i32 h = mask.Height();
    for (i32 j = 0; j < h; ++j) {
        // Distances from the ellipse's centre, which lies right of and below every mask pixel.
        const double v0 = b - j - 0.5;
        const double v1 = v0 + 1.0;
        u8* pixel = mask.PixelAt(0, j);
        for (i32 i = 0; i < w; ++i, pixel += 4) {
            const double u0 = a - i - 0.5;
            const double share = QuarterEllipseArea(u0, u0 + 1.0, v0, v1, a, b);
            const u8 m = static_cast<u8>(std::clamp(std::floor(share * 255.0 + 0.5), 0.0, 255.0));
            pixel[0] = m;
            pixel[1] = m;
            pixel[2] = m;
            pixel[3] = 255;
        }
    }
    return hr::kOk;
}

HResult ApplyCornerMask(const CDib& mask, const CPixelRangePair& range) {
    const CPixelRange& begin = range.first;
    if (begin.lineStep == 0 || begin.first == nullptr || !IsDib32(mask)) {
        return hr::kOk;
    }
    const std::ptrdiff_t lines = (range.second.first - begin.first) / begin.lineStep;
    const i32 rows = std::min<i32>(static_cast<i32>(lines), mask.Height());
    const i32 columns = std::min<i32>(static_cast<i32>(begin.pixelsPerLine), mask.Width());
    for (i32 j = 0; j < rows; ++j) {
        const u8* m = mask.PixelAt(0, j);
        u8* line = begin.first + static_cast<std::ptrdiff_t>(j) * begin.lineStep;
        for (i32 i = 0; i < columns; ++i, m += 4) {
            if (*m == 255) {
                continue;
            }
            u8* alpha = line + static_cast<std::ptrdiff_t>(i) * begin.pixelStep + 3;
            *alpha = MaskedAlpha(*alpha, *m);
        }
    }
    return hr::kOk;
}
