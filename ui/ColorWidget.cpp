// The colour swatch and the three-dimensional frame that it is drawn in.
#include "ui/ColorWidget.h"

namespace {

// One ring of a frame: the top and left lines in one colour, the bottom and right lines in
// another. Each line runs the full side; the bottom and right ones are drawn last, so they own
// the bottom-left and top-right corner pixels when all sides are framed, as the classic look has
// it.
void DrawRing(CScreen& screen, const Rect& r, u32 flags, ColorRef topLeft, ColorRef bottomRight) {
    if (r.IsEmpty())
        return;
    if (flags & edge::kLeft)
        screen.FillRect(topLeft, Rect{r.left, r.top, r.left + 1, r.bottom});
    if (flags & edge::kTop)
        screen.FillRect(topLeft, Rect{r.left, r.top, r.right, r.top + 1});
    if (flags & edge::kRight)
        screen.FillRect(bottomRight, Rect{r.right - 1, r.top, r.right, r.bottom});
    if (flags & edge::kBottom)
        screen.FillRect(bottomRight, Rect{r.left, r.bottom - 1, r.right, r.bottom});
}

// The rectangle moved in by one pixel on each side that has a frame.
Rect Inset(const Rect& r, u32 flags) {
    Rect inner = r;
    if (flags & edge::kLeft)
        ++inner.left;
    if (flags & edge::kTop)
        ++inner.top;
    if (flags & edge::kRight)
        --inner.right;
    if (flags & edge::kBottom)
        --inner.bottom;
    return inner;
}

} // namespace

void DrawEdge(CScreen& screen, const Rect& rect, u32 kind, u32 flags) {
    Rect ring = rect;
    if (kind & (edge::kRaisedOuter | edge::kSunkenOuter)) {
        if (kind & edge::kSunkenOuter)
            DrawRing(screen, ring, flags, edgecolor::kShadow, edgecolor::kHighlight);
        else
            DrawRing(screen, ring, flags, edgecolor::kLight, edgecolor::kDarkShadow);
        ring = Inset(ring, flags);
    }
    if (kind & (edge::kRaisedInner | edge::kSunkenInner)) {
        if (kind & edge::kSunkenInner)
            DrawRing(screen, ring, flags, edgecolor::kDarkShadow, edgecolor::kLight);
        else
            DrawRing(screen, ring, flags, edgecolor::kHighlight, edgecolor::kShadow);
    }
}

CColorWidget::~CColorWidget() = default;

void CColorWidget::Paint(CScreen& screen, double opacity) {
    if (!visible_)
        return;
    const i32 alpha = static_cast<i32>(opacity * 255.0);
    if (alpha <= 0)
        return;
    if (!screen.IsValid())
        return;
    // In device pixels: the frame's rings are one screen pixel wide at any scale.
    const Rect area = ToDevicePixels(rect_, screen.PixelRatio());
    CDCScreen surface;
    if (Failed(surface.Create(screen, area)))
        return;
    // What lies under the swatch first, so that a partial blend shows it; a screen whose pixels
    // cannot be read leaves the buffer as made, and the fill covers it anyway.
    surface.CopyFrom(screen, area);
    surface.FillRect(color_, area);
    DrawEdge(surface, area, edgeKind_, edgeFlags_);
    screen.BlendFrom(surface, area, static_cast<u8>(alpha > 255 ? 255 : alpha));
}
