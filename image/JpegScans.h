// Counting the scans of a JPEG file without decoding it.
// Any thread: the functions keep no state.
#pragma once

#include <cstddef>

#include "foundation/Types.h"

// The number of start-of-scan markers in a JPEG held in memory, found by walking the marker
// segments and skipping the entropy-coded data between them; the walk ends at the end-of-image
// marker, at the end of the buffer or at a segment that does not fit. Stops counting once the
// count is above `enough`, so the answer is then enough + 1. One pass over the bytes at most.
u32 CountJpegScans(const u8* data, size_t size, u32 enough);
