// The eight commands of the program, made together and reached through one process-wide pointer;
// the table is also what the window calls to run them.
#pragma once

#include <boost/shared_ptr.hpp>

#include "app/CommandExecData.h"
#include "app/CommandExplorer.h"
#include "app/CommandInit.h"
#include "app/CommandOpenUrl.h"
#include "app/CommandQuit.h"
#include "app/CommandTimer.h"
#include "app/CommandUpdateData.h"
#include "ui/WindowCommands.h"

// Lives in the run function from before start-up until the event loop has ended. Main thread only.
class CCommandTable : public lvx::CWindowCommands {
public:
    // Stores its address as the current table, makes the commands in table order, each with the
    // program's message object, and installs itself as the window's commands.
    CCommandTable();
    // Uninstalls itself, so that the window runs no command after the table has gone.
    ~CCommandTable() override;
    CCommandTable(const CCommandTable&) = delete;
    CCommandTable& operator=(const CCommandTable&) = delete;

    boost::shared_ptr<lvx::CCommandInit> init;                             // 0
    boost::shared_ptr<lvx::CCommandQuit> quit;                             // 1
    boost::shared_ptr<lvx::CCommandTimer> timer;                           // 2
    boost::shared_ptr<lvx::CCommandExecData> execData;                     // 3
    boost::shared_ptr<lvx::CCommandUpdateData> updateData;                 // 4, tolerant
    boost::shared_ptr<lvx::CCommandUpdateData> updateDataStrict;           // 5, strict
    boost::shared_ptr<lvx::CCommandExplorerOutputPath> explorerOutputPath; // 6
    boost::shared_ptr<CCommandOpenUrl> openUrl;                            // 7

    // What the window runs: each executes its command, which shows its own failure.
    void Timer() override;
    void UpdateData() override;
    void SetDropData(const CDropData* data) override;
    void ExecData() override;
    void ExplorerOutputPath() override;
    // Sets the command's string id, then runs it.
    void OpenUrl(u32 stringId) override;
    void Quit() override;
    void EndSession() override;

    // The table of the process; null when none exists.
    static CCommandTable* Current() { return current_; }

private:
    static inline CCommandTable* current_ = nullptr;
};
