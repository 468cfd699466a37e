// Tests of the horizontal Lanczos pass: every byte against the kernel worked out in double
// precision, a plain colour kept exact at any factor, and the whole shrink's plain colour with it.
#include "image/LanczosAcross.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

#include "image/Draw.h"
#include "image/VipsStart.h"
#include "support/PixelTestUtil.h"

namespace {

double Lanczos3(double t) {
    auto sinc = [](double v) {
        return v == 0 ? 1.0 : std::sin(std::numbers::pi * v) / (std::numbers::pi * v);
    };
    return std::fabs(t) < 3 ? sinc(t) * sinc(t / 3) : 0.0;
}

// Output pixel x of one row of `bands` bands, as the kernel gives it in double precision with the
// edge pixels repeated.
double Expected(const std::vector<u8>& row, int bands, int band, int inWidth, double shrink,
                double offset, int x) {
    const double centre = (x + 0.5) * shrink - 0.5 + offset;
    double sum = 0, weights = 0;
    for (int i = static_cast<int>(std::ceil(centre - 3 * shrink));
         i <= static_cast<int>(std::floor(centre + 3 * shrink)); ++i) {
        const double w = Lanczos3((i - centre) / shrink);
        sum += w * row[static_cast<size_t>(std::clamp(i, 0, inWidth - 1) * bands + band)];
        weights += w;
    }
    return std::clamp(sum / weights, 0.0, 255.0);
}

std::vector<u8> Across(std::vector<u8>& pixels, int inWidth, int height, int bands, int width,
                       double shrink, double offset) {
    const vips::VImage in = vips::VImage::new_from_memory(pixels.data(), pixels.size(), inWidth,
                                                          height, bands, VIPS_FORMAT_UCHAR);
    size_t size = 0;
    void* memory = LanczosAcross(in, width, shrink, offset).write_to_memory(&size);
    std::vector<u8> out(static_cast<u8*>(memory), static_cast<u8*>(memory) + size);
    g_free(memory);
    return out;
}

} // namespace

TEST(LanczosAcrossTest, EveryByteIsTheKernelsAndAPlainColourStaysExact) {
    ASSERT_TRUE(EnsureVipsStarted());
    const struct {
        int inWidth, width, bands;
        double shrink, offset;
    } cases[] = {{97, 31, 3, 97.0 / 31, 0},
                 {200, 37, 4, 5.4, 0.25},
                 {64, 64, 3, 1.0, 0},
                 {10, 1, 3, 10.0, 0},
                 {450, 80, 4, 5.625, -0.5}};
    for (const auto& c : cases) {
        // Bytes that jump from dark to light and back, where the kernel's lobes overshoot.
        std::vector<u8> pixels(static_cast<size_t>(c.inWidth) * 2 * c.bands);
        u32 state = 12345;
        for (u8& v : pixels) {
            state = state * 1103515245u + 12345u;
            v = (state >> 16) % 3 == 0 ? 250 : static_cast<u8>((state >> 20) % 40);
        }
        const std::vector<u8> out =
            Across(pixels, c.inWidth, 2, c.bands, c.width, c.shrink, c.offset);
        ASSERT_EQ(out.size(), static_cast<size_t>(c.width) * 2 * c.bands);
        for (int y = 0; y < 2; ++y) {
            const std::vector<u8> row(pixels.begin() + y * c.inWidth * c.bands,
                                      pixels.begin() + (y + 1) * c.inWidth * c.bands);
            for (int x = 0; x < c.width; ++x) {
                for (int b = 0; b < c.bands; ++b) {
                    const double want = Expected(row, c.bands, b, c.inWidth, c.shrink, c.offset, x);
                    ASSERT_NEAR(out[static_cast<size_t>((y * c.width + x) * c.bands + b)], want,
                                1.0)
                        << c.inWidth << " x " << x << " band " << b;
                }
            }
        }
        std::vector<u8> plain(static_cast<size_t>(c.inWidth) * c.bands, 201);
        for (u8 v : Across(plain, c.inWidth, 1, c.bands, c.width, c.shrink, c.offset))
            ASSERT_EQ(v, 201) << c.inWidth;
    }

    // The whole shrink keeps a plain colour at a large factor, boxes and kernel together.
    const CDibPtr flat = testutil::Solid(1500, 1300, testutil::Bgra{200, 17, 99, 255});
    CDib small;
    ASSERT_EQ(
        DrawImageIntoDib(*flat, Rect{0, 0, 1500, 1300}, small, Size{40, 35}, interp::kHighQuality),
        hr::kOk);
    EXPECT_TRUE(testutil::PixelsNear(small, *testutil::Solid(40, 35, {200, 17, 99, 255}), 0));
}
