// Pixels for the tests: the one pixel type of the tests, images from a function or of one colour,
// comparison within a tolerance, and an image written through the reference's encoders.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/FileIo.h"
#include "foundation/Paths.h"
#include "image/Dib.h"
#include "image/SaveType.h"
#include "image/reference/BmpWriter.h"
#include "image/reference/WholeEncoders.h"

namespace testutil {

// Bytes blue, green, red, alpha, in the order of a 32-bit pixel in memory.
struct Bgra {
    u8 b = 0, g = 0, r = 0, a = 0;
    bool operator==(const Bgra&) const = default;
};

inline std::ostream& operator<<(std::ostream& os, const Bgra& p) {
    return os << "(b " << int(p.b) << ", g " << int(p.g) << ", r " << int(p.r) << ", a " << int(p.a)
              << ")";
}

// Every byte within tolerance of the expected one.
inline ::testing::AssertionResult Near(const Bgra& got, const Bgra& want, int tolerance) {
    if (std::abs(got.b - want.b) > tolerance || std::abs(got.g - want.g) > tolerance ||
        std::abs(got.r - want.r) > tolerance || std::abs(got.a - want.a) > tolerance)
        return ::testing::AssertionFailure() << "got " << got << ", want " << want;
    return ::testing::AssertionSuccess();
}

inline Bgra PixelOf(const CDib& dib, i32 x, i32 y) {
    const u8* p = dib.PixelAt(x, y);
    return {p[0], p[1], p[2], p[3]};
}

// The pixels of an image, rows from the top.
inline std::vector<Bgra> PixelsOf(const CDib& dib) {
    std::vector<Bgra> out;
    for (i32 y = 0; y < dib.Height(); ++y)
        for (i32 x = 0; x < dib.Width(); ++x)
            out.push_back(PixelOf(dib, x, y));
    return out;
}

inline u8 AlphaOf(const CDib& dib, i32 x, i32 y) {
    return dib.PixelAt(x, y)[3];
}

inline void SetPixel(CDib& dib, i32 x, i32 y, Bgra c) {
    u8* p = dib.PixelAt(x, y);
    p[0] = c.b;
    p[1] = c.g;
    p[2] = c.r;
    p[3] = c.a;
}

// A 32-bit image whose pixel (x, y), y from the top, is fn(x, y).
template <typename Fn> CDibPtr MakeDib(i32 width, i32 height, Fn fn) {
    CDibPtr dib(new CDib);
    if (!dib->Create32(width, height) || !dib->AllocBits())
        return {};
    for (i32 y = 0; y < height; ++y)
        for (i32 x = 0; x < width; ++x)
            SetPixel(*dib, x, y, fn(x, y));
    return dib;
}

// An image of one colour.
inline CDibPtr Solid(i32 width, i32 height, Bgra colour) {
    return MakeDib(width, height, [colour](i32, i32) { return colour; });
}

// An opaque image of one colour.
inline CDibPtr Solid(i32 width, i32 height, u8 b, u8 g, u8 r) {
    return Solid(width, height, Bgra{b, g, r, 255});
}

// How far apart two images of one size are over the first `channels` bytes of each pixel.
struct PixelDifference {
    int largest = 0;
    double mean = 0;
    double meanSquare = 0;
};
inline PixelDifference DifferenceOf(const CDib& a, const CDib& b, int channels = 4) {
    PixelDifference out;
    for (i32 y = 0; y < a.Height(); ++y)
        for (i32 x = 0; x < a.Width(); ++x)
            for (int c = 0; c < channels; ++c) {
                const int d = std::abs(a.PixelAt(x, y)[c] - b.PixelAt(x, y)[c]);
                out.largest = std::max(out.largest, d);
                out.mean += d;
                out.meanSquare += d * d;
            }
    const double count = static_cast<double>(channels) * a.Width() * a.Height();
    out.mean /= count;
    out.meanSquare /= count;
    return out;
}

// Same size and every channel of every pixel within `tolerance`.
inline ::testing::AssertionResult PixelsNear(const CDib& actual, const CDib& expected,
                                             int tolerance) {
    if (actual.Width() != expected.Width() || actual.Height() != expected.Height())
        return ::testing::AssertionFailure()
               << "size " << actual.Width() << "x" << actual.Height() << ", expected "
               << expected.Width() << "x" << expected.Height();
    for (i32 y = 0; y < actual.Height(); ++y) {
        for (i32 x = 0; x < actual.Width(); ++x) {
            if (!Near(PixelOf(actual, x, y), PixelOf(expected, x, y), tolerance))
                return ::testing::AssertionFailure()
                       << "pixel (" << x << ", " << y << ") is " << PixelOf(actual, x, y)
                       << ", expected " << PixelOf(expected, x, y);
        }
    }
    return ::testing::AssertionSuccess();
}

// Writes the image as a file of the MIME type ("image/png", "image/jpeg" at the default quality,
// or "image/bmp") through the encoders of the whole-image reference, which write what the programs
// write; false when the type is none of them or the write fails.
inline bool SaveImage(const CDib& dib, const std::wstring& mime,
                      const std::filesystem::path& path) {
    std::vector<u8> bytes;
    HResult code = hr::kFail;
    if (mime == L"image/png")
        code = EncodePng(dib, true, bytes);
    else if (mime == L"image/jpeg")
        code = EncodeJpeg(dib, kDefaultJpegQuality, bytes);
    else if (mime == L"image/bmp")
        code = EncodeBmp(dib, true, bytes);
    return Succeeded(code) &&
           WriteFileAtomically(FromFileSystemPath(path.string()), bytes.data(), bytes.size()) == 0;
}

} // namespace testutil
