// Start-up: identity, settings, then the frame window, then its place.
#include "app/CommandInit.h"

#include "persist/AppInfo.h"
#include "persist/Settings.h"
#include "ui/MainFrame.h"

namespace lvx {

void CCommandInit::OnExecute(bool run) {
    if (!run)
        return;
    CAppInfo& info = TheAppInfo();
    info.Init(130, 131, 137, 137);
    info.SetHomeAddress(134);
    // What is not stored keeps its default; a first start has nothing stored.
    LoadSetting();
    CMainFrame* frame = TheFrame();
    if (frame && frame->Create())
        frame->RestoreLayout();
}

} // namespace lvx
