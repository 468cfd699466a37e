// The start of every image fuzz target: libvips up, and no operation cache. Called once, from
// LLVMFuzzerInitialize on the fuzzer's one thread, before any input runs.
#pragma once

#include <vips/vips.h>

#include "image/VipsStart.h"

// A cached loader would keep a pointer to the fuzzer's buffer, which is gone after the run, so
// no operation outlives its run.
inline void StartVipsForFuzzing() {
    if (!EnsureVipsStarted())
        __builtin_trap();
    vips_cache_set_max(0);
}
