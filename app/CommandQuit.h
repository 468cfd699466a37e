// Saving on the way out: a last read of the controls, the window's place, the settings.
#pragma once

#include "app/Command.h"

namespace lvx {

class CCommandQuit : public CCommand {
public:
    explicit CCommandQuit(::CMsg* msg) : CCommand(msg) {}
    void OnExecute(bool run) override;
};

} // namespace lvx
