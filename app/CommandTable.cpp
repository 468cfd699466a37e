// Making the command table, and running its commands for the window.
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
    Install(this);
}

CCommandTable::~CCommandTable() {
    if (Installed() == this)
        Install(nullptr);
    if (current_ == this)
        current_ = nullptr;
}

void CCommandTable::Timer() {
    if (timer)
        timer->Execute(true, false);
}

void CCommandTable::UpdateData() {
    if (updateData)
        updateData->Execute(true, false);
}

void CCommandTable::SetDropData(const CDropData* data) {
    if (execData)
        execData->SetDropData(data);
}

void CCommandTable::ExecData() {
    if (execData)
        execData->Execute(true, false);
}

void CCommandTable::ExplorerOutputPath() {
    if (explorerOutputPath)
        explorerOutputPath->Execute(true, false);
}

void CCommandTable::OpenUrl(u32 stringId) {
    if (!openUrl)
        return;
    openUrl->stringId = stringId;
    openUrl->Execute(true, false);
}

void CCommandTable::Quit() {
    if (quit)
        quit->Execute(true, false);
}

void CCommandTable::EndSession() {
    if (quit)
        quit->EndSession();
}
