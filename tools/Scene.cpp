// The landscape painter: each pixel is worked out from a few layered shapes and value noise.
#include "tools/Scene.h"

#include <algorithm>
#include <cmath>

namespace {

struct Rgb {
    double r, g, b;
};

Rgb Mix(const Rgb& a, const Rgb& b, double t) {
    return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t};
}

Rgb Scale(const Rgb& c, double k) {
    return {c.r * k, c.g * k, c.b * k};
}

double Clamp01(double v) {
    return std::clamp(v, 0.0, 1.0);
}

double SmoothStep(double e0, double e1, double x) {
    const double t = Clamp01((x - e0) / (e1 - e0));
    return t * t * (3 - 2 * t);
}

u32 Hash(i32 x, i32 y, u32 variant) {
    u32 h = static_cast<u32>(x) * 0x8DA6B343u ^ static_cast<u32>(y) * 0xD8163841u ^
            variant * 0xCB1AB31Fu;
    h ^= h >> 13;
    h *= 0x5BD1E995u;
    h ^= h >> 15;
    return h;
}

double Hash01(i32 x, i32 y, u32 variant) {
    return (Hash(x, y, variant) & 0xFFFFFF) / 16777216.0;
}

// Smooth noise in [0, 1) on a unit lattice.
double ValueNoise(double x, double y, u32 variant) {
    const double fx = std::floor(x), fy = std::floor(y);
    const i32 ix = static_cast<i32>(fx), iy = static_cast<i32>(fy);
    double tx = x - fx, ty = y - fy;
    tx = tx * tx * (3 - 2 * tx);
    ty = ty * ty * (3 - 2 * ty);
    const double a = Hash01(ix, iy, variant), b = Hash01(ix + 1, iy, variant);
    const double c = Hash01(ix, iy + 1, variant), d = Hash01(ix + 1, iy + 1, variant);
    return a + (b - a) * tx + (c - a) * ty + (a - b - c + d) * tx * ty;
}

double Fbm(double x, double y, u32 variant, int octaves) {
    double sum = 0, amp = 0.5, norm = 0;
    for (int i = 0; i < octaves; ++i) {
        sum += amp * ValueNoise(x, y, variant + i * 101);
        norm += amp;
        x *= 2.03;
        y *= 2.03;
        amp *= 0.5;
    }
    return sum / norm;
}

// The picture in unit coordinates: u across, v down; `aspect` is width / height.
class CPainter {
public:
    CPainter(i32 width, i32 height, u32 variant)
        : width_(width), height_(height), aspect_(static_cast<double>(width) / height),
          variant_(variant) {}

    Rgb Pixel(double u, double v) const {
        Rgb c = v < kHorizon ? Land(u, v) : (v < ShoreLine(u) ? Lake(u, v) : Shore(u, v));
        return Branch(u, v, c);
    }

private:
    static constexpr double kHorizon = 0.62;

    double FarRidge(double u) const {
        return 0.47 + 0.05 * std::sin(u * 7.1 + 1.3) + 0.025 * std::sin(u * 17.3 + 0.4) +
               0.02 * (Fbm(u * 9, 3.5, variant_ + 11, 3) - 0.5);
    }

    double NearRidge(double u) const {
        return 0.55 + 0.045 * std::sin(u * 4.3 + 2.1) + 0.02 * std::sin(u * 13.7) +
               0.015 * (Fbm(u * 14, 7.5, variant_ + 12, 3) - 0.5);
    }

    double ShoreLine(double u) const {
        return 0.86 + 0.03 * std::sin(u * 5.5 + 0.7) + 0.01 * std::sin(u * 23.0);
    }

    Rgb Sky(double u, double v) const {
        const Rgb zenith{0.16, 0.33, 0.66}, haze{0.78, 0.86, 0.93};
        Rgb c = Mix(zenith, haze, std::pow(Clamp01(v / kHorizon), 1.6));
        // The sun with a soft glow.
        const double dx = (u - 0.74) * aspect_, dy = v - 0.2;
        const double d = std::sqrt(dx * dx + dy * dy);
        const double glow = std::exp(-d * 9.0) * 0.55;
        c = Mix(c, Rgb{1.0, 0.93, 0.72}, Clamp01(glow));
        if (d < 0.045)
            c = Mix(c, Rgb{1.0, 0.98, 0.9}, SmoothStep(0.045, 0.04, d));
        // Clouds, denser towards the top.
        const double n = Fbm(u * 6 * aspect_, v * 14, variant_ + 3, 5);
        const double cover = SmoothStep(0.5, 0.72, n + 0.18 * (1 - v / kHorizon) - 0.05);
        const Rgb cloud =
            Mix(Rgb{0.97, 0.97, 0.98}, Rgb{0.62, 0.66, 0.74}, Clamp01((n - 0.55) * 3));
        return Mix(c, cloud, cover * 0.9);
    }

    // Conifers along the near ridge; the distance in u to the nearest trunk decides the shape.
    bool Tree(double u, double v, Rgb& out) const {
        constexpr int kCells = 23;
        const double cell = u * kCells;
        const i32 i0 = static_cast<i32>(std::floor(cell));
        for (i32 i = i0 - 1; i <= i0 + 1; ++i) {
            if (Hash01(i, 1, variant_ + 5) < 0.3 && i != 0 && i != kCells - 1)
                continue; // gaps, but always a tree at the left and right edges
            const double trunk = (i + 0.2 + 0.6 * Hash01(i, 2, variant_ + 5)) / kCells;
            const double base = NearRidge(trunk) + 0.02;
            const double top = base - 0.09 - 0.08 * Hash01(i, 3, variant_ + 5);
            if (v < top || v > base)
                continue;
            const double halfWidth = (v - top) / (base - top) * 0.022 / aspect_;
            const double edge = 0.3 * halfWidth * std::sin(v * 420.0 + i);
            if (std::fabs(u - trunk) > halfWidth + edge)
                continue;
            const double shade =
                0.7 + 0.3 * (u < trunk ? 1.0 : 0.6) * Fbm(u * 300, v * 300, variant_, 2);
            out = Scale(Rgb{0.08, 0.24, 0.12}, shade);
            return true;
        }
        return false;
    }

