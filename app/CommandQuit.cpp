// Saving at exit: the controls once more, the window's place, then the settings.
#include "app/CommandQuit.h"

#include <boost/shared_ptr.hpp>

#include "app/CommandTable.h"
#include "foundation/GuardedCall.h"
#include "foundation/KnownFolders.h"
#include "foundation/Log.h"
#include "foundation/Msg.h"
#include "foundation/ResString.h"
#include "persist/Settings.h"
#include "resources/StringIds.h"
#include "ui/MainFrame.h"

namespace lvx {

namespace {

// The controls once more (quietly: a box of their own would wait as well), the window's place,
// then the settings; false when the save failed.
bool SaveOnTheWayOut(bool quietly) {
    CCommandTable* table = CCommandTable::Current();
    if (table && table->updateData) {
        if (quietly)
            table->updateData->ExecuteQuietly();
        else
            table->updateData->Execute(true, false);
    }
    if (CMainFrame* frame = TheFrame())
        frame->CopyLayoutToSetting();
    return SaveSetting();
}

} // namespace

void CCommandQuit::OnExecute(bool run) {
    if (!run)
        return;
    if (SaveOnTheWayOut(false))
        return;
    CSimpleErr error;
    error.SetError(strid::kSaveSettingsFailed);
    msg->Error(error);
}

void CCommandQuit::EndSession() {
    bool saved = false;
    CSimpleErr failure;
    GuardedCall(failure, [&saved] { saved = SaveOnTheWayOut(true); });
    if (saved)
        return;
    boost::shared_ptr<CLogFile> log = TheLog();
    if (!log)
        return;
    std::wstring text;
    FormatResString(text, strid::kSaveSettingsFailedAtEnd, {SettingsFilePath()});
    if (failure.id != 0)
        text += L"\n" + failure.text;
    log->Write(text + L"\n");
}

} // namespace lvx
