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
#include "image/BoxRows.h"
#include "image/Draw.h"
#include "image/EdgePlan.h"
#include "image/Orientation.h"
#include "image/PaneAnchor.h"
#include "image/Resample.h"
#include "image/RowsOnThisThread.h"
#include "image/SourceCorner.h"
#include "image/VipsStart.h"
#include "resources/StringIds.h"

using vips::VError;
using vips::VImage;

namespace {

// The corner anchors in the order in which a scale keeps its corners.
constexpr u32 kCornerAnchors[] = {paneanchor::kTopLeft, paneanchor::kBottomLeft,
                                  paneanchor::kBottomRight, paneanchor::kTopRight};

// The place of a corner anchor in kCornerAnchors.
size_t CornerIndex(u32 anchor) {
    return anchor - paneanchor::kTopLeft;
}

bool FromRight(u32 anchor) {
    return anchor == paneanchor::kBottomRight || anchor == paneanchor::kTopRight;
}

bool FromBottom(u32 anchor) {
    return anchor == paneanchor::kBottomLeft || anchor == paneanchor::kBottomRight;
}

// The corner anchor at the right or left, the bottom or top.
u32 AnchorAt(bool fromRight, bool fromBottom) {
    for (u32 anchor : kCornerAnchors) {
        if (FromRight(anchor) == fromRight && FromBottom(anchor) == fromBottom)
            return anchor;
    }
    return paneanchor::kTopLeft;
}

// Turns an image so that the corner at anchor lies at the top left; the same call turns it back.
VImage ToTopLeft(VImage image, u32 anchor) {
    if (FromRight(anchor))
        image = image.flip(VIPS_DIRECTION_HORIZONTAL);
    if (FromBottom(anchor))
        image = image.flip(VIPS_DIRECTION_VERTICAL);
    return image;
}

// The pixels of a four-band image as a new bottom-up CDib, computed on the calling thread; null
// when memory runs out.
CDibPtr ToDib(const VImage& image) {
    CDibPtr dib(new (std::nothrow) CDib);
    if (!dib || !dib->Create32(image.width(), image.height()) || !dib->AllocBits())
        return {};
    const size_t row = static_cast<size_t>(image.width()) * 4;
    ForEachRow(image,
               [&](i32 y, const u8* pixels) { std::memcpy(dib->PixelAt(0, y), pixels, row); });
    return dib;
}

// The plan's alpha on each row of `image`, which is the part of a result of `size` whose top left
// pixel lies at (x0, y0), then the background unless the alpha is kept.
u32 Finish(CDibPtr& image, const CEdgePlan& plan, i32 x0, i32 y0, const OutputChoice& output,
           CDibPtr& out) {
    for (i32 y = 0; y < image->Height(); ++y)
        plan.Apply(y0 + y, x0, image->Width(), image->PixelAt(0, y));
    if (output.keepAlpha) {
        out = image;
        return 0;
    }
    CDibPtr filled;
    if (Failed(FillBackground(filled, *image, output.backgroundColor)))
        return strid::kRoundFailed;
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
    u32 anchor = paneanchor::kWhole;
    u32 turn = orientation::kStored;
    CDibPtr pixels;
    bool Matches(Size s, Size f, u32 a, u32 t) const {
        return pixels && s.cx == size.cx && s.cy == size.cy && f.cx == fitted.cx &&
               f.cy == fitted.cy && a == anchor && t == turn;
    }
};

// A copy of the pixels remembered for that size, fit, anchor and turn, made by `make` and
// remembered when they are not; the caller draws the edges on the copy.
template <typename Make>
CDibPtr Remembered(std::mutex& lock, Resampled& last, Size size, Size fitted, u32 anchor, u32 turn,
                   Make make) {
    std::lock_guard<std::mutex> hold(lock);
    if (!last.Matches(size, fitted, anchor, turn)) {
        last = Resampled();
        CDibPtr made = make();
        if (!made)
            return {};
        last = Resampled{size, fitted, anchor, turn, made};
    }
    return CopyOf(*last.pixels);
}

} // namespace