    Rgb Land(double u, double v) const {
        Rgb tree{};
        if (Tree(u, v, tree))
            return tree;
        const double near = NearRidge(u);
        if (v > near) {
            const double t = Fbm(u * 40 * aspect_, v * 40, variant_ + 7, 4);
            const Rgb grass = Mix(Rgb{0.22, 0.42, 0.16}, Rgb{0.36, 0.55, 0.22}, t);
            return Scale(grass, 0.85 + 0.25 * (v - near) / (kHorizon - near + 1e-6) * 0.5);
        }
        const double far = FarRidge(u);
        if (v > far) {
            const double t = Fbm(u * 25 * aspect_, v * 25, variant_ + 8, 3);
            return Mix(Rgb{0.38, 0.50, 0.58}, Rgb{0.50, 0.60, 0.64}, t);
        }
        return Sky(u, v);
    }

    // The upper picture mirrored about the horizon, broken by ripples and tinted by the water.
    Rgb Lake(double u, double v) const {
        const double depth = (v - kHorizon) / (1 - kHorizon);
        const double ripple =
            0.004 * std::sin(v * 260.0 + 3.0 * std::sin(u * 40.0)) * (0.3 + depth);
        const double mirrorV = std::max(0.0, 2 * kHorizon - v);
        Rgb c = Land(std::clamp(u + ripple, 0.0, 1.0), mirrorV);
        c = Mix(Scale(c, 0.8), Rgb{0.10, 0.22, 0.32}, 0.25 + 0.35 * depth);
        const double sparkle = Fbm(u * 120 * aspect_, v * 600, variant_ + 9, 2);
        if (sparkle > 0.72)
            c = Mix(c, Rgb{0.95, 0.95, 0.9}, (sparkle - 0.72) * 2.5);
        return c;
    }

    // Sand and grass along the bottom, with rocks near both bottom corners.
    Rgb Shore(double u, double v) const {
        const double t = Fbm(u * 90 * aspect_, v * 90, variant_ + 13, 4);
        Rgb c = Mix(Rgb{0.60, 0.54, 0.40}, Rgb{0.30, 0.42, 0.18}, SmoothStep(0.35, 0.75, t));
        const double rocks[][3] = {{0.07, 0.95, 0.06},
                                   {0.16, 0.97, 0.035},
                                   {0.9, 0.94, 0.05},
                                   {0.97, 0.98, 0.04},
                                   {0.5, 0.99, 0.025}};
        for (const auto& r : rocks) {
            const double dx = (u - r[0]) * aspect_ / r[2], dy = (v - r[1]) / (r[2] * 0.7);
            const double d = dx * dx + dy * dy;
            if (d < 1.0) {
                const double lit =
                    0.45 + 0.35 * (1 - dy) * 0.5 + 0.2 * Fbm(u * 400, v * 400, variant_ + 17, 2);
                c = Scale(Rgb{0.55, 0.53, 0.5}, lit);
            }
        }
        return c;
    }

    // A dark leafy branch reaching in from the top-left corner.
    Rgb Branch(double u, double v, const Rgb& under) const {
        const double x = u * aspect_;
        const double curve = 0.08 + 0.35 * x - 0.6 * x * x;
        if (x > 0.45)
            return under;
        const double dist = std::fabs(v - curve);
        const double leaves = Fbm(x * 60, v * 60, variant_ + 21, 3);
        const double reach = 0.012 + 0.06 * leaves * (0.45 - x) / 0.45;
        if (dist < 0.006 + 0.004 * (0.45 - x))
            return Rgb{0.20, 0.13, 0.08};
        if (dist < reach && leaves > 0.45)
            return Mix(Rgb{0.05, 0.16, 0.05}, Rgb{0.18, 0.36, 0.10}, Clamp01((leaves - 0.45) * 3));
        return under;
    }

    i32 width_, height_;
    double aspect_;
    u32 variant_;
};

u8 ToByte(double v) {
    return static_cast<u8>(std::lround(Clamp01(v) * 255.0));
}

} // namespace

std::vector<u8> PaintScene(i32 width, i32 height, u32 variant) {
    if (width <= 0 || height <= 0)
        return {};
    std::vector<u8> pixels(static_cast<size_t>(width) * static_cast<size_t>(height) * 3);
    const CPainter painter(width, height, variant);
    u8* p = pixels.data();
    for (i32 y = 0; y < height; ++y) {
        const double v = (y + 0.5) / height;
        for (i32 x = 0; x < width; ++x, p += 3) {
            const Rgb c = painter.Pixel((x + 0.5) / width, v);
            // Fine grain, as a camera sensor would add.
            const double grain = (Hash01(x, y, variant + 99) - 0.5) * 0.03;
            p[0] = ToByte(c.r + grain);
            p[1] = ToByte(c.g + grain);
            p[2] = ToByte(c.b + grain);
        }
    }
    return pixels;
}
