// The preview's copy of an image: a reduced whole and the corners at falling scales.
#include "image/PreviewSource.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <mutex>
#include <new>
#include <vector>

#include <vips/vips8>

#include "image/Background.h"
#include "image/Codec.h"
#include "image/Draw.h"
#include "image/EdgePlan.h"
#include "image/Resample.h"

using vips::VError;
using vips::VImage;

namespace {

constexpr int kDeepestLevel = 24;
constexpr int kStripRows = 16;

bool FromRight(u32 anchor) {
    return anchor == 3 || anchor == 4;
}

bool FromBottom(u32 anchor) {
    return anchor == 2 || anchor == 3;
}

// Turns an image so that the corner at anchor lies at the top left; the same call turns it back.
VImage ToTopLeft(VImage image, u32 anchor) {
    if (FromRight(anchor))
        image = image.flip(VIPS_DIRECTION_HORIZONTAL);
    if (FromBottom(anchor))
        image = image.flip(VIPS_DIRECTION_VERTICAL);
    return image;
}

// A box average by n on both axes, with colours weighted by alpha where there is alpha.
VImage Reduce(const VImage& image, int n, bool opaque) {
    if (n <= 1)
        return image;
    if (opaque)
        return image.shrink(n, n);
    VImage tagged = image.copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
    return tagged.premultiply().shrink(n, n).unpremultiply().linear(1.0, 0.5).cast(
        VIPS_FORMAT_UCHAR);
}

// The pixels of a four-band image as a new bottom-up CDib; null when memory runs out. The
// pipeline runs on the calling thread: at a pane's size, handing strips to libvips' workers and
// waiting for them costs more than the pixels.
CDibPtr ToDib(const VImage& image) {
    CDibPtr dib(new (std::nothrow) CDib);
    if (!dib || !dib->Create32(image.width(), image.height()) || !dib->AllocBits())
        return {};
    VipsRegion* region = vips_region_new(image.get_image());
    if (!region)
        throw VError();
    // In strips, so that every stage's buffers stay small and are used again.
    const size_t row = static_cast<size_t>(image.width()) * 4;
    for (i32 top = 0; top < image.height(); top += kStripRows) {
        const VipsRect strip{0, top, image.width(), std::min(kStripRows, image.height() - top)};
        if (vips_region_prepare(region, &strip) != 0) {
            g_object_unref(region);
            throw VError();
        }
        for (i32 y = strip.top; y < strip.top + strip.height; ++y)
            std::memcpy(dib->PixelAt(0, y), VIPS_REGION_ADDR(region, 0, y), row);
    }
    g_object_unref(region);
    return dib;
}

// The plan's alpha on each row of `image`, which is the part of a result of `size` whose top left
// pixel lies at (x0, y0), then the background unless the alpha is kept.
u32 Finish(CDibPtr& image, const CEdgePlan& plan, i32 x0, i32 y0, const CRoundStep& round,
           bool keepAlpha, CDibPtr& out) {
    for (i32 y = 0; y < image->Height(); ++y)
        plan.Apply(y0 + y, x0, image->Width(), image->PixelAt(0, y));
    if (round.transparent && keepAlpha) {
        out = image;
        return 0;
    }
    CDibPtr filled;
    if (Failed(FillBackground(filled, *image, round.backgroundColor)))
        return CRoundStep::kRoundFailed;
    out = filled;
    return 0;
}

// A new copy of a 32-bit image; null when memory runs out.
CDibPtr CopyOf(const CDib& image) {
    CDibPtr copy(new (std::nothrow) CDib);
    if (!copy || !copy->Create32(image.Width(), image.Height()) || !copy->AllocBits())
        return {};
    std::memcpy(copy->Bits(), image.Bits(), image.GetSizeImage());
    return copy;
}

// Resampled pixels of a pane before its edges are drawn, with what they were made for.
struct Resampled {
    Size size;
    Size fitted;
    u32 anchor = 0;
    CDibPtr pixels;
    bool Matches(Size s, Size f, u32 a) const {
        return pixels && s.cx == size.cx && s.cy == size.cy && f.cx == fitted.cx &&
               f.cy == fitted.cy && a == anchor;
    }
};

// A copy of the pixels remembered for that size, fit and anchor, made by `make` and remembered
// when they are not; the caller draws the edges on the copy.
template <typename Make>
CDibPtr Remembered(std::mutex& lock, Resampled& last, Size size, Size fitted, u32 anchor,
                   Make make) {
    std::lock_guard<std::mutex> hold(lock);
    if (!last.Matches(size, fitted, anchor)) {
        last = Resampled();
        CDibPtr made = make();
        if (!made)
            return {};
        last = Resampled{size, fitted, anchor, made};
    }
    return CopyOf(*last.pixels);
}

} // namespace

