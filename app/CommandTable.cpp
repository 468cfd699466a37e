// Making the command table.
#include "app/CommandTable.h"

#include "ui/LunavexMsg.h"

CCommandTable::CCommandTable() {
    current_ = this;
    ::CMsg* msg = &lvx::TheMsg();
    init.reset(new lvx::CCommandInit(msg));
    quit.reset(new lvx::CCommandQuit(msg));
    timer.reset(new lvx::CCommandTimer(msg));
    execData.reset(new lvx::CCommandExecData(msg));
    updateData.reset(new lvx::CCommandUpdateData(msg, false));
    updateDataStrict.reset(new lvx::CCommandUpdateData(msg, true));
    explorerOutputPath.reset(new lvx::CCommandExplorerOutputPath(msg));
    openUrl.reset(new CCommandOpenUrl(msg));
}

CCommandTable::~CCommandTable() {
    if (current_ == this)
        current_ = nullptr;
}