struct CPreviewSource::Impl {
    // One scale of the source: the four corners, each turned so that its corner lies at the top
    // left, or the whole image at that scale.
    struct Level {
        int scale = 1;
        bool whole = false;
        VImage corners[4];
    };
    // The grids that rows are fed into while the copy is built.
    struct Building {
        Size rows;
        i32 reduction = 1;
        i32 bands = 4;
        i32 nextRow = 0;
        u8 leastAlpha = 255;
        bool failed = false;
        std::vector<u8> row; // the row in hand as blue, green, red, alpha
        // Per corner scale, the four corners in anchor order.
        std::vector<std::vector<CBoxRows>> cornerLevels;
        std::vector<i32> cornerScales;
        std::unique_ptr<CBoxRows> firstWhole;
        i32 firstWholeScale = 1;
    };
    Size size;
    bool opaque = true;
    VImage whole;
    std::vector<Level> levels;
    std::unique_ptr<Building> building;
    // The source file, for corners at full resolution when the copy is reduced, and the corners
    // read from it (scale 1), each read at most once.
    std::wstring file;
    CDecodeLimits limits;
    Level fullCorners;
    bool fullTried[4] = {false, false, false, false};
    // Guards the remembered renders and the corners read from the file.
    std::mutex lastLock;
    // The last resampled pixels of each pane, before the edges: a change of the rounding, the
    // fade or the background leaves them as they are, and such changes are the common ones.
    Resampled lastWhole;
    Resampled lastCorner;

    // The corner of the picture turned upright by `turn` that lies at `anchor`, turned so that
    // this corner lies at the top left, from one kept scale.
    static VImage KeptCorner(const Level& level, u32 anchor, u32 turn) {
        if (level.whole)
            return ToTopLeft(Upright(level.corners[0], turn), anchor);
        if (turn == orientation::kStored)
            return level.corners[CornerIndex(anchor)];
        const u32 stored = StoredAnchor(anchor, turn);
        return ToTopLeft(Upright(ToTopLeft(level.corners[CornerIndex(stored)], stored), turn),
                         anchor);
    }

    // The corner of the stored picture that the turn brings to `anchor`.
    static u32 StoredAnchor(u32 anchor, u32 turn) {
        bool fromRight = FromRight(anchor);
        bool fromBottom = FromBottom(anchor);
        if (turn != orientation::kStored)
            StoredCorner(turn, fromRight, fromBottom);
        return AnchorAt(fromRight, fromBottom);
    }

    // The coarsest kept scale that is still as fine as `perResult` source pixels a result pixel.
    // When even the finest is coarser (the copy was decoded reduced), the corner at full
    // resolution from the file, where it can be read. Called with lastLock held.
    const Level& LevelFor(double perResultX, double perResultY, u32 anchor, u32 turn) {
        const Level* level = &levels.front();
        for (const Level& candidate : levels) {
            if (candidate.scale <= perResultX && candidate.scale <= perResultY)
                level = &candidate;
        }
        if ((level->scale <= perResultX && level->scale <= perResultY) || file.empty())
            return *level;
        const size_t stored = CornerIndex(StoredAnchor(anchor, turn));
        if (!fullTried[stored]) {
            fullTried[stored] = true;
            VImage corner;
            if (Succeeded(ReadSourceCorner(file, limits, size, kCornerAnchors[stored], kCornerSide,
                                           corner)))
                fullCorners.corners[stored] = ToTopLeft(corner, kCornerAnchors[stored]);
        }
        return fullCorners.corners[stored].is_null() ? *level : fullCorners;
    }
};

CPreviewSource::CPreviewSource() : impl_(new Impl) {}

CPreviewSource::~CPreviewSource() = default;

HResult CPreviewSource::Build(const CDib& source) {
    impl_ = std::make_unique<Impl>();
    if (!IsDib32(source) || source.Width() <= 0 || source.Height() <= 0)
        return hr::kInvalidArg;
    const Size size{source.Width(), source.Height()};
    // An image without a transparent pixel is kept with plain averages, as three bands are.
    u8 least = 255;
    for (i32 y = 0; y < size.cy && least == 255; ++y) {
        const u8* in = source.PixelAt(0, y);
        for (i32 x = 0; x < size.cx; ++x)
            least = std::min(least, in[x * 4 + 3]);
    }
    Begin(size, 1, size, least == 255 ? 3 : 4);
    profile_ = source.ColourProfile();
    // The bitmap's rows are already blue, green, red, alpha.
    for (i32 y = 0; y < size.cy && !impl_->building->failed; ++y)
        TakeRow(source.PixelAt(0, y), least);
    return End();
}

