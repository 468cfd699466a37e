// What the window asks of the application: the acts behind the view's timer and controls, a drop
// and the frame's menu. This layer declares and calls it; the application implements it and
// installs one, so that the window never names the command objects themselves.
#pragma once

#include "foundation/Types.h"

class CDropData;

namespace lvx {

// Each call runs its act; a failure is shown by the application, never thrown to the caller.
// With none installed the window runs no act at all. Main thread only.
class CWindowCommands {
public:
    virtual ~CWindowCommands() = default;

    // A tick of the view's batch timer: the progress of the running batch.
    virtual void Timer() = 0;
    // A control of the view changed: the settings and the preview follow the controls.
    virtual void UpdateData() = 0;
    // The data of a drag over the view, read at every movement; ExecData runs on what it held.
    virtual void SetDropData(const CDropData* data) = 0;
    // The batch on the items of the last drop.
    virtual void ExecData() = 0;
    // Opens the output folder.
    virtual void ExplorerOutputPath() = 0;
    // Opens the web page whose address is string stringId.
    virtual void OpenUrl(u32 stringId) = 0;
    // The window is about to go: the controls and the window's place into the settings, which
    // are saved; a failed save is shown.
    virtual void Quit() = 0;
    // The session ends (log-out, SIGTERM): saved as by Quit, but nothing waits on the user, since
    // nobody may be there to answer and the program must end: a failure goes to the log.
    virtual void EndSession() = 0;

    // The installed commands; null when none are.
    static CWindowCommands* Installed() { return installed_; }
    // Installs commands (null uninstalls). Not owned: the application keeps them alive while
    // they are installed.
    static void Install(CWindowCommands* commands) { installed_ = commands; }

private:
    static inline CWindowCommands* installed_ = nullptr;
};

} // namespace lvx
