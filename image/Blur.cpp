// Edge blur: the fade table, the two passes over corner blocks and edge strips, the arc distance.
#include "image/Blur.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "image/Round.h"

namespace {

constexpr i32 kMaxCount = 1 << 30;

// min(p, q) that leaves out a measure without a value; for two numbers it is p < q ? p : q.
double MinDefined(double p, double q) {
    if (std::isnan(q)) {
        return p;
    }
    if (std::isnan(p)) {
        return q;
    }
    return p < q ? p : q;
}

// sqrt((1 - (t / p)^2) * q^2): the height of the ellipse of semi-axes p (along t) and q at t.
double ArcRoot(double t, double p, double q) {
    const double s = t / p;
    return std::sqrt((1.0 - s * s) * (q * q));
}

double RadialDistance(double dx, double dy, double a, double b) {
    const double theta = std::atan2(dy, dx);
    const double ca = std::cos(theta) * a;
    const double sb = std::sin(theta) * b;
    return std::sqrt(ca * ca + sb * sb) - std::sqrt(dx * dx + dy * dy);
}

// Calls fn(index, line) for each line of the range, index counted from 0.
template <typename Fn> void ForEachLine(const CPixelRangePair& range, Fn&& fn) {
    const CPixelRange& begin = range.first;
    if (begin.lineStep == 0 || begin.first == nullptr) {
        return;
    }
    const std::ptrdiff_t lines = (range.second.first - begin.first) / begin.lineStep;
    for (std::ptrdiff_t k = 0; k < lines; ++k) {
        fn(static_cast<i32>(k), begin.first + k * begin.lineStep);
    }
}

inline void CapAlpha(u8* pixel, u8 cap) {
    if (pixel[3] > cap) {
        pixel[3] = cap;
    }
}

} // namespace

i32 CeilCount(double v) {
    if (!(v > 0.0)) {
        return 0;
    }
    if (v >= kMaxCount) {
        return kMaxCount;
    }
    return static_cast<i32>(std::ceil(v));
}

double FadeValue(double d, double b) {
    const double e = d + 1.0;
    if (0.0 >= e) {
        return 0.0;
    }
    if (0.0 > d) {
        // For a width below 1 a pixel that straddles the rim can give more than full alpha, or an
        // infinite value at width 0: it is held at full alpha, which the corner mask then cuts.
        const double value = e / b * e * 0.5;
        return std::isfinite(value) && value <= 1.0 ? value : 1.0;
    }
    if (b >= e) {
        return (d + 0.5) / b;
    }
    if (d >= b) {
        return 1.0;
    }
    return (d / b + 1.0) * (b - d) * 0.5 + (e - b);
}

u8 FadeCap(double value) {
    if (std::isnan(value) || value >= 1.0) {
        return 255;
    }
    if (value <= 0.0) {
        return 0;
    }
    return static_cast<u8>(static_cast<int>(value * 255.0));
}

u8 FadeByte(const FadeTable& table, i32 index) {
    if (index < 0) {
        return 0;
    }
    if (static_cast<size_t>(index) >= table.size()) {
        return 255;
    }
    return FadeCap(table[static_cast<size_t>(index)]);
}

void BuildFadeTable(FadeTable& table, double width, i32 limit) {
    const i32 n = std::min(CeilCount(width), std::max(limit, 0));
    table.resize(static_cast<size_t>(n));
    for (i32 i = 0; i < n; ++i) {
        table[static_cast<size_t>(i)] = FadeValue(i, width);
    }
}

double ArcDistance(double dx, double dy, double a, double b) {
    const double radial = RadialDistance(dx, dy, a, b);
    const double vertical = ArcRoot(dx, a, b) - dy;
    const double horizontal = ArcRoot(dy, b, a) - dx;
    return MinDefined(radial, MinDefined(vertical, horizontal));
}

void FadeStrip(i32 first, i32 last, const FadeTable& table, const CPixelRangePair& range) {
    const CPixelRange& begin = range.first;
    ForEachLine(range, [&](i32 k, u8* line) {
        const i32 index = first + k;
        if (index >= last) {
            return;
        }
        const u8 cap = FadeByte(table, index);
        if (cap == 255) {
            return;
        }
        u8* pixel = line;
        for (u32 i = 0; i < begin.pixelsPerLine; ++i, pixel += begin.pixelStep) {
            CapAlpha(pixel, cap);
        }
    });
}

void FadeSquareBlock(i32 x0, i32 x1, i32 y0, i32 y1, const FadeTable& table,
                     const CPixelRangePair& range) {
    const CPixelRange& begin = range.first;
    const i32 columns = std::min(x1 - x0, static_cast<i32>(begin.pixelsPerLine));
    ForEachLine(range, [&](i32 k, u8* line) {
        const i32 y = y0 + k;
        if (y >= y1) {
            return;
        }
        const u8 rowCap = FadeByte(table, y);
        u8* pixel = line;
        for (i32 i = 0; i < columns; ++i, pixel += begin.pixelStep) {
            const i32 x = x0 + i;
            CapAlpha(pixel, x < y ? FadeByte(table, x) : rowCap);
        }
    });
}

