// The top-level window: a fixed-size frame with a title, the help menu and the view as its whole
// client area. It turns menu commands into runs of command objects and asks before it closes.
#pragma once

#include <memory>

#include <QPointer>
#include <QWidget>

#include "foundation/Types.h"
#include "ui/FrameWindow.h"
#include "ui/WindowLayout.h"

namespace lvx {

class CDropCtrler;

// Command ids of the frame.
namespace cmd {
constexpr int kExecData = 140;
constexpr int kStop = 163;
constexpr int kExplorerOutputPath = 164;
constexpr int kAbout = 57664;
constexpr int kExit = 57665;
constexpr int kOpenHomePage = 58387;
constexpr int kOpenUsagePage = 58388;
} // namespace cmd

// One frame object lives in the run function; its window exists from Create until the user
// closes it. Main thread only.
class CMainFrame {
public:
    CMainFrame();
    ~CMainFrame();
    CMainFrame(const CMainFrame&) = delete;
    CMainFrame& operator=(const CMainFrame&) = delete;

    // Makes the window, hidden: title strid::kWindowTitle, icon 137, the menu, the view, the
    // accelerator filter, and the fixed size around the view. Returns whether a window exists.
    bool Create();
    // Applies the stored place at once and posts the show.
    void RestoreLayout();
    // The live rectangle into the settings, before they are saved.
    void CopyLayoutToSetting() const;

    // A command of the menu or of the view, run at once.
    void OnCommand(int id);
    // The same, taken in the event loop.
    void PostCommand(int id);
    void ShowAbout();

    // Events of the window. OnClose answers whether the window may be destroyed.
    bool OnClose();
    void OnDestroy();
    void OnWindowPosChanged();
    // The session ends: the settings are saved with no question and no wait.
    void OnEndSession();

    QMainWindow* Window() const;
    QWidget* View() const { return view_; }
    const WindowLayout& Layout() const { return layout_; }

private:
    void BuildMenu();
    void SizeAroundView();
    void InstallTestHooks();

    QPointer<CFrameWindow> window_;
    QPointer<QWidget> view_;
    std::unique_ptr<CWindowLayoutManager> manager_;
    std::unique_ptr<CDropCtrler> drop_;
    WindowLayout layout_;
};

// The one frame of the process; null when none exists.
CMainFrame* TheFrame();

} // namespace lvx
