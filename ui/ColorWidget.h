// CColorWidget: the colour swatch, a rectangle of one colour in a sunken frame.
#pragma once

#include "foundation/Types.h"
#include "ui/Screen.h"
#include "ui/Widget.h"

// Edge kinds: which of the two one-pixel rings of a frame are drawn, and how.
namespace edge {
constexpr u32 kRaisedOuter = 0x1;
constexpr u32 kSunkenOuter = 0x2;
constexpr u32 kRaisedInner = 0x4;
constexpr u32 kSunkenInner = 0x8;
constexpr u32 kSunken = kSunkenOuter | kSunkenInner; // 10
// Edge flags: the sides of the rectangle that get a frame.
constexpr u32 kLeft = 0x1;
constexpr u32 kTop = 0x2;
constexpr u32 kRight = 0x4;
constexpr u32 kBottom = 0x8;
constexpr u32 kRect = kLeft | kTop | kRight | kBottom; // 15
} // namespace edge

// The colours of a frame, as the classic three-dimensional look has them.
namespace edgecolor {
constexpr ColorRef kShadow = 0x00A0A0A0;
constexpr ColorRef kDarkShadow = 0x00696969;
constexpr ColorRef kLight = 0x00E3E3E3;
constexpr ColorRef kHighlight = 0x00FFFFFF;
} // namespace edgecolor

// Draws the frame of `kind` on the `flags` sides of `rect`, on top of what the surface holds;
// the inside is left alone. A sunken outer ring is shadow at top and left, highlight at bottom
// and right; a sunken inner ring is dark shadow and light; raised rings swap the two.
void DrawEdge(CScreen& screen, const Rect& rect, u32 kind, u32 flags);

// The swatch that shows a colour inside a sunken frame. The view sets the colour and asks for a
// repaint itself. Main thread only.
class CColorWidget : public CWidget {
public:
    CColorWidget() = default;
    ~CColorWidget() override;

    void SetColor(ColorRef color) { color_ = color; }
    ColorRef Color() const { return color_; }
    void SetEdge(u32 kind, u32 flags) {
        edgeKind_ = kind;
        edgeFlags_ = flags;
    }
    u32 EdgeFlags() const { return edgeFlags_; }

    // Nothing when invisible or at no opacity; else the colour filled over the whole rectangle,
    // the frame on top, blended on to the screen.
    void Paint(CScreen& screen, double opacity) override;

private:
    u32 edgeKind_ = edge::kSunken;
    u32 edgeFlags_ = edge::kRect;
    ColorRef color_ = 0;
};
