// The drop command: from the dropped items to a running batch.
#include "app/CommandExecData.h"

#include <algorithm>
#include <cstdint>
#include <string>

#include <QApplication>
#include <QMainWindow>
#include <QWidget>

#include <boost/shared_ptr.hpp>

#include "app/CommandTimer.h"
#include "app/CommandUpdateData.h"
#include "batch/BatchPlan.h"
#include "batch/BatchRunner.h"
#include "batch/FolderScan.h"
#include "batch/LunavexTask.h"
#include "batch/Setting.h"
#include "foundation/GuardedCall.h"
#include "foundation/Msg.h"
#include "foundation/ShellIdListArray.h"
#include "persist/Settings.h"
#include "resources/StringIds.h"
#include "ui/MainFrame.h"
#include "ui/MainView.h"

namespace lvx {
namespace {

// A run out of folders of more files than this is asked about first.
constexpr std::size_t kFilesAskedAbout = 100;

} // namespace

void CCommandExecData::SetDropData(const CDropData* data) {
    GuardedCall(dropError, [this, data] { GetDroppedItems(data, items); });
}

void CCommandExecData::OnExecute(bool run) {
    if (dropError.IsError() && !run)
        throw my::CCtrlException(dropError);
    // The drop is over when its data turn out unreadable (a text, a source that ended while it
    // handed them over): the failure waits for no answer, so that the next drop is taken.
    if (dropError.IsError()) {
        if (msg)
            msg->Notify(dropError);
        return;
    }
    if (!run)
        return;
    if (CMainFrame* frame = TheFrame())
        BringToForeground(frame->Window());

    // The controls into the settings; the first bad value stops the batch before it begins.
    CCommandUpdateData update(msg, true);
    update.OnExecute(true);

    if (!SaveSetting() && msg) {
        CSimpleErr error;
        error.SetError(strid::kSaveSettingsFailed);
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
    const SourceScan scan = ExpandFolders(paths, TheSetting());
    if (scan.files.empty())
        throw my::CException(strid::kNoImagesInFolders, paths.front());
    // A large run out of folders is converted only once the user has seen how large it is.
    if (scan.folders > 0 && scan.files.size() > kFilesAskedAbout &&
        !(msg && msg->QueryFolderRun(scan.folders, scan.files.size(), scan.skipped)))
        return false;
    // Every check runs before anything changes: a refused drop leaves the last batch as it was.
    std::vector<PlannedFile> planned = PlanBatch(scan.files, TheSetting(), nullptr);

    const std::vector<std::wstring> existing = ExistingOutputs(planned);
    if (!existing.empty() && !(msg && msg->QueryOverwriteFiles(existing)))
        return false;
    // Nothing is deleted: each old output stays until its new file takes its place.
    AllowReplacing(planned);

    std::vector<TaskPtr> tasks;
    for (const PlannedFile& file : planned) {
        // Each file streams through one pipeline, and its output waits for its turn to be written.
        file.task->keeps = TaskKeeps::kEncoded;
        tasks.push_back(file.task);
    }
    // The panes show the first file as soon as it comes and the last one after the batch; the
    // ticks ask for the files between (CCommandTimer::ShowResults).
    tasks.front()->keepPreview = true;
    tasks.back()->keepPreview = true;
    // lunavex-batch's engine: one worker per processor within the memory budget, the files
    // written in their order, below normal priority so that the window stays quick.
    BatchRunOptions options;
    options.jobs = 0;
    options.memoryBudget = static_cast<u64>(TheSetting().maxMemoryMb) << 20;
    options.belowNormalPriority = true;
    if (!view->Batch().Start(std::move(tasks), options)) {
        // No worker would ever report: the run ends at once, as a run ends, with the reason.
        CCommandTimer(msg).FinishBatch(strid::kWorkerNotStarted);
        return false;
    }
    view->skippedFiles = static_cast<i32>(std::min<std::size_t>(scan.skipped, INT32_MAX));
    view->StartTimer();
    CCommandTimer(msg).ShowStart();
    return true;
}

void BringToForeground(QWidget* window) {
    if (!window || QApplication::activeWindow() == window)
        return;
    window->raise();
    window->activateWindow();
}

} // namespace lvx
