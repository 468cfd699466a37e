// The rectangle rules of the window's remembered place, free of any window system.
// Any thread: the functions keep no state.
#pragma once

#include "foundation/Types.h"

// Moves rect inside bounds without changing its size, in this order: a bottom beyond the bounds
// goes up, a top above them goes down, a right beyond them goes left, a left before them goes
// right. A rectangle larger than the bounds thus ends with its top left corner inside.
inline Rect ClampRectToBounds(const Rect& rect, const Rect& bounds) {
    Rect r = rect;
    auto shift = [&r](i32 dx, i32 dy) {
        r.left += dx;
        r.right += dx;
        r.top += dy;
        r.bottom += dy;
    };
    if (r.bottom > bounds.bottom)
        shift(0, bounds.bottom - r.bottom);
    if (r.top < bounds.top)
        shift(0, bounds.top - r.top);
    if (r.right > bounds.right)
        shift(bounds.right - r.right, 0);
    if (r.left < bounds.left)
        shift(bounds.left - r.left, 0);
    return r;
}

// The rectangle that holds all of the given rectangles (an empty one when there are none).
template <class Range> Rect BoundingRect(const Range& rects) {
    Rect bounds;
    bool first = true;
    for (const Rect& r : rects) {
        if (first) {
            bounds = r;
            first = false;
            continue;
        }
        bounds.left = r.left < bounds.left ? r.left : bounds.left;
        bounds.top = r.top < bounds.top ? r.top : bounds.top;
        bounds.right = r.right > bounds.right ? r.right : bounds.right;
        bounds.bottom = r.bottom > bounds.bottom ? r.bottom : bounds.bottom;
    }
    return bounds;
}
