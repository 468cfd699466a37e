// Reads the controls into the settings and redoes the preview.
// The main thread only, as every command (app/Command.h).
#pragma once

#include "app/Command.h"

namespace lvx {

// strict stops at the first bad value; the tolerant form skips bad values silently.
class CCommandUpdateData : public CCommand {
public:
    CCommandUpdateData(::CMsg* msg, bool strict) : CCommand(msg), strict(strict) {}
    void OnExecute(bool run) override;

    bool strict;
};

} // namespace lvx
