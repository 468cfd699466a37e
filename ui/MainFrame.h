// The top-level window: a fixed-size frame with a title, the help menu and the view as its whole
// client area, scrolled where the screen cannot hold it. It turns menu commands into runs of
// command objects and asks before it closes.
#pragma once

#include <memory>

#include <QMargins>
#include <QPointer>
#include <QScrollArea>
#include <QWidget>

#include "foundation/Types.h"
#include "ui/FrameWindow.h"
#include "ui/WindowLayout.h"

class QRect;
class QScreen;

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

    // Makes the window, hidden: title strid::kWindowTitle, icon 137, the menu, the view in its
    // scroll area, the accelerator filter, and the fixed size fitted to the screen. Returns
    // whether a window exists.
    bool Create();
    // Sizes the window for a screen whose free area is `available`: the menu bar and the whole
    // view where they fit with the window's decoration, else as much as fits, the view scrolled;
    // a shown window that then reaches outside the area is moved inside it. The window follows
    // its own screen by itself (at creation, after a move to another screen, and once the window
    // manager has told the decoration's size).
    void FitInto(const QRect& available);
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
    // The scroll area that holds the view; its viewport is what the window shows of it. A control
    // that takes the focus is scrolled into view.
    QScrollArea* Scroller() const { return scroll_; }
    const WindowLayout& Layout() const { return layout_; }

private:
    void BuildMenu();
    void BuildScroller();
    // Fits the window to its own screen when the screen or the decoration changed since the last
    // fit.
    void FollowScreen();
    void InstallTestHooks();

    QPointer<CFrameWindow> window_;
    QPointer<QWidget> view_;
    QPointer<QScrollArea> scroll_;
    // What the last fit was made for.
    QScreen* fittedScreen_ = nullptr;
    QMargins fittedFrame_;
    std::unique_ptr<CWindowLayoutManager> manager_;
    std::unique_ptr<CDropCtrler> drop_;
    WindowLayout layout_;
};

// The one frame of the process; null when none exists.
CMainFrame* TheFrame();

} // namespace lvx
