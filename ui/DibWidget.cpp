// The preview panes: fitting an image to a pane, choosing the shown corner, and painting.
#include "ui/DibWidget.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <boost/make_shared.hpp>

#include "image/Draw.h"
#include "image/RoundSettings.h"
#include "ui/ScreenColours.h"

namespace {

// A side that falls short of the pane by less than this is stretched to the pane.
constexpr i32 kStretchBelow = 5;
// The quality at which images go on to the screen: high-quality bicubic.
constexpr i32 kPaintQuality = 2;

u8 AlphaOfOpacity(double opacity) {
    const i32 alpha = static_cast<i32>(opacity * 255.0);
    return static_cast<u8>(std::clamp(alpha, 0, 255));
}

} // namespace

Size FitToPane(Size pane, Size image, double tolerance) {
    const i32 width = pane.cx;
    const i32 height = pane.cy;
    if (width == 0 || height == 0)
        return pane;
    // An image without area has no shape to keep.
    if (image.cx <= 0 || image.cy <= 0)
        return Size{std::max(width, 0), std::max(height, 0)};
    const double paneRatio = static_cast<double>(width) / height;
    const double imageRatio = static_cast<double>(image.cx) / image.cy;
    if (std::fabs(paneRatio - imageRatio) < tolerance)
        return pane;
    i32 fitWidth = width;
    i32 fitHeight = height;
    if (paneRatio > imageRatio) {
        fitWidth = static_cast<i32>(static_cast<double>(image.cx) * height / image.cy);
        if (fitWidth > width || width - fitWidth < kStretchBelow)
            fitWidth = width;
    } else {
        fitHeight = static_cast<i32>(static_cast<double>(image.cy) * width / image.cx);
        if (fitHeight > height || height - fitHeight < kStretchBelow)
            fitHeight = height;
    }
    return Size{std::max(fitWidth, 0), std::max(fitHeight, 0)};
}

u32 AnchorFor(u32 corners, u32 edges) {
    const CornerFlags rounded = CornerFlagsOf(corners);
    if (rounded.topLeft)
        return paneanchor::kTopLeft;
    if (rounded.topRight)
        return paneanchor::kTopRight;
    if (rounded.bottomLeft)
        return paneanchor::kBottomLeft;
    if (rounded.bottomRight)
        return paneanchor::kBottomRight;
    const EdgeFlags faded = EdgeFlagsOf(edges);
    if (faded.left || faded.top)
        return paneanchor::kTopLeft;
    if (faded.right)
        return paneanchor::kTopRight;
    return paneanchor::kBottomRight;
}

CSimpleDibWidget::~CSimpleDibWidget() = default;

void CSimpleDibWidget::SetAnchor(u32 anchor) {
    anchor_ = anchor;
    scaled_.reset();
}

void CSimpleDibWidget::SetImage(CDibPtr image) {
    image_ = std::move(image);
    shown_ = InScreenColours(image_);
    scaled_.reset();
}

void CSimpleDibWidget::Paint(CScreen& screen, double opacity) {
    if (!shown_)
        return;
    if (!screen.IsValid())
        return;
    // Everything is painted off screen first, so that the pane reaches the screen in one blend;
    // in device pixels, so that the corner pane's image pixels are the screen's own.
    const Rect area = ToDevicePixels(rect_, screen.PixelRatio());
    CDCScreen surface;
    if (Failed(surface.Create(screen, area)))
        return;
    surface.FillRect(background_, area);
    if (anchor_ == paneanchor::kWhole)
        PaintWhole(surface, area);
    else
        PaintAnchored(surface, area);
    screen.BlendFrom(surface, area, AlphaOfOpacity(opacity));
}

void CSimpleDibWidget::PaintWhole(CScreen& surface, const Rect& area) {
    const i32 width = area.Width();
    const i32 height = area.Height();
    const Size fit = FitToPane(Size{width, height}, Size{shown_->Width(), shown_->Height()}, 0.01);
    const i32 left = area.left + (width - fit.cx) / 2;
    const i32 top = area.top + (height - fit.cy) / 2;
    const Rect destination{left, top, left + fit.cx, top + fit.cy};

    // The copy at the fit size turns a repaint into a plain blit; only a new size pays for the
    // scaling. When it cannot be made the image goes as it is, and DrawDib scales it.
    if (!scaled_ || scaled_->Width() != fit.cx || scaled_->Height() != fit.cy) {
        auto copy = boost::make_shared<CDib>();
        const Rect whole{0, 0, shown_->Width(), shown_->Height()};
        if (Succeeded(DrawImageIntoDib(*shown_, whole, *copy, fit, interp::kHighQuality)))
            scaled_ = copy;
        else
            scaled_ = shown_;
    }
    const Rect source{0, 0, scaled_->Width(), scaled_->Height()};
    surface.DrawDib(destination, *scaled_, source, 255, kPaintQuality);
}

void CSimpleDibWidget::PaintAnchored(CScreen& surface, const Rect& area) {
    const i32 width = area.Width();
    const i32 height = area.Height();
    const i32 w = shown_->Width();
    const i32 h = shown_->Height();
    Rect source{0, 0, w, h};
    Rect destination = area;

    // Wider than the pane: cropped to the pane, keeping the anchored side; else centred.
    if (w > width) {
        const bool fromLeft = anchor_ == paneanchor::kTopLeft || anchor_ == paneanchor::kBottomLeft;
        source.left = fromLeft ? 0 : w - width;
        source.right = source.left + width;
    } else {
        destination.left = area.left + (width - w) / 2;
        destination.right = destination.left + w;
    }
    // Likewise in height; source rows count from the top of the image.
    if (h > height) {
        const bool fromTop = anchor_ == paneanchor::kTopLeft || anchor_ == paneanchor::kTopRight;
        source.top = fromTop ? 0 : h - height;
        source.bottom = source.top + height;
    } else {
        destination.top = area.top + (height - h) / 2;
        destination.bottom = destination.top + h;
    }
    surface.DrawDib(destination, *shown_, source, 255, kPaintQuality);
}
