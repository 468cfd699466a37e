// The pixels of a QImage as the tests' one pixel type, for the tests of the painting code.
#pragma once

#include <QImage>

#include "support/PixelTestUtil.h"

namespace testutil {

inline Bgra PixelOf(const QImage& image, int x, int y) {
    const uchar* p = image.constScanLine(y) + x * 4;
    return {p[0], p[1], p[2], p[3]};
}

} // namespace testutil
