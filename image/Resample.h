// Resampling 8-bit pixels with libvips: the kernels of the interpolation modes, and the handling
// of alpha that keeps hidden colours from bleeding into visible ones.
// Any thread, after EnsureVipsStarted (image/VipsStart.h).
#pragma once

#include <vips/vips8>

#include "foundation/Types.h"

// Four 8-bit bands (three colours, then straight alpha) resampled to exactly width x height with
// the kernel of the interpolation mode (image/Draw.h). With opaque set the alpha is taken to be
// 255 everywhere: only the colours are resampled and the alpha stays 255. Three bands are taken
// as colours without alpha and stay three. Otherwise the colours
// are weighted by their alpha while they are mixed, and the result is rounded to the nearest
// byte. extentX and extentY (when above 0) say how many of the input's pixels, fractions
// included, map onto the output: a decoder that reduced by 8 gives ceil(W / 8) pixels whose last
// one covers less, and W / 8 maps every output pixel onto the place it comes from. A pipeline:
// nothing is computed until its pixels are asked for.
vips::VImage ResampleRgba(const vips::VImage& in, i32 width, i32 height, i32 interpolation,
                          bool opaque, double extentX = 0, double extentY = 0);
