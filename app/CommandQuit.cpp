// Saving at exit: the controls once more, the window's place, then the settings.
#include "app/CommandQuit.h"

#include "app/CommandTable.h"
#include "foundation/Msg.h"
#include "persist/Settings.h"
#include "resources/StringIds.h"
#include "ui/MainFrame.h"

namespace lvx {

void CCommandQuit::OnExecute(bool run) {
    if (!run)
        return;
    CCommandTable* table = CCommandTable::Current();
    if (table && table->updateData)
        table->updateData->Execute(true, false);
    if (CMainFrame* frame = TheFrame())
        frame->CopyLayoutToSetting();
    if (SaveSetting())
        return;
    CSimpleErr error;
    error.SetError(strid::kSaveSettingsFailed);
    msg->Error(error);
}

} // namespace lvx
