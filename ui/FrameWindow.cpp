// Forwarding the frame window's events.
#include "ui/FrameWindow.h"

#include <QCloseEvent>

#include "ui/MainFrame.h"

namespace lvx {

CFrameWindow::CFrameWindow(CMainFrame& frame) : frame_(frame) {
    // Closing destroys the window, as the default handling of a close does.
    setAttribute(Qt::WA_DeleteOnClose);
}

CFrameWindow::~CFrameWindow() {
    frame_.OnDestroy();
}

void CFrameWindow::closeEvent(QCloseEvent* event) {
    if (frame_.OnClose())
        event->accept();
    else
        event->ignore();
}

bool CFrameWindow::event(QEvent* event) {
    bool handled = QMainWindow::event(event);
    switch (event->type()) {
    case QEvent::Move:
    case QEvent::Resize:
    case QEvent::WindowStateChange:
        frame_.OnWindowPosChanged();
        break;
    default:
        break;
    }
    return handled;
}

} // namespace lvx
