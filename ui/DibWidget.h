// CSimpleDibWidget: a preview pane that shows one image, scaled to fit or at real size.
#pragma once

#include "foundation/Types.h"
#include "image/Dib.h"
#include "image/PaneAnchor.h"
#include "ui/Screen.h"
#include "ui/Widget.h"

// The size at which an image of `image` fills a pane of `pane` keeping its shape, enlarging as
// readily as shrinking. Shapes closer than `tolerance` (width over height) take the pane's size,
// and a side that would fall short of the pane by under 5 pixels is stretched to it.
Size FitToPane(Size pane, Size image, double tolerance);

// The corner that the detail pane shows, from the stored corner and edge bits of RoundSettings: a
// rounded corner first, in the order top left, top right, bottom left, bottom right; else a corner
// where a blurred edge shows. Never paneanchor::kWhole.
u32 AnchorFor(u32 corners, u32 edges);

// A pane over an image. paneanchor::kWhole shows the whole image scaled to fit, centred; the
// corner anchors show it at real size, one image pixel to one device pixel whatever the screen's
// scale, with that image corner in the matching pane corner. The
// background lies under the image and shows through its transparent pixels. Without an image the
// pane paints nothing at all. Main thread only.
class CSimpleDibWidget : public CWidget {
public:
    CSimpleDibWidget() = default;
    ~CSimpleDibWidget() override;

    // Store the value; a new anchor or image empties the scaled copy. An image with a colour
    // profile is shown through it.
    void SetAnchor(u32 anchor);
    void SetBackground(ColorRef color) { background_ = color; }
    void SetImage(CDibPtr image);

    u32 Anchor() const { return anchor_; }
    ColorRef Background() const { return background_; }
    const CDibPtr& Image() const { return image_; }
    // What the pane paints: the image in the screen's colours (ui/ScreenColours.h).
    const CDibPtr& Shown() const { return shown_; }
    // The copy of the image at the size of the last whole-pane paint; empty until one is made.
    // It is the shown image itself when a copy could not be made.
    const CDibPtr& ScaledCopy() const { return scaled_; }

    void Paint(CScreen& screen, double opacity) override;

private:
    // Both draw on the widget's own temporary surface over `area`, the widget's rectangle in
    // device pixels.
    void PaintWhole(CScreen& surface, const Rect& area);
    void PaintAnchored(CScreen& surface, const Rect& area);

    u32 anchor_ = paneanchor::kWhole;
    ColorRef background_ = 0;
    CDibPtr image_;
    CDibPtr shown_;
    CDibPtr scaled_;
};