void CPreviewSource::Begin(Size rows, i32 reduction, Size declared, i32 bands) {
    impl_ = std::make_unique<Impl>();
    profile_.clear();
    orientation_ = 1;
    impl_->size = declared;
    try {
        impl_->building = std::make_unique<Impl::Building>();
        Impl::Building& b = *impl_->building;
        b.rows = rows;
        b.reduction = std::max(1, reduction);
        b.bands = bands;
        if (rows.cx <= 0 || rows.cy <= 0 || (bands != 3 && bands != 4)) {
            b.failed = true;
            return;
        }
        b.row.resize(static_cast<size_t>(rows.cx) * 4);
        // Corners at each scale while the four of them lie apart, then the whole image.
        for (i32 scale = 1;; scale *= 2) {
            const i32 side = kCornerSide * scale;
            const bool fits = rows.cx / scale <= kCornerSide && rows.cy / scale <= kCornerSide;
            if (!fits && 2 * side <= rows.cx && 2 * side <= rows.cy) {
                std::vector<CBoxRows> corners;
                for (u32 anchor : kCornerAnchors)
                    corners.emplace_back(FromRight(anchor) ? rows.cx - side : 0,
                                         FromBottom(anchor) ? rows.cy - side : 0, kCornerSide,
                                         kCornerSide, scale, FromRight(anchor), FromBottom(anchor),
                                         bands == 3);
                b.cornerLevels.push_back(std::move(corners));
                b.cornerScales.push_back(scale);
                continue;
            }
            b.firstWhole = std::make_unique<CBoxRows>(0, 0, std::max(1, rows.cx / scale),
                                                      std::max(1, rows.cy / scale), scale, false,
                                                      false, bands == 3);
            b.firstWholeScale = scale;
            break;
        }
    } catch (const std::bad_alloc&) {
        if (impl_->building)
            impl_->building->failed = true;
    }
}

void CPreviewSource::Row(const u8* pixels) {
    Impl::Building* b = impl_->building.get();
    if (!b || b->failed || b->nextRow >= b->rows.cy)
        return;
    // Blue, green, red, alpha, as the kept scales hold them.
    u8* row = b->row.data();
    u8 least = b->leastAlpha;
    for (i32 x = 0; x < b->rows.cx; ++x, pixels += b->bands, row += 4) {
        row[0] = pixels[2];
        row[1] = pixels[1];
        row[2] = pixels[0];
        row[3] = b->bands == 4 ? pixels[3] : 255;
        least = std::min(least, row[3]);
    }
    TakeRow(b->row.data(), least);
}

void CPreviewSource::TakeRow(const u8* bgra, u8 leastAlpha) {
    Impl::Building* b = impl_->building.get();
    b->leastAlpha = std::min(b->leastAlpha, leastAlpha);
    const i32 y = b->nextRow++;
    for (auto& corners : b->cornerLevels)
        for (CBoxRows& corner : corners)
            corner.Add(y, bgra);
    b->firstWhole->Add(y, bgra);
}

void CPreviewSource::TakeColourProfile(std::vector<u8> profile) {
    profile_ = std::move(profile);
}

void CPreviewSource::TakeOrientation(u32 orientation) {
    orientation_ = KnownOrientation(static_cast<int>(orientation));
}

u32 CPreviewSource::Turn(const OutputChoice& output) const {
    return output.upright ? orientation_ : orientation::kStored;
}

HResult CPreviewSource::End() {
    std::unique_ptr<Impl::Building> b = std::move(impl_->building);
    const Size size = impl_->size;
    impl_ = std::make_unique<Impl>();
    if (!b || b->failed)
        return hr::kOutOfMemory;
    if (b->nextRow != b->rows.cy)
        return hr::kFail;
    if (!EnsureVipsStarted())
        return hr::kFail;
    try {
        impl_->size = size;
        impl_->opaque = b->leastAlpha == 255;
        for (size_t k = 0; k < b->cornerLevels.size(); ++k) {
            Impl::Level level;
            level.scale = b->cornerScales[k] * b->reduction;
            for (u32 anchor : kCornerAnchors)
                level.corners[CornerIndex(anchor)] =
                    b->cornerLevels[k][CornerIndex(anchor)].Image();
            impl_->levels.push_back(level);
        }
        b->cornerLevels.clear();
        // The whole image at the first whole scale and at every further half, each made from
        // the one before, until it fits in a corner's room or a side would vanish.
        std::unique_ptr<CBoxRows> current = std::move(b->firstWhole);
        for (i32 scale = b->firstWholeScale;; scale *= 2) {
            Impl::Level level;
            level.scale = scale * b->reduction;
            level.whole = true;
            level.corners[0] = current->Image();
            impl_->levels.push_back(level);
            const i32 longer = std::max(current->Width(), current->Height());
            if (impl_->whole.is_null() && longer <= kWholeSide)
                impl_->whole = level.corners[0];
            if ((current->Width() <= kCornerSide && current->Height() <= kCornerSide) ||
                current->Width() < 2 || current->Height() < 2)
                break;
            auto half = std::make_unique<CBoxRows>(
                0, 0, current->Width() / 2, current->Height() / 2, 2, false, false, impl_->opaque);
            for (i32 y = 0; y < current->Height(); ++y)
                half->Add(y, current->Row(y));
            current = std::move(half);
        }
        if (impl_->whole.is_null())
            impl_->whole = impl_->levels.back().corners[0];
    } catch (const VError&) {
        vips_error_clear();
        impl_ = std::make_unique<Impl>();
        return hr::kOutOfMemory;
    } catch (const std::bad_alloc&) {
        impl_ = std::make_unique<Impl>();
        return hr::kOutOfMemory;
    }
    return hr::kOk;
}

