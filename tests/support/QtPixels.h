// The pixels of a QImage as the tests' one pixel type, for the tests of the painting code.
#pragma once

#include <initializer_list>
#include <sstream>

#include <QImage>
#include <QPoint>

#include "support/PixelTestUtil.h"

namespace testutil {

inline Bgra PixelOf(const QImage& image, int x, int y) {
    const uchar* p = image.constScanLine(y) + x * 4;
    return {p[0], p[1], p[2], p[3]};
}

// A pixel that a point of an image should hold.
struct PixelAt {
    int x, y;
    Bgra pixel;
};

// Whether every point holds its pixel within tolerance; the points are given in the coordinates
// of a surface whose top-left corner is origin. A failure names every point that differs.
inline ::testing::AssertionResult PixelsAt(const QImage& image,
                                           std::initializer_list<PixelAt> points, int tolerance = 0,
                                           QPoint origin = {}) {
    std::ostringstream misses;
    for (const PixelAt& p : points) {
        const Bgra got = PixelOf(image, p.x - origin.x(), p.y - origin.y());
        if (!Near(got, p.pixel, tolerance))
            misses << "(" << p.x << "," << p.y << ") is " << got << ", not " << p.pixel << "; ";
    }
    if (misses.str().empty())
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << misses.str();
}

} // namespace testutil