struct CPreviewSource::Impl {
    // One scale of the source: the four corners, each turned so that its corner lies at the top
    // left, or the whole image where it fits in one corner's room.
    struct Level {
        int scale = 1;
        bool whole = false;
        VImage corners[4];
    };
    Size size;
    bool opaque = true;
    VImage whole;
    std::vector<Level> levels;
    std::mutex lastLock;
    // The last resampled pixels of each pane, before the edges: a change of the rounding, the
    // fade or the background leaves them as they are, and such changes are the common ones.
    Resampled lastWhole;
    Resampled lastCorner;
};

CPreviewSource::CPreviewSource() : impl_(new Impl) {}

CPreviewSource::~CPreviewSource() = default;

HResult CPreviewSource::Build(const CDib& source) {
    impl_ = std::make_unique<Impl>();
    if (!IsDib32(source) || source.Width() <= 0 || source.Height() <= 0)
        return hr::kInvalidArg;
    if (!EnsureVipsStarted())
        return hr::kFail;
    const i32 width = source.Width();
    const i32 height = source.Height();
    try {
        // Top-down rows of blue, green, red and alpha, as the CDib holds them.
        const VImage image =
            VImage::new_from_memory(const_cast<u8*>(source.Bits()), source.GetSizeImage(), width,
                                    height, 4, VIPS_FORMAT_UCHAR)
                .flip(VIPS_DIRECTION_VERTICAL);
        impl_->opaque = image[3].min() >= 255.0;
        const int wholeShrink =
            static_cast<int>((std::max(width, height) + kWholeSide - 1) / kWholeSide);
        impl_->whole = Reduce(image, wholeShrink, impl_->opaque).copy_memory();
        for (int k = 0, scale = 1; k <= kDeepestLevel; ++k, scale *= 2) {
            Impl::Level level;
            level.scale = scale;
            if (width / scale <= kCornerSide && height / scale <= kCornerSide) {
                level.whole = true;
                level.corners[0] = Reduce(image, scale, impl_->opaque).copy_memory();
                impl_->levels.push_back(level);
                break;
            }
            const i32 cw = std::min(width, kCornerSide * scale);
            const i32 ch = std::min(height, kCornerSide * scale);
            for (u32 anchor = 1; anchor <= 4; ++anchor) {
                const VImage corner = image.crop(FromRight(anchor) ? width - cw : 0,
                                                 FromBottom(anchor) ? height - ch : 0, cw, ch);
                level.corners[anchor - 1] =
                    Reduce(ToTopLeft(corner, anchor), scale, impl_->opaque).copy_memory();
            }
            impl_->levels.push_back(level);
        }
    } catch (const VError&) {
        vips_error_clear();
        impl_ = std::make_unique<Impl>();
        return hr::kOutOfMemory;
    } catch (const std::bad_alloc&) {
        impl_ = std::make_unique<Impl>();
        return hr::kOutOfMemory;
    }
    impl_->size = Size{width, height};
    return hr::kOk;
}

Size CPreviewSource::SourceSize() const {
    return impl_->size;
}

