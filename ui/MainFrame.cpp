// The frame: window creation, the help menu, commands, close and destruction.
#include "ui/MainFrame.h"

#include "ui/DropCtrler.h"

#include <algorithm>
#include <cstdlib>

#include <QApplication>
#include <QMenu>
#include <QMenuBar>
#include <QMetaObject>
#include <QScreen>
#include <QScrollArea>
#include <QStyle>

#include "batch/Setting.h"
#include "foundation/ControlLookup.h"
#include "foundation/Msg.h"
#include "foundation/ResString.h"
#include "persist/WindowLayoutRect.h"
#include "resources/StringIds.h"
#include "ui/AboutDlg.h"
#include "ui/AcceleratorFilter.h"
#include "ui/AppIcon.h"
#include "ui/ControlId.h"
#include "ui/FrameWindow.h"
#include "ui/LunavexMsg.h"
#include "ui/MainView.h"
#include "ui/WindowCommands.h"
#include "ui/WindowFit.h"

namespace lvx {

namespace {

CMainFrame* g_frame = nullptr;

QString Text(u32 id) {
    std::wstring text;
    LoadResString(text, id, true);
    return QString::fromStdWString(text);
}

bool EnvironmentFlag(const char* name) {
    const char* value = std::getenv(name);
    return value && value[0] == '1';
}

// The view knows its controls by id; before the frame holds it, the view of the process answers.
CtrlHandle ResolveViewControl(i32 id) {
    CMainFrame* frame = TheFrame();
    QWidget* view = frame ? frame->View() : nullptr;
    if (!view)
        view = TheView();
    return view ? FindControl(view, id) : nullptr;
}

void FocusWidget(CtrlHandle control) {
    auto* widget = static_cast<QWidget*>(control);
    widget->activateWindow();
    widget->setFocus(Qt::OtherFocusReason);
}

// The side borders that a window manager draws at least, in the window's pixels.
constexpr int kFrameBorder = 4;

// The decoration around a window as its geometry tells it; none before the window manager has
// framed it.
QMargins KnownFrame(const QWidget* window) {
    const QRect outer = window->frameGeometry();
    const QRect inner = window->geometry();
    return {inner.left() - outer.left(), inner.top() - outer.top(), outer.right() - inner.right(),
            outer.bottom() - inner.bottom()};
}

Rect ToRect(const QRect& r) {
    return {r.x(), r.y(), r.x() + r.width(), r.y() + r.height()};
}

// Runs act of the installed commands, when there are any.
template <class Act> void RunCommand(Act act) {
    if (CWindowCommands* commands = CWindowCommands::Installed())
        (commands->*act)();
}

} // namespace

CMainFrame* TheFrame() {
    return g_frame;
}

CMainFrame::CMainFrame() {
    g_frame = this;
    SetCtrlResolver(&ResolveViewControl);
    ::CMsg::SetFocusHandler(&FocusWidget);
}

CMainFrame::~CMainFrame() {
    delete window_.data();
    if (g_frame == this) {
        g_frame = nullptr;
        SetCtrlResolver(nullptr);
    }
}

QMainWindow* CMainFrame::Window() const {
    return window_.data();
}

bool CMainFrame::Create() {
    if (window_)
        return true;
    window_ = new CFrameWindow(*this);
    manager_ = std::make_unique<CWindowLayoutManager>(window_.data());
    window_->setWindowFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                            Qt::WindowSystemMenuHint | Qt::WindowMinimizeButtonHint |
                            Qt::WindowCloseButtonHint);
    window_->setWindowTitle(Text(strid::kWindowTitle).left(256));
    window_->setWindowIcon(AppIcon());
    BuildMenu();

    view_ = new CMainView;
    BuildScroller();
    qApp->installEventFilter(new CAcceleratorFilter(window_.data()));
    QObject::connect(qApp, &QGuiApplication::commitDataRequest, window_.data(),
                     [this] { OnEndSession(); });
    FollowScreen();
    // Files dropped on the window start a batch; without the registration there is no drop.
    drop_ = std::make_unique<CDropCtrler>();
    drop_->Register(window_.data());
    return true;
}

void CMainFrame::BuildMenu() {
    QMenu* help = window_->menuBar()->addMenu(Text(strid::kHelpMenu));
    QObject::connect(help->addAction(Text(strid::kHomePageMenuItem)), &QAction::triggered,
                     window_.data(), [this] { OnCommand(cmd::kOpenHomePage); });
    QObject::connect(help->addAction(Text(strid::kUsagePageMenuItem)), &QAction::triggered,
                     window_.data(), [this] { OnCommand(cmd::kOpenUsagePage); });
    help->addSeparator();
    QObject::connect(help->addAction(Text(strid::kAboutMenuItem)), &QAction::triggered,
                     window_.data(), [this] { OnCommand(cmd::kAbout); });
}

// The view keeps the size of its dialog template; the scroll area around it shows it whole where
// the window is large enough, with no frame of its own, so that the window on a large screen is
// the menu bar and the view exactly. Tab and the access keys move the focus into a part scrolled
// away, and the area scrolls to it.
void CMainFrame::BuildScroller() {
    scroll_ = new QScrollArea;
    scroll_->setFrameShape(QFrame::NoFrame);
    scroll_->setFocusPolicy(Qt::NoFocus);
    scroll_->setWidget(view_);
    window_->setCentralWidget(scroll_);
    // The whole control comes into view: not only the edit inside a combo box that has the focus,
    // nor only its text cursor, which is all that ensureWidgetVisible would show of a combo box.
    QObject::connect(qApp, &QApplication::focusChanged, scroll_.data(),
                     [this](QWidget* /*old*/, QWidget* focused) {
                         if (!focused || !view_ || !view_->isAncestorOf(focused))
                             return;
                         while (focused->parentWidget() != view_)
                             focused = focused->parentWidget();
                         const QRect r(focused->pos(), focused->size());
                         scroll_->ensureVisible(r.center().x(), r.center().y(), r.width() / 2 + 1,
                                                r.height() / 2 + 1);
                     });
}

