// The files of a later start dropped on the running window.
#include "app/HandedOverFiles.h"

#include <QApplication>
#include <QMainWindow>
#include <QTimer>

#include "app/CommandTable.h"
#include "app/FileListDropData.h"
#include "app/WindowArguments.h"
#include "batch/BatchRunner.h"
#include "foundation/Exception.h"
#include "foundation/Msg.h"
#include "resources/StringIds.h"
#include "ui/MainFrame.h"
#include "ui/MainView.h"

namespace lvx {

namespace {

// How often files that wait for a box to close look again.
constexpr int kBoxWaitMs = 250;

void BringUp(QWidget* window) {
    if (window->isMinimized())
        window->showNormal();
    window->raise();
    window->activateWindow();
}

} // namespace

void DropHandedOverFiles(const std::vector<std::string>& paths) {
    CMainFrame* frame = TheFrame();
    QWidget* window = frame ? frame->Window() : nullptr;
    CMainView* view = TheView();
    CCommandTable* commands = CCommandTable::Current();
    if (!window || !view || !commands || !commands->execData)
        return;
    // A box that waits for an answer keeps the window from a drop too.
    if (QApplication::activeModalWidget()) {
        QTimer::singleShot(kBoxWaitMs, window, [paths] { DropHandedOverFiles(paths); });
        return;
    }
    BringUp(window);
    if (paths.empty())
        return;
    if (view->Batch().Running()) {
        if (CMsg* msg = commands->execData->msg)
            msg->Notify(my::CException(strid::kNoDropWhileRunning));
        return;
    }
    std::vector<std::string> uris;
    uris.reserve(paths.size());
    for (const std::string& path : paths)
        uris.push_back(FileUriOfPath(path));
    const CFileListDropData dropped(uris);
    commands->SetDropData(&dropped);
    commands->ExecData();
}

} // namespace lvx
