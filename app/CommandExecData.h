// Runs a batch on what was dropped on the window: checks the dropped items, builds one task for
// each and starts the batch's threads.
#pragma once

#include <vector>

#include "app/Command.h"
#include "foundation/ItemIdList.h"

class CDropData;
class QWidget;

namespace lvx {

// The drop target fills items (and dropError) at every drag movement; the frame runs the command
// on the posted command 140. The items stay between drops until the next SetDropData. Main
// thread only.
class CCommandExecData : public CCommand {
public:
    explicit CCommandExecData(::CMsg* msg) : CCommand(msg) {}

    // Takes the dropped items of data into items; a failure goes into dropError. Throws nothing.
    void SetDropData(const CDropData* data);
    // run false: only the check of dropError, which throws it. run true: dropError shown by the
    // message object's Notify, which waits for no answer; else the controls into the settings,
    // the settings saved, then the batch started.
    void OnExecute(bool run) override;
    // Checks every item, builds the tasks, asks before overwriting and starts the batch's threads
    // and the timer of the view, with the status line at 0 of all files. True when a run has
    // begun; false when there is no view, the user declined the overwrite question, or the
    // threads could not be started (the run has then ended with a message). Nothing on disk
    // changes before every check has passed and the user has agreed, and no old output is
    // deleted: a task replaces its output when its new file is complete, and only an output that
    // the user agreed to replace.
    bool StartBatch(const std::vector<CItemIDList>& droppedItems);

    my::CCtrlException dropError; // id 0 when the last SetDropData had no failure
    std::vector<CItemIDList> items;
};

// Raises window above the others and gives it the keyboard input, unless it is active already.
void BringToForeground(QWidget* window);

} // namespace lvx
