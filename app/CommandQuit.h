// Saving on the way out: a last read of the controls, the window's place, the settings.
#pragma once

#include "app/Command.h"

namespace lvx {

// Execute saves as the window closes and shows a failed save. Main thread only.
class CCommandQuit : public CCommand {
public:
    explicit CCommandQuit(::CMsg* msg) : CCommand(msg) {}
    void OnExecute(bool run) override;
    // The same save at the end of the session (log-out, SIGTERM): nothing is shown, since nobody
    // may be there to answer a box and the program must end; a failure goes to the log.
    void EndSession();
};

} // namespace lvx
