// Edge blur: fades chosen edges into transparency by capping alpha with a ramp, colour untouched.
#pragma once

#include <vector>

#include "foundation/Types.h"
#include "image/Dib.h"
#include "image/RoundSettings.h"

// No pixel is mixed with another: each pixel's alpha is capped by a value that depends only on
// its distance from the edge, a straight ramp from 0 at the outer rim to full alpha at the blur
// width, averaged over the pixel. Where a rounded corner meets two blurred edges the fade follows
// the arc. Operations keep no state and may run on any thread, each on its own images.

// Entry i: FadeValue(i, width), the share of full alpha i pixels in from the edge.
using FadeTable = std::vector<double>;

// Blurs `image` in place: a first pass within the (clipped) radius, with the rounded corner
// blocks, and a second from the radius out to the blur width, never beyond the middle.
HResult BlurEdges(CDib& image, bool topLeft, bool bottomLeft, bool bottomRight, bool topRight,
                  bool left, bool top, bool right, bool bottom, double radiusX, double radiusY,
                  double width);

// ceil(v) as a pixel count, as the passes count the pixels of a radius or a width: 0 for values
// of 0 or less and for a value that is not a number, at most 2^30.
i32 CeilCount(double v);

// Fills the table with ceil(width) entries (none for a width of 0 or less). Entries at or past
// `limit` are never read by a blur (they lie beyond the middle of the image), so a caller may
// stop the table there.
void BuildFadeTable(FadeTable& table, double width, i32 limit = 1 << 30);

// The mean of the ramp clamp(t / b, 0, 1) over t from d to d + 1. For a pixel that straddles the
// rim (d < 0 < d + 1) the value is (d + 1) / b x (d + 1) / 2; where that exceeds full alpha or is
// infinite (widths below 1 in rounded corners, and width 0) it is held at 1.
double FadeValue(double d, double b);

// A share of full alpha as a cap byte: (int)(value * 255) with the fraction dropped; values above
// 1 give 255 and values below 0 give 0. A value that is not a number leaves the pixel alone (255).
u8 FadeCap(double value);

// The fade byte of index i: 0 below 0, 255 at or beyond the table's end, else the entry's cap.
u8 FadeByte(const FadeTable& table, i32 index);

// One pass over the corner blocks of w x h pixels at (x0, y0) from each corner, then the strips
// along the chosen edges.
void BlurPass(CDib& image, i32 x0, i32 y0, i32 w, i32 h, const FadeTable& table,
              const CornerFlags& corners, const EdgeFlags& edges, double rx, double ry, double b);

// Caps a corner block by the distance inward from the arc of semi-axes rx - 1 and ry - 1.
void FadeRoundedBlock(i32 w, i32 h, const CPixelRangePair& range, double rx, double ry, double b);

// Caps a block without a rounded corner by the fade byte of the nearer edge: of x when x < y,
// else of y, with x running from x0 to x1 - 1 along a line and y from y0 to y1 - 1 per line.
void FadeSquareBlock(i32 x0, i32 x1, i32 y0, i32 y1, const FadeTable& table,
                     const CPixelRangePair& range);

// Caps each line of the range by the fade byte of its index, which runs from first up to, not
// including, last: one byte per line, one compare per pixel.
void FadeStrip(i32 first, i32 last, const FadeTable& table, const CPixelRangePair& range);

// The distance inward from the arc of the ellipse centred on (0, 0) with semi-axes a and b, at
// the offset (dx, dy) from its centre: the least of a radial, a vertical and a horizontal measure.
// A measure without a value (a square root of a negative number, or 0 / 0, which only happens
// for radii from 1 up to 1.5) is left out; the radial measure always has one.
double ArcDistance(double dx, double dy, double a, double b);
