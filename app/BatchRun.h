// The headless batch: converts files one after the other as a dropped batch would.
// Threads: RunBatch runs on the thread that calls it (lunavex-batch's main thread), which starts
// and joins the workers of --jobs itself.
#pragma once

#include <ostream>

#include "app/BatchOptions.h"

class CSetting;

namespace lvx {

namespace exitcode {
constexpr int kConverted = 0;
constexpr int kTaskFailed = 1; // a file failed, or the list of written files could not be written
constexpr int kUsage = 2;      // bad command line
constexpr int kRefused = 3;    // stopped before anything changed on disk
// Plus the signal's number (143 for SIGTERM, 130 for SIGINT): a stop requested by a signal, the
// status a shell shows for a process that the signal ended, so that scripts read it as such.
constexpr int kStoppedBySignal = 128;
} // namespace exitcode

// Checks every file first (exists, output path, encoder, outputs that exist, an output that is
// its own source), then runs one task per file in order, stopping at the first failure. Writes
// each output path to out, flushed, once its file is complete, and every message to err (UTF-8).
// A stop signal (StopSignals.h) ends the run before the next file is written; out failing ends it
// as a failed file does. Returns an exit code.
int RunBatch(const BatchOptions& options, const CSetting& settings, std::ostream& out,
             std::ostream& err);

} // namespace lvx
