// A CDib as a libvips image and back: its rows wrapped without a copy, its colours in RGB order,
// and a pipeline's rows written into one.
// Any thread, after EnsureVipsStarted (image/VipsStart.h); each image is used by one at a time.
#pragma once

#include <vips/vips8>

#include "foundation/Types.h"
#include "image/Dib.h"

// The rows of a CDib as a top-down libvips image of the bands blue, green, red, alpha. Shares the
// CDib's memory; no pixel is copied.
vips::VImage WrapDib(const CDib& dib);

// The colour bands of a 32-bit CDib in RGB order, with alpha when withAlpha asks for it: the
// image's own with keepAlpha, else 255.
vips::VImage DibRgb(const CDib& dib, bool withAlpha, bool keepAlpha);

// Writes the rows of four 8-bit bands (red, green, blue, alpha), computed by libvips' threads in
// row order, into a 32-bit CDib of the same size. False with libvips' error set when the pipeline
// fails.
bool WriteRgbaInto(const vips::VImage& rgba, CDib& dib);
