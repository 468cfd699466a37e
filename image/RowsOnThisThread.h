// Reading a pipeline's pixels on the calling thread, strip by strip, top to bottom.
#pragma once

#include <functional>

#include <vips/vips8>

#include "foundation/Types.h"

// Hands each row of `image` to `take` in order, computed in strips of a few rows on the calling
// thread: a sequential loader reads in order, and every stage's buffers stay small and are used
// again. For images the size of a pane, this costs less than handing strips to libvips' workers.
// Throws vips::VError when the pipeline fails.
void ForEachRow(const vips::VImage& image, const std::function<void(i32 y, const u8* row)>& take);
