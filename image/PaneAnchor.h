// The pane anchors: which part of an image a preview pane shows, the whole of it or one corner at
// real size held in the same corner of the pane. The view chooses one, the panes and the preview
// source follow it.
// Any thread: names, constants and plain values.
#pragma once

#include "foundation/Types.h"

namespace paneanchor {
constexpr u32 kWhole = 0; // the whole image, scaled to fit
constexpr u32 kTopLeft = 1;
constexpr u32 kBottomLeft = 2;
constexpr u32 kBottomRight = 3;
constexpr u32 kTopRight = 4;
} // namespace paneanchor
