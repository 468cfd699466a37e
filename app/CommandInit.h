// Start-up after the objects exist: identity, settings, the frame window and its place.
// The main thread only, as every command (app/Command.h).
#pragma once

#include "app/Command.h"

namespace lvx {

class CCommandInit : public CCommand {
public:
    explicit CCommandInit(::CMsg* msg) : CCommand(msg) {}
    void OnExecute(bool run) override;
};

} // namespace lvx
