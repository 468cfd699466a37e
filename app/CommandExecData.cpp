// The drop command: from the dropped items to a running batch.
#include "app/CommandExecData.h"

#include <unistd.h>

#include <string>

#include <QApplication>
#include <QMainWindow>
#include <QWidget>

#include <boost/shared_ptr.hpp>

#include "app/CommandUpdateData.h"
#include "batch/LunavexTask.h"
#include "batch/Setting.h"
#include "batch/TaskThread.h"
#include "foundation/GuardedCall.h"
#include "foundation/Msg.h"
#include "foundation/Paths.h"
#include "foundation/ShellIdListArray.h"
#include "persist/Settings.h"
#include "ui/MainFrame.h"
#include "ui/MainView.h"

namespace lvx {

namespace {

constexpr i32 kIdSaveSettingFailed = 192;
constexpr i32 kIdFileNotFound = 189;
constexpr i32 kIdNoEncoder = 190;
constexpr i32 kIdDeleteFailed = 191;
constexpr i32 kIdOutputIsSource = 62005;

// Deletes a file as DeleteFileW does: a folder is not deleted.
bool DeleteFileAt(const std::wstring& path) {
    return ::unlink(ToFileSystemPath(path).c_str()) == 0;
}

} // namespace

void CCommandExecData::SetDropData(const CDropData* data) {
    GuardedCall(dropError, [this, data] { GetDroppedItems(data, items); });
}

void CCommandExecData::OnExecute(bool run) {
    if (dropError.IsError())
        throw my::CCtrlException(dropError);
    if (!run)
        return;
    if (CMainFrame* frame = TheFrame())
        BringToForeground(frame->Window());

    // The controls into the settings; the first bad value stops the batch before it begins.
    CCommandUpdateData update(msg, true);
    update.OnExecute(true);

    if (!SaveSetting() && msg) {
        CSimpleErr error;
        error.SetError(kIdSaveSettingFailed);
        msg->Error(error);
    }
    if (!StartBatch(items))
        return;
    if (CMainView* view = TheView())
        view->UpdateControlStates(true);
}

bool CCommandExecData::StartBatch(const std::vector<CItemIDList>& droppedItems) {
    CMainView* view = TheView();
    if (!view)
        return false;

    std::vector<std::wstring> paths;
    paths.reserve(droppedItems.size());
    for (const CItemIDList& item : droppedItems)
        paths.push_back(item.GetPathOrThrow());
    for (const std::wstring& path : paths) {
        if (!IsExistingFile(path))
            throw my::CException(kIdFileNotFound, path);
    }

    // Leftovers of an earlier batch go; its results stay until the run below begins.
    view->pool.StopWaitAndClear(kWaitForever);

    const CSetting& setting = TheSetting();
    std::vector<std::wstring> existing;
    for (const std::wstring& path : paths) {
        std::wstring output;
        MakeOutputPath(output, path, setting);
        if (IsSameFile(path, output))
            throw my::CException(kIdOutputIsSource, path);
        boost::shared_ptr<CLunavexTask> task(new CLunavexTask);
        task->Init(path, output, view);
        task->SetShrink(setting.shrink);
        task->SetRound(setting.round);
        task->SetMaxPixels(setting.maxPixels);
        if (Failed(task->PrepareEncoder(setting.saveType, setting.jpegQuality)))
            throw my::CException(kIdNoEncoder);
        view->pool.Add(task);
        if (FileExists(output))
            existing.push_back(output);
    }

    // The tasks of a declined batch wait on the pending list until the next batch clears it.
    if (!existing.empty() && !(msg && msg->QueryOverwriteFiles(existing)))
        return false;
    for (const std::wstring& output : existing) {
        if (!DeleteFileAt(output))
            throw my::CException(kIdDeleteFailed, output);
    }

    view->stopRequested = false;
    view->fileCount = static_cast<i32>(view->pool.pending.Count());
    view->doneCount = 0;
    view->results.clear(); // no worker runs: StopWaitAndClear has waited for them
    view->pool.SetThreadCount(1);
    for (const auto& thread : view->pool.threads)
        thread->Start();
    view->StartTimer();
    return true;
}

void BringToForeground(QWidget* window) {
    if (!window || QApplication::activeWindow() == window)
        return;
    window->raise();
    window->activateWindow();
}

} // namespace lvx
