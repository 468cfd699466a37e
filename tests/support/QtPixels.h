// Reading and comparing pixels of a QImage in the tests of the painting code.
#pragma once

#include <array>
#include <cstdlib>

#include <QImage>
#include <gtest/gtest.h>

// Bytes blue, green, red, alpha, as ints so that differences can be taken.
using Bgra = std::array<int, 4>;

inline Bgra PixelOf(const QImage& image, int x, int y) {
    const uchar* p = image.constScanLine(y) + x * 4;
    return {p[0], p[1], p[2], p[3]};
}

// Every byte within tolerance of the expected one.
inline ::testing::AssertionResult Near(const Bgra& got, const Bgra& want, int tolerance) {
    for (int c = 0; c < 4; ++c) {
        if (std::abs(got[c] - want[c]) > tolerance)
            return ::testing::AssertionFailure()
                   << "got " << got[0] << "," << got[1] << "," << got[2] << "," << got[3]
                   << " want " << want[0] << "," << want[1] << "," << want[2] << "," << want[3];
    }
    return ::testing::AssertionSuccess();
}
