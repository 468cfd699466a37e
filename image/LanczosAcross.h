// The horizontal half of the Lanczos 3 shrink, as an operation of our own over 8-bit rows: the
// taps of each output pixel summed two at a time in SSE2 registers, with fixed-point weights that
// add up to exactly one, so that a plain colour stays exactly itself.
// Any thread, after EnsureVipsStarted (image/VipsStart.h).
#pragma once

#include <vips/vips8>

#include "foundation/Types.h"

// `in` (8-bit, three or four bands) reduced across to `width` pixels by `shrink` (at least 1):
// output pixel x is centred on input column (x + 0.5) * shrink - 0.5 + offset, and the input's
// edge pixels repeat beyond its edges. A pipeline: rows are reduced when they are asked for.
vips::VImage LanczosAcross(const vips::VImage& in, i32 width, double shrink, double offset);

// Whether LanczosAcross takes `in`.
bool LanczosAcrossTakes(const vips::VImage& in);
