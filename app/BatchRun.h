// The headless batch: converts files one after the other as a dropped batch would.
#pragma once

#include <ostream>

#include "app/BatchOptions.h"

class CSetting;

namespace lvx {

namespace exitcode {
constexpr int kConverted = 0;
constexpr int kTaskFailed = 1; // a file failed; the files before it are written
constexpr int kUsage = 2;      // bad command line
constexpr int kRefused = 3;    // stopped before anything changed on disk
} // namespace exitcode

// Checks every file first (exists, output path, encoder, outputs that exist, an output that is
// its own source), then runs one task per file in order, stopping at the first failure. Writes
// each output path to out and every message to err (UTF-8). Returns an exit code.
int RunBatch(const BatchOptions& options, const CSetting& settings, std::ostream& out,
             std::ostream& err);

} // namespace lvx