void CMainFrame::FitInto(const QRect& available) {
    if (!window_ || !view_)
        return;
    const QStyle* style = window_->style();
    const QMargins known = KnownFrame(window_);
    const QMargins frame =
        FrameMarginsAtLeast(known, style->pixelMetric(QStyle::PM_TitleBarHeight), kFrameBorder);
    const QSize room = available.size().shrunkBy(frame);
    const QSize view = view_->size();
    QMenuBar* menu = window_->menuBar();
    int menuHeight = menu->heightForWidth(std::min(view.width(), room.width()));
    if (menuHeight <= 0)
        menuHeight = menu->sizeHint().height();
    const QSize client =
        FitClientSize(view, menuHeight, room, style->pixelMetric(QStyle::PM_ScrollBarExtent));
    window_->setFixedSize(client);
    if (!window_->isVisible())
        return;
    const Rect outer = ToRect(window_->geometry().marginsAdded(frame));
    const Rect inside = ClampRectToBounds(outer, ToRect(available));
    if (inside.left != outer.left || inside.top != outer.top)
        window_->move(inside.left + frame.left() - known.left(),
                      inside.top + frame.top() - known.top());
}

void CMainFrame::FollowScreen() {
    QScreen* screen = window_ ? window_->screen() : nullptr;
    if (!screen)
        return;
    const QMargins known = KnownFrame(window_);
    if (screen == fittedScreen_ && known == fittedFrame_)
        return;
    const bool moved = fittedScreen_ && screen != fittedScreen_;
    fittedScreen_ = screen;
    fittedFrame_ = known;
    FitInto(screen->availableGeometry());
    // Another screen may have another scale: the panes are made again in its device pixels.
    if (moved)
        if (CMainView* view = TheView())
            view->RunUpdate();
}

void CMainFrame::RestoreLayout() {
    if (!window_)
        return;
    InstallTestHooks();
    manager_->BeginRestore(layout_, TheSetting().window.rect);
}

// Test hooks of the program, read from the environment: LVX_TEST_CLOSE_AFTER_SHOW=1 closes the
// frame as soon as it has been shown; LVX_TEST_OPEN_ABOUT=1 opens the About box then (and wins
// over the close). Tests and screenshots use them; nothing else sets them.
void CMainFrame::InstallTestHooks() {
    bool about = EnvironmentFlag("LVX_TEST_OPEN_ABOUT");
    bool close = EnvironmentFlag("LVX_TEST_CLOSE_AFTER_SHOW");
    if (!about && !close)
        return;
    manager_->afterShow = [this, about] {
        if (about)
            PostCommand(cmd::kAbout);
        else
            QMetaObject::invokeMethod(
                window_.data(), [this] { window_->close(); }, Qt::QueuedConnection);
    };
}

void CMainFrame::CopyLayoutToSetting() const {
    TheSetting().window.rect = layout_.rect;
}

void CMainFrame::OnCommand(int id) {
    switch (id) {
    case cmd::kStop:
        if (CMainView* view = TheView())
            view->Stop();
        break;
    case cmd::kExplorerOutputPath:
        RunCommand(&CWindowCommands::ExplorerOutputPath);
        break;
    case cmd::kExecData:
        RunCommand(&CWindowCommands::ExecData);
        break;
    case cmd::kExit:
        if (window_)
            QMetaObject::invokeMethod(
                window_.data(), [this] { window_->close(); }, Qt::QueuedConnection);
        break;
    case cmd::kAbout:
        ShowAbout();
        break;
    case cmd::kOpenHomePage:
    case cmd::kOpenUsagePage:
        if (CWindowCommands* commands = CWindowCommands::Installed())
            commands->OpenUrl(id == cmd::kOpenHomePage ? strid::kHomePageAddress
                                                       : strid::kUsagePageAddress);
        break;
    default:
        break;
    }
}

void CMainFrame::PostCommand(int id) {
    if (window_)
        QMetaObject::invokeMethod(
            window_.data(), [this, id] { OnCommand(id); }, Qt::QueuedConnection);
}

void CMainFrame::ShowAbout() {
    QWidget* owner = QApplication::activeWindow();
    CAboutDlg about(owner ? owner : window_.data());
    about.exec();
}

bool CMainFrame::OnClose() {
    // A running batch is stopped only with the user's consent; a refusal keeps the window and
    // the batch. The timer goes with the window.
    if (CMainView* view = TheView(); view && view->Batch().Running()) {
        if (!TheMsg().QueryStopAndQuit())
            return false;
        view->Batch().StopAndWait();
        view->KillTimer();
    }
    RunCommand(&CWindowCommands::Quit);
    return true;
}

void CMainFrame::OnDestroy() {
    if (drop_)
        drop_->Revoke();
    if (qApp)
        qApp->removeEventFilter(window_ ? window_->findChild<CAcceleratorFilter*>() : nullptr);
    // The end of the frame's window ends the event loop, with the exit code of a normal run.
    QCoreApplication::exit(1);
}

void CMainFrame::OnWindowPosChanged() {
    if (manager_)
        manager_->OnWindowPosChanged();
    FollowScreen();
}

void CMainFrame::OnEndSession() {
    RunCommand(&CWindowCommands::EndSession);
}

} // namespace lvx