void FadeRoundedBlock(i32 w, i32 h, const CPixelRangePair& range, double rx, double ry, double b) {
    const CPixelRange& begin = range.first;
    const i32 columns = std::min(w, static_cast<i32>(begin.pixelsPerLine));
    if (columns <= 0) {
        return;
    }
    const double a = rx - 1.0;
    const double c = ry - 1.0;
    // The vertical measure's root depends on the column only, the horizontal one's on the row.
    std::vector<double> columnRoot(static_cast<size_t>(columns));
    for (i32 i = 0; i < columns; ++i) {
        columnRoot[static_cast<size_t>(i)] = ArcRoot(a - i, a, c);
    }
    ForEachLine(range, [&](i32 j, u8* line) {
        if (j >= h) {
            return;
        }
        const double dy = c - j;
        const double rowRoot = ArcRoot(dy, c, a);
        u8* pixel = line;
        for (i32 i = 0; i < columns; ++i, pixel += begin.pixelStep) {
            const double dx = a - i;
            const double vertical = columnRoot[static_cast<size_t>(i)] - dy;
            const double horizontal = rowRoot - dx;
            const double d =
                MinDefined(RadialDistance(dx, dy, a, c), MinDefined(vertical, horizontal));
            CapAlpha(pixel, FadeCap(FadeValue(d, b)));
        }
    });
}

void BlurPass(CDib& image, i32 x0, i32 y0, i32 w, i32 h, const FadeTable& table,
              const CornerFlags& corners, const EdgeFlags& edges, double rx, double ry, double b) {
    w = std::max(w, 0);
    h = std::max(h, 0);
    const i32 width = image.Width();
    const i32 height = image.Height();
    const u32 uw = static_cast<u32>(w);
    const u32 uh = static_cast<u32>(h);

    struct Block {
        bool on;
        i32 x;
        i32 y;
        bool flipX;
        bool flipY;
        bool rounded;
    };
    const Block blocks[4] = {
        {edges.left && edges.top, x0, y0, false, false, corners.topLeft},
        {edges.left && edges.bottom, x0, height - y0 - 1, false, true, corners.bottomLeft},
        {edges.right && edges.bottom, width - x0 - 1, height - y0 - 1, true, true,
         corners.bottomRight},
        {edges.right && edges.top, width - x0 - 1, y0, true, false, corners.topRight}};
    for (const Block& block : blocks) {
        if (!block.on || w == 0 || h == 0) {
            continue;
        }
        const CPixelRangePair range =
            MakePixelRange(image, block.x, block.y, uw, uh, block.flipX, block.flipY);
        if (block.rounded) {
            FadeRoundedBlock(w, h, range, rx, ry, b);
        } else {
            FadeSquareBlock(x0, x0 + w, y0, y0 + h, table, range);
        }
    }

    // A margin is the size of the block at that end, so the strips start where the blocks end.
    const i32 marginLeft = edges.left ? w : 0;
    const i32 marginRight = edges.right ? w : 0;
    const i32 marginTop = edges.top ? h : 0;
    const i32 marginBottom = edges.bottom ? h : 0;
    const i32 across = width - marginRight - marginLeft;
    const i32 down = height - marginBottom - marginTop;
    if (across > 0 && h > 0) {
        const u32 length = static_cast<u32>(across);
        if (edges.top) {
            FadeStrip(y0, y0 + h, table,
                      MakePixelRange(image, marginLeft, y0, length, uh, false, false));
        }
        if (edges.bottom) {
            FadeStrip(y0, y0 + h, table,
                      MakePixelRange(image, marginLeft, height - y0 - 1, length, uh, false, true));
        }
    }
    if (down > 0 && w > 0) {
        const u32 length = static_cast<u32>(down);
        if (edges.left) {
            FadeStrip(x0, x0 + w, table, MakeColumnRange(image, x0, marginTop, uw, length, false));
        }
        if (edges.right) {
            FadeStrip(x0, x0 + w, table,
                      MakeColumnRange(image, width - x0 - 1, marginTop, uw, length, true));
        }
    }
}

HResult BlurEdges(CDib& image, bool topLeft, bool bottomLeft, bool bottomRight, bool topRight,
                  bool left, bool top, bool right, bool bottom, double radiusX, double radiusY,
                  double width) {
    if (!IsDib32(image)) {
        return hr::kInvalidArg;
    }
    const i32 imageWidth = image.Width();
    const i32 imageHeight = image.Height();
    const double rx = std::min(static_cast<double>(imageWidth / 2), radiusX);
    const double ry = std::min(static_cast<double>(imageHeight / 2), radiusY);
    const i32 cx = CeilCount(rx);
    const i32 cy = CeilCount(ry);
    const i32 bw = CeilCount(width);
    // No pass reaches beyond the middle: ceil(W / 2) and ceil(H / 2).
    const i32 halfWidth = imageWidth / 2 + imageWidth % 2;
    const i32 halfHeight = imageHeight / 2 + imageHeight % 2;

    FadeTable table;
    BuildFadeTable(table, width, std::max(halfWidth, halfHeight));

    const CornerFlags corners{topLeft, bottomLeft, bottomRight, topRight};
    const EdgeFlags edges{left, top, right, bottom};
    BlurPass(image, 0, 0, cx, cy, table, corners, edges, rx, ry, width);

    const EdgeFlags outer{left && bw > cx, top && bw > cy, right && bw > cx, bottom && bw > cy};
    BlurPass(image, cx, cy, std::min(bw, halfWidth) - cx, std::min(bw, halfHeight) - cy, table,
             CornerFlags{}, outer, rx, ry, width);
    return hr::kOk;
}
