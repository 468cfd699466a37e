// The top-level Qt window of the frame: it hands its close, destruction and moves to the frame.
// The main thread only (the window's), as every Qt object of the window.
#pragma once

#include <QMainWindow>

namespace lvx {

class CMainFrame;

class CFrameWindow : public QMainWindow {
public:
    explicit CFrameWindow(CMainFrame& frame);
    ~CFrameWindow() override;

protected:
    void closeEvent(QCloseEvent* event) override;
    bool event(QEvent* event) override;

private:
    CMainFrame& frame_;
};

} // namespace lvx
