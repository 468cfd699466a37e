// A procedural, photo-like landscape drawn by our own code: the sample image and the test and
// benchmark pictures.
// Any thread: the functions keep no state.
#pragma once

#include <vector>

#include "foundation/Types.h"

// Paints a lake landscape of width x height pixels: a sky with a gradient, a sun and clouds,
// two ranges of hills, conifers, a lake that mirrors them with ripples, a shore with rocks, an
// overhanging branch and fine grain, so that all four corners hold detail. Returns the pixels as
// R, G, B bytes, rows from the top; empty for a size without area. The same variant number gives
// the same picture.
std::vector<u8> PaintScene(i32 width, i32 height, u32 variant = 1);
