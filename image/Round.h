// Rounded corners: lowers the alpha of chosen corners to an elliptical arc, colour untouched.
#pragma once

#include "foundation/Types.h"
#include "image/Dib.h"

// Corner flags come in the order top left, bottom left, bottom right, top right (anticlockwise
// from the top left), the order of the stored bits (cornerbit::). Radii are in pixels and may
// differ per axis. All operations return 0 or a failure code: 0x80070057 for an image that is not
// 32 bits per pixel, 0x8007000E when memory runs out. They keep no state and may run on any
// thread, each on its own images.

// A new image in `result` with the width, height, bits and colour profile of `source`, no further
// header fields (the resolution stays 0). The copy that rounding and edge blur work on. On failure
// `result` is empty.
HResult CopyDib32(CDibPtr& result, const CDib& source);

// Rounds `image` in place. Each radius is first clipped to half its own axis (integer half), so a
// radius too large for one axis gives an elliptical corner. A radius that leaves a mask under one
// pixel changes nothing; the mask is drawn even when no corner is chosen.
HResult RoundCorners(CDib& image, bool topLeft, bool bottomLeft, bool bottomRight, bool topRight,
                     double radiusX, double radiusY);

// Draws the top-left corner mask into `mask` (32-bit, already allocated, ceil(rx) x ceil(ry)).
// Mask pixel (i, j) is the unit square centred on the point (i, j); its value is 255 times the
// share of that square inside the ellipse of centre (rx + 1, ry + 1) and semi-axes rx + 1 and
// ry + 1, rounded to the nearest whole number. Blue, green and red get the value, alpha 255.
HResult DrawCornerMask(CDib& mask, double rx, double ry);

// The exact area of the part of the rectangle [u0, u1] x [v0, v1] that lies inside the quarter
// ellipse u >= 0, v >= 0, (u / a)^2 + (v / b)^2 <= 1. Worked out from the integral of the arc.
double QuarterEllipseArea(double u0, double u1, double v0, double v1, double a, double b);

// An alpha byte under a corner mask byte: alpha * mask / 255 with the remainder dropped.
inline u8 MaskedAlpha(u8 alpha, u8 mask) {
    return static_cast<u8>(alpha * mask / 255);
}

// Multiplies the alpha of the walked pixels by the mask's blue byte as MaskedAlpha does; pixels
// under a mask value of 255 are skipped. The mask is read from its top
// row down, one mask line per range line.
HResult ApplyCornerMask(const CDib& mask, const CPixelRangePair& range);
