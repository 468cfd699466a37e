// Runs a batch on what was dropped on the window.
#pragma once

#include "app/Command.h"

namespace lvx {

// dropError holds the failure of reading the dropped data; the check throws it.
class CCommandExecData : public CCommand {
public:
    explicit CCommandExecData(::CMsg* msg) : CCommand(msg) {}
    void OnExecute(bool run) override;

    CSimpleErr dropError;
};

} // namespace lvx
