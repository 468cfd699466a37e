// The batch tick: results in, progress out, and the end of the batch.
#include "app/CommandTimer.h"

#include <algorithm>
#include <string>

#include <QApplication>
#include <QProgressBar>
#include <QWidget>

#include "batch/AutoCriticalSection.h"
#include "batch/Setting.h"
#include "batch/TaskThread.h"
#include "foundation/Msg.h"
#include "foundation/ResString.h"
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

} // namespace

void CCommandTimer::OnExecute(bool run) {
    if (!run)
        return;
    CMainView* view = TheView();
    if (!view)
        return;
    // Read before the poll: a worker that has ended by now has handed over every result it ever
    // will, so that the poll below sees them all and a missing one is really missing.
    const bool workerRunning = view->pool.AnyRunning();
    i32 failedIndex = -1;
    if (PollResults(failedIndex))
        ShowProgress();
    if (failedIndex >= 0 ||
        (!workerRunning && (view->stopRequested || view->doneCount >= view->fileCount)))
        FinishBatch(failedIndex);
    else if (!workerRunning)
        FinishBatch(-1, strid::kWorkerEnded); // gone with files unreported: nothing more will come
}

bool CCommandTimer::PollResults(i32& failedIndex) {
    failedIndex = -1;
    CMainView* view = TheView();
    if (!view)
        return false;
    CAutoLock<CAutoCriticalSection> lock(view->resultsLock);
    auto& results = view->results;
    const i32 count = static_cast<i32>(results.size());
    if (view->doneCount >= count)
        return false;
    for (i32 i = view->doneCount; i < count; ++i) {
        if (results[i]->errorId != 0)
            failedIndex = i;
    }
    // Only the newest good task of a tick is shown; a tick with a failure changes no pane.
    if (failedIndex < 0) {
        const auto& newest = results[count - 1];
        TheSetting().outputPath = newest->outputFolder;
        if (newest->preview)
            view->lastSource = newest->preview;
        view->ShowPreview();
    }
    // The view and the panes hold their own references to what they show.
    for (i32 i = view->doneCount; i < count; ++i)
        results[i]->ReleaseImages();
    view->doneCount = count;
    if (QWidget* open = view->Control(ctl::kOpenOutput))
        open->setEnabled(!results.empty());
    return true;
}

void CCommandTimer::ShowProgress() {
    CMainView* view = TheView();
    if (!view)
        return;
    if (auto* progress = qobject_cast<QProgressBar*>(view->Control(ctl::kProgress))) {
        // The range takes the low 16 bits of the count, and the position is clamped into it as
        // the progress control does.
        const i32 maximum = view->fileCount & 0xFFFF;
        progress->setRange(0, maximum);
        progress->setValue(std::clamp(view->doneCount, 0, maximum));
    }
    if (!view->pool.AnyRunning())
        return;
    std::wstring text;
    FormatResString(text, strid::kBatchProgress, {view->doneCount + 1, view->fileCount});
    text.append(static_cast<size_t>(g_dotCounter % 10), L'.');
    SetStatus(*view, text);
    ++g_dotCounter;
}

void CCommandTimer::FinishBatch(i32 failedIndex, u32 messageId) {
    CMainView* view = TheView();
    if (!view)
        return;
    // No tick may come while the box below runs its own event loop.
    view->KillTimer();
    const bool cutShort = failedIndex >= 0 || messageId != 0;
    if (cutShort)
        view->pool.StopAll(true);
    for (const auto& thread : view->pool.threads)
        thread->Wait(kWaitForever);

    std::wstring status;
    if (!cutShort && !view->stopRequested)
        FormatResString(status, strid::kBatchAllDone, {view->fileCount});
    else
        LoadResString(status, strid::kBatchStopped, true);
    SetStatus(*view, status);
    view->UpdateControlStates(false);

    if (messageId != 0) {
        std::wstring text;
        FormatResString(text, messageId, {view->doneCount, view->fileCount});
        if (msg)
            msg->Show(text, mb::kError);
        return;
    }
    if (failedIndex < 0) {
        QApplication::alert(view->window());
        return;
    }
    // The text is read under the lock; the box itself runs a nested event loop and is shown
    // outside it, so that nothing the loop runs can wait on the lock of this thread.
    std::wstring text;
    {
        CAutoLock<CAutoCriticalSection> lock(view->resultsLock);
        if (failedIndex < static_cast<i32>(view->results.size()))
            text = view->results[failedIndex]->errorText;
    }
    if (msg)
        msg->Show(text, mb::kError);
}

} // namespace lvx
