// The batch tick: results in, progress out, and the end of the batch.
#include "app/CommandTimer.h"

#include <algorithm>
#include <string>

#include <QApplication>
#include <QProgressBar>
#include <QWidget>

#include "batch/BatchRunner.h"
#include "batch/Setting.h"
#include "foundation/Msg.h"
#include "foundation/ResString.h"
#include "image/VipsStart.h"
#include "resources/StringIds.h"
#include "ui/ControlText.h"
#include "ui/MainView.h"

namespace lvx {

namespace {

// Counts the ticks that wrote a progress line; it is never reset, so that a batch need not begin
// with no dots.
i32 g_dotCounter = 0;

void SetStatus(CMainView& view, const std::wstring& text) {
    SetControlText(view.Control(ctl::kStatus), text, true);
}

void SetProgressBar(CMainView& view, i32 done, i32 files) {
    if (auto* progress = qobject_cast<QProgressBar*>(view.Control(ctl::kProgress))) {
        // The range takes the low 16 bits of the count, and the position is clamped into it as
        // the progress control does.
        const i32 maximum = files & 0xFFFF;
        progress->setRange(0, maximum);
        progress->setValue(std::clamp(done, 0, maximum));
    }
}

} // namespace

void CCommandTimer::OnExecute(bool run) {
    if (!run)
        return;
    CMainView* view = TheView();
    if (!view)
        return;
    const BatchPoll poll = view->Batch().Poll();
    if (!poll.finished.empty()) {
        ShowResults(poll.finished);
        ShowProgress();
    }
    if (poll.end == BatchEnd::kWorkerEnded)
        FinishBatch(strid::kWorkerEnded); // gone with files unreported: nothing more will come
    else if (poll.end != BatchEnd::kRunning)
        FinishBatch();
}

void CCommandTimer::ShowResults(const std::vector<TaskPtr>& finished) {
    CMainView* view = TheView();
    if (!view || finished.empty())
        return;
    // The newest task of a tick that kept a preview is shown; a tick with a failure changes no
    // pane.
    const bool failed = std::any_of(finished.begin(), finished.end(),
                                    [](const TaskPtr& task) { return task->errorId != 0; });
    if (!failed) {
        TheSetting().outputPath = finished.back()->outputFolder;
        const auto shown = std::find_if(finished.rbegin(), finished.rend(),
                                        [](const TaskPtr& task) { return task->preview; });
        if (shown != finished.rend()) {
            view->lastSource = (*shown)->preview;
            view->ShowPreview();
        }
    }
    // One file at a time keeps a preview for a tick to come: the next to start once the last one
    // has come. The copy costs a good part of a file's work, and a tick shows one file at most.
    if (std::any_of(finished.begin(), finished.end(),
                    [](const TaskPtr& task) { return task->keepPreview; }))
        view->Batch().AskPreview();
    // The view and the panes hold their own references to what they show.
    for (const TaskPtr& task : finished)
        task->ReleaseImages();
    if (QWidget* open = view->Control(ctl::kOpenOutput))
        open->setEnabled(true);
}

void CCommandTimer::ShowProgress() {
    CMainView* view = TheView();
    if (!view)
        return;
    const CBatchRunner& batch = view->Batch();
    const i32 files = batch.FileCount();
    const i32 done = batch.DoneCount();
    SetProgressBar(*view, done, files);
    // After Stop the status line keeps saying that the batch is stopping.
    if (!batch.Running() || batch.StopRequested())
        return;
    std::wstring text;
    FormatResString(text, strid::kBatchProgress, {done + 1, files});
    text.append(static_cast<size_t>(g_dotCounter % 10), L'.');
    SetStatus(*view, text);
    ++g_dotCounter;
}

void CCommandTimer::ShowStart() {
    CMainView* view = TheView();
    if (!view)
        return;
    const i32 files = view->Batch().FileCount();
    SetProgressBar(*view, 0, files);
    std::wstring text;
    FormatResString(text, strid::kBatchProgress, {0, files});
    SetStatus(*view, text);
}

void CCommandTimer::FinishBatch(u32 messageId) {
    CMainView* view = TheView();
    if (!view)
        return;
    // No tick may come while the box below runs its own event loop.
    view->KillTimer();
    CBatchRunner& batch = view->Batch();
    const TaskPtr failed = batch.FailedTask();
    const bool cutShort = failed || messageId != 0;
    if (cutShort)
        batch.Stop();
    batch.Wait();
    // The window stays open after its batch: the buffers kept for the next file go back.
    ReleaseFreedMemory();

    std::wstring status;
    if (cutShort || batch.StopRequested())
        LoadResString(status, strid::kBatchStopped, true);
    else if (view->skippedFiles > 0)
        FormatResString(status, strid::kBatchAllDoneSkipped,
                        {batch.FileCount(), view->skippedFiles});
    else
        FormatResString(status, strid::kBatchAllDone, {batch.FileCount()});
    SetStatus(*view, status);
    view->UpdateControlStates(false);

    if (messageId != 0) {
        std::wstring text;
        FormatResString(text, messageId, {batch.DoneCount(), batch.FileCount()});
        if (msg)
            msg->Show(text, mb::kError);
        return;
    }
    if (!failed) {
        QApplication::alert(view->window());
        return;
    }
    // The box runs a nested event loop; nothing of the runner is held while it does.
    if (msg)
        msg->Show(failed->errorText, mb::kError);
}

} // namespace lvx
