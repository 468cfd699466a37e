// The alpha plan of rounding and fading, worked out on probes that hold the edge bands only.
#include "image/EdgePlan.h"

#include <algorithm>
#include <new>

#include "image/Blur.h"
#include "image/Dib.h"
#include "image/Round.h"

namespace {

// An opaque probe of width x height; false when memory runs out.
bool MakeProbe(CDib& probe, i32 width, i32 height) {
    if (!probe.Create32(width, height) || !probe.AllocBits())
        return false;
    std::fill_n(probe.Bits(), probe.GetSizeImage(), u8{255});
    return true;
}

// The alpha bytes of a probe, top row first.
void TakeAlpha(const CDib& probe, std::vector<u8>& out) {
    const i32 width = probe.Width();
    const i32 height = probe.Height();
    out.resize(static_cast<size_t>(width) * height);
    u8* to = out.data();
    for (i32 y = 0; y < height; ++y) {
        const u8* pixel = probe.PixelAt(0, y) + 3;
        for (i32 x = 0; x < width; ++x, pixel += 4)
            *to++ = *pixel;
    }
}

// The probe's size along an axis of length `length` whose bands are `band` wide: the two bands
// and two untouched lines, which keeps half the probe's length above the clipped radius and the
// fade width, so that both clip and count as they do on the whole axis.
i32 ProbeLength(i32 length, i32 band) {
    return length > 2 * band + 2 ? 2 * band + 2 : length;
}

} // namespace

HResult CEdgePlan::Build(i32 width, i32 height, u32 corners, u32 edges, double radius,
                         double fadeWidth) {
    mask_.clear();
    cap_.clear();
    if (width < 1 || height < 1)
        return hr::kInvalidArg;
    width_ = width;
    height_ = height;
    // Clipped here as rounding and fading clip them against the whole image, so that the probe's
    // smaller size clips nothing further.
    const double rx = std::min(static_cast<double>(width / 2), radius);
    const double ry = std::min(static_cast<double>(height / 2), radius);
    const i32 fade = CeilCount(fadeWidth);
    bandX_ = std::max(CeilCount(rx), std::min(fade, width / 2 + width % 2));
    bandY_ = std::max(CeilCount(ry), std::min(fade, height / 2 + height % 2));
    probeWidth_ = ProbeLength(width, bandX_);
    probeHeight_ = ProbeLength(height, bandY_);

    const CornerFlags c = CornerFlagsOf(corners);
    const EdgeFlags e = EdgeFlagsOf(edges);
    try {
        CDib roundProbe;
        if (!MakeProbe(roundProbe, probeWidth_, probeHeight_))
            return hr::kOutOfMemory;
        HResult code =
            RoundCorners(roundProbe, c.topLeft, c.bottomLeft, c.bottomRight, c.topRight, rx, ry);
        if (Failed(code))
            return code;
        TakeAlpha(roundProbe, mask_);

        CDib fadeProbe;
        if (!MakeProbe(fadeProbe, probeWidth_, probeHeight_))
            return hr::kOutOfMemory;
        code = BlurEdges(fadeProbe, c.topLeft, c.bottomLeft, c.bottomRight, c.topRight, e.left,
                         e.top, e.right, e.bottom, rx, ry, fadeWidth);
        if (Failed(code))
            return code;
        TakeAlpha(fadeProbe, cap_);
    } catch (const std::bad_alloc&) {
        mask_.clear();
        cap_.clear();
        return hr::kOutOfMemory;
    }
    return hr::kOk;
}

i32 CEdgePlan::ProbeX(i32 x) const {
    if (probeWidth_ == width_ || x < bandX_)
        return x;
    return x >= width_ - bandX_ ? x - (width_ - probeWidth_) : bandX_;
}

i32 CEdgePlan::ProbeY(i32 y) const {
    if (probeHeight_ == height_ || y < bandY_)
        return y;
    return y >= height_ - bandY_ ? y - (height_ - probeHeight_) : bandY_;
}

bool CEdgePlan::TouchesWholeRow(i32 y) const {
    return probeHeight_ == height_ || y < bandY_ || y >= height_ - bandY_;
}

void CEdgePlan::Apply(i32 y, i32 x, i32 count, u8* pixels) const {
    if (mask_.empty())
        return;
    const size_t row = static_cast<size_t>(ProbeY(y)) * probeWidth_;
    const u8* mask = mask_.data() + row;
    const u8* cap = cap_.data() + row;
    for (i32 i = 0; i < count; ++i, pixels += 4) {
        const i32 at = ProbeX(x + i);
        u8 alpha = pixels[3];
        if (mask[at] != 255)
            alpha = MaskedAlpha(alpha, mask[at]);
        pixels[3] = std::min(alpha, cap[at]);
    }
}