u32 CPreviewSource::RenderWhole(const CShrinkStep& shrink, const CRoundStep& round, bool keepAlpha,
                                Size size, CDibPtr& out) const {
    out.reset();
    Size fitted;
    const u32 error = shrink.FittedSize(impl_->size.cx, impl_->size.cy, fitted);
    if (error != 0)
        return error;
    if (impl_->levels.empty() || size.cx <= 0 || size.cy <= 0)
        return 0;
    try {
        // The whole copy does not depend on the shrink: only the size shown is the key.
        CDibPtr image = Remembered(impl_->lastLock, impl_->lastWhole, size, Size{}, 0, [&] {
            VImage whole = impl_->whole;
            if (whole.width() != size.cx || whole.height() != size.cy)
                whole = ResampleRgba(whole, size.cx, size.cy, interp::kHighQuality, impl_->opaque);
            return ToDib(whole);
        });
        if (!image)
            return CRoundStep::kRoundFailed;
        // The corners and the fade of the full-size result, at the pane's scale.
        const double scale = static_cast<double>(size.cx) / fitted.cx;
        CEdgePlan plan;
        if (Failed(plan.Build(size.cx, size.cy, round.corners, round.edges,
                              ResolveLength(round.radius, fitted.cx, fitted.cy) * scale,
                              ResolveLength(round.blurWidth, fitted.cx, fitted.cy) * scale)))
            return CRoundStep::kRoundFailed;
        return Finish(image, plan, 0, 0, round, keepAlpha, out);
    } catch (const VError&) {
        vips_error_clear();
        return CRoundStep::kRoundFailed;
    } catch (const std::bad_alloc&) {
        return CRoundStep::kRoundFailed;
    }
}

u32 CPreviewSource::RenderCorner(const CShrinkStep& shrink, const CRoundStep& round, bool keepAlpha,
                                 u32 anchor, Size size, CDibPtr& out) const {
    out.reset();
    Size fitted;
    const u32 error = shrink.FittedSize(impl_->size.cx, impl_->size.cy, fitted);
    if (error != 0)
        return error;
    if (impl_->levels.empty() || anchor < 1 || anchor > 4)
        return 0;
    const i32 w = std::min(size.cx, fitted.cx);
    const i32 h = std::min(size.cy, fitted.cy);
    if (w <= 0 || h <= 0)
        return 0;
    try {
        CDibPtr image =
            Remembered(impl_->lastLock, impl_->lastCorner, Size{w, h}, fitted, anchor, [&] {
                // The coarsest scale that is still as fine as the result.
                const double perResultX = static_cast<double>(impl_->size.cx) / fitted.cx;
                const double perResultY = static_cast<double>(impl_->size.cy) / fitted.cy;
                const Impl::Level* level = &impl_->levels.front();
                for (const Impl::Level& candidate : impl_->levels) {
                    if (candidate.scale <= perResultX && candidate.scale <= perResultY)
                        level = &candidate;
                }
                const VImage kept = level->whole ? ToTopLeft(level->corners[0], anchor)
                                                 : level->corners[anchor - 1];
                const double fx = perResultX / level->scale;
                const double fy = perResultY / level->scale;
                VImage corner;
                if (std::fabs(fx - 1.0) < 1e-9 && std::fabs(fy - 1.0) < 1e-9) {
                    corner = kept.crop(0, 0, std::min(w, kept.width()), std::min(h, kept.height()));
                } else {
                    // The part of the kept corner under the result's corner, with room for the
                    // kernel; the extent maps the result's pixels onto the source's as the full
                    // shrink does. libvips centres its sampling grid on the input pixels that the
                    // rounded output size uses: a part whose width is close to a whole number of
                    // output pixels keeps the grid within a quarter pixel of the whole image's.
                    const i32 reach = 4;
                    const i32 cw =
                        std::min(kept.width(), static_cast<i32>(std::lround((w + reach) * fx)));
                    const i32 ch =
                        std::min(kept.height(), static_cast<i32>(std::lround((h + reach) * fy)));
                    corner = ResampleRgba(kept.crop(0, 0, cw, ch), w, h, interp::kHighQuality,
                                          impl_->opaque, w * fx, h * fy);
                }
                return ToDib(ToTopLeft(corner, anchor));
            });
        if (!image || image->Width() != w || image->Height() != h)
            return CRoundStep::kRoundFailed;
        CEdgePlan plan;
        if (Failed(plan.Build(fitted.cx, fitted.cy, round.corners, round.edges,
                              ResolveLength(round.radius, fitted.cx, fitted.cy),
                              ResolveLength(round.blurWidth, fitted.cx, fitted.cy))))
            return CRoundStep::kRoundFailed;
        return Finish(image, plan, FromRight(anchor) ? fitted.cx - w : 0,
                      FromBottom(anchor) ? fitted.cy - h : 0, round, keepAlpha, out);
    } catch (const VError&) {
        vips_error_clear();
        return CRoundStep::kRoundFailed;
    } catch (const std::bad_alloc&) {
        return CRoundStep::kRoundFailed;
    }
}
