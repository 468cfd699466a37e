// One tick of a running batch: takes in new results and shows progress.
#pragma once

#include "app/Command.h"

namespace lvx {

class CCommandTimer : public CCommand {
public:
    explicit CCommandTimer(::CMsg* msg) : CCommand(msg) {}
    void OnExecute(bool run) override;
};

} // namespace lvx