void CPreviewSource::SetSourceFile(const std::wstring& path, const CDecodeLimits& limits) {
    std::lock_guard<std::mutex> hold(impl_->lastLock);
    impl_->file = path;
    impl_->limits = limits;
    for (VImage& corner : impl_->fullCorners.corners)
        corner = VImage();
    std::fill(std::begin(impl_->fullTried), std::end(impl_->fullTried), false);
    impl_->lastCorner = Resampled();
}

Size CPreviewSource::SourceSize(const OutputChoice& output) const {
    return UprightSize(impl_->size, Turn(output));
}

u32 CPreviewSource::RenderWhole(const RoundSettings& round, const OutputChoice& output, Size fitted,
                                Size size, CDibPtr& out) const {
    out.reset();
    if (impl_->levels.empty() || size.cx <= 0 || size.cy <= 0 || fitted.cx <= 0 || fitted.cy <= 0)
        return 0;
    try {
        // The whole copy does not depend on the shrink: only the size shown is the key.
        const u32 turn = Turn(output);
        CDibPtr image = Remembered(
            impl_->lastLock, impl_->lastWhole, size, Size{}, paneanchor::kWhole, turn, [&] {
                VImage whole = Upright(impl_->whole, turn);
                if (whole.width() != size.cx || whole.height() != size.cy)
                    whole =
                        ResampleRgba(whole, size.cx, size.cy, interp::kHighQuality, impl_->opaque);
                return ToDib(whole);
            });
        if (!image)
            return strid::kRoundFailed;
        image->SetColourProfile(profile_);
        // The corners and the fade of the full-size result, at the pane's scale.
        const double scale = static_cast<double>(size.cx) / fitted.cx;
        CEdgePlan plan;
        if (Failed(plan.Build(size.cx, size.cy, round.corners, round.edges,
                              ResolveLength(round.radius, fitted.cx, fitted.cy) * scale,
                              ResolveLength(round.blurWidth, fitted.cx, fitted.cy) * scale)))
            return strid::kRoundFailed;
        return Finish(image, plan, 0, 0, output, out);
    } catch (const VError&) {
        vips_error_clear();
        return strid::kRoundFailed;
    } catch (const std::bad_alloc&) {
        return strid::kRoundFailed;
    }
}

u32 CPreviewSource::RenderCorner(const RoundSettings& round, const OutputChoice& output,
                                 Size fitted, u32 anchor, Size size, CDibPtr& out) const {
    out.reset();
    if (impl_->levels.empty() || anchor < paneanchor::kTopLeft || anchor > paneanchor::kTopRight)
        return 0;
    const i32 w = std::min(size.cx, fitted.cx);
    const i32 h = std::min(size.cy, fitted.cy);
    if (w <= 0 || h <= 0)
        return 0;
    try {
        const u32 turn = Turn(output);
        CDibPtr image =
            Remembered(impl_->lastLock, impl_->lastCorner, Size{w, h}, fitted, anchor, turn, [&] {
                // The coarsest scale that is still as fine as the result.
                const Size source = UprightSize(impl_->size, turn);
                const double perResultX = static_cast<double>(source.cx) / fitted.cx;
                const double perResultY = static_cast<double>(source.cy) / fitted.cy;
                const Impl::Level* level = &impl_->LevelFor(perResultX, perResultY, anchor, turn);
                const VImage kept = Impl::KeptCorner(*level, anchor, turn);
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
            return strid::kRoundFailed;
        image->SetColourProfile(profile_);
        CEdgePlan plan;
        if (Failed(plan.Build(fitted.cx, fitted.cy, round.corners, round.edges,
                              ResolveLength(round.radius, fitted.cx, fitted.cy),
                              ResolveLength(round.blurWidth, fitted.cx, fitted.cy))))
            return strid::kRoundFailed;
        return Finish(image, plan, FromRight(anchor) ? fitted.cx - w : 0,
                      FromBottom(anchor) ? fitted.cy - h : 0, output, out);
    } catch (const VError&) {
        vips_error_clear();
        return strid::kRoundFailed;
    } catch (const std::bad_alloc&) {
        return strid::kRoundFailed;
    }
}
