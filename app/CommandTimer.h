// One tick of a running batch: takes in what the batch has written, moves the progress bar, the
// status line and the preview panes, and ends the batch.
#pragma once

#include <vector>

#include "app/Command.h"
#include "batch/BatchRunner.h"

namespace lvx {

// Runs on every tick of the view's batch timer, on the main thread. It takes in what the view's
// batch runner has finished and shows it.
class CCommandTimer : public CCommand {
public:
    explicit CCommandTimer(::CMsg* msg) : CCommand(msg) {}
    // run true: one tick. The batch ends at the first failure, or when its threads have ended
    // after Stop or with every file written. The end is looked for on every tick, also on one
    // that brought no new result. A worker that a thrown failure ended ends the batch with a
    // message that says so.
    void OnExecute(bool run) override;

    // The files that came since the last tick: without a failure among them the newest one that
    // kept a preview is shown in both panes, and the output folder becomes the newest one's. Once
    // a file that was to keep a preview has come, the next file to start keeps one. Every one of
    // them lets go of its images.
    void ShowResults(const std::vector<TaskPtr>& finished);
    // The progress bar and, while the batch runs and no stop was asked, the status line with its
    // moving dots.
    void ShowProgress();
    // The progress of a batch that has just started: no file done of all its files.
    void ShowStart();
    // Stops the timer, waits for the batch's threads (stopping them first after a failure or with
    // a message), writes the final status line, enables the controls and shows the failure's text,
    // or the message messageId (filled with the files taken in and the files of the batch) when
    // the batch could not go on, or draws attention to the window when there was neither.
    void FinishBatch(u32 messageId = 0);
};

} // namespace lvx
