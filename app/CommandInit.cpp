// Start-up: identity, settings, then the frame window, then its place.
#include "app/CommandInit.h"

#include "persist/AppInfo.h"
#include "persist/Settings.h"
#include "resources/StringIds.h"
#include "ui/MainFrame.h"

namespace lvx {

namespace {

// The application's icon resource; the window draws the icon itself.
constexpr u32 kIconId = 137;

} // namespace

void CCommandInit::OnExecute(bool run) {
    if (!run)
        return;
    CAppInfo& info = TheAppInfo();
    info.Init(strid::kMakerName, strid::kProductName, strid::kWindowTitle, kIconId);
    info.SetHomeAddress(strid::kHomePageAddress);
    // What is not stored keeps its default; a first start has nothing stored.
    LoadSetting();
    CMainFrame* frame = TheFrame();
    if (frame && frame->Create())
        frame->RestoreLayout();
}

} // namespace lvx
