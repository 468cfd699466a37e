// The drop target: Qt drag events, the data of a drag as an item block, and the program's rule.
#include "ui/DropCtrler.h"

#include <QDragEnterEvent>
#include <QDragLeaveEvent>
#include <QDragMoveEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QUrl>

#include "batch/BatchRunner.h"
#include "foundation/GuardedCall.h"
#include "foundation/Msg.h"
#include "resources/StringIds.h"
#include "ui/MainFrame.h"
#include "ui/MainView.h"
#include "ui/WindowCommands.h"

namespace {

// The key state of a drag as the mouse and key flags of the system: left 1, right 2, shift 4,
// control 8, middle 16, alt 32.
u32 KeyState(const QDropEvent& event) {
    u32 state = 0;
    Qt::MouseButtons buttons = event.buttons();
    Qt::KeyboardModifiers keys = event.modifiers();
    if (buttons & Qt::LeftButton)
        state |= 0x01;
    if (buttons & Qt::RightButton)
        state |= 0x02;
    if (keys & Qt::ShiftModifier)
        state |= 0x04;
    if (keys & Qt::ControlModifier)
        state |= 0x08;
    if (buttons & Qt::MiddleButton)
        state |= 0x10;
    if (keys & Qt::AltModifier)
        state |= 0x20;
    return state;
}

// The answer of a hook into the event: a copy, never a move, or a refusal. A source that does
// not offer a copy is refused, so that it never deletes what it dragged.
void ApplyEffect(QDropEvent& event, u32 effect) {
    if (effect == dropeffect::kNone || !(event.possibleActions() & Qt::CopyAction)) {
        event.setDropAction(Qt::IgnoreAction);
        event.ignore();
        return;
    }
    event.setDropAction(Qt::CopyAction);
    event.accept();
}

} // namespace

HResult CMimeDropData::GetData(const std::wstring& format, std::vector<u8>& out) const {
    out.clear();
    if (!data_ || format != kShellIdListArrayFormat || !data_->hasUrls())
        return hr::kFormatNotAvailable;
    std::vector<std::string> uris;
    for (const QUrl& url : data_->urls())
        uris.push_back(url.toEncoded().toStdString());
    out = BuildShellIdListArray(uris);
    return hr::kOk;
}

CDropCtrlerImpl::~CDropCtrlerImpl() {
    Revoke();
}

bool CDropCtrlerImpl::Register(QWidget* window) {
    if (!window)
        return false;
    Revoke();
    window_ = window;
    window->setAcceptDrops(true);
    window->installEventFilter(this);
    return true;
}

void CDropCtrlerImpl::Revoke() {
    data_ = nullptr;
    if (!window_)
        return;
    window_->removeEventFilter(this);
    window_->setAcceptDrops(false);
    window_ = nullptr;
}

bool CDropCtrlerImpl::eventFilter(QObject* watched, QEvent* event) {
    if (watched != window_.data())
        return false;
    QWidget* window = window_.data();
    switch (event->type()) {
    case QEvent::DragEnter:
        return HandleEnter(window, event);
    case QEvent::DragMove:
        return HandleMove(window, event);
    case QEvent::DragLeave:
        return HandleLeave();
    case QEvent::Drop:
        return HandleDrop(window, event);
    default:
        return false;
    }
}

// The events come in the window's coordinates; the hooks get global ones.
bool CDropCtrlerImpl::HandleEnter(QWidget* window, QEvent* event) {
    auto* drag = static_cast<QDragEnterEvent*>(event);
    data_ = drag->mimeData();
    const QPoint at = window->mapToGlobal(drag->position().toPoint());
    const u32 keys = KeyState(*drag);
    u32 effect = dropeffect::kCopy;
    CSimpleErr holder;
    GuardedCall(holder, [&] { OnDragEnter(keys, at.x(), at.y()); });
    if (holder.IsError())
        effect = dropeffect::kNone;
    u32 dragEffect = effect;
    GuardedCall(holder, [&] { OnDrag(keys, at.x(), at.y(), dragEffect, false); });
    ApplyEffect(*drag, holder.IsError() ? dropeffect::kNone : dragEffect);
    return true;
}

bool CDropCtrlerImpl::HandleMove(QWidget* window, QEvent* event) {
    auto* drag = static_cast<QDragMoveEvent*>(event);
    if (!data_)
        data_ = drag->mimeData();
    const QPoint at = window->mapToGlobal(drag->position().toPoint());
    u32 effect = dropeffect::kCopy;
    CSimpleErr holder;
    GuardedCall(holder, [&] { OnDrag(KeyState(*drag), at.x(), at.y(), effect, false); });
    ApplyEffect(*drag, holder.IsError() ? dropeffect::kNone : effect);
    return true;
}

bool CDropCtrlerImpl::HandleLeave() {
    CSimpleErr holder;
    GuardedCall(holder, [this] { OnDragLeave(); });
    data_ = nullptr;
    return true;
}

bool CDropCtrlerImpl::HandleDrop(QWidget* window, QEvent* event) {
    auto* drop = static_cast<QDropEvent*>(event);
    data_ = drop->mimeData();
    const QPoint at = window->mapToGlobal(drop->position().toPoint());
    u32 effect = dropeffect::kCopy;
    CSimpleErr holder;
    GuardedCall(holder, [&] { OnDrag(KeyState(*drop), at.x(), at.y(), effect, true); });
    if (holder.IsError()) {
        if (messageSink)
            messageSink->Notify(holder);
        effect = dropeffect::kNone;
    }
    ApplyEffect(*drop, effect);
    data_ = nullptr;
    return true;
}

void CDropCtrlerImpl::OnDragEnter(u32, i32, i32) {}

void CDropCtrlerImpl::OnDragLeave() {}

void CDropCtrlerImpl::OnDrag(u32, i32, i32, u32& effect, bool) {
    effect = dropeffect::kNone;
}

namespace lvx {

void CDropCtrler::OnDrag(u32, i32 x, i32 y, u32& effect, bool drop) {
    effect = dropeffect::kCopy;
    CMainView* view = TheView();
    if (!view)
        throw my::CException(strid::kNoDropOnFrame);
    const QRect area(view->mapToGlobal(QPoint(0, 0)), view->size());
    if (!area.contains(x, y))
        throw my::CException(strid::kNoDropOnFrame);
    if (view->Batch().Running())
        throw my::CException(strid::kNoDropWhileRunning);

    CWindowCommands* commands = CWindowCommands::Installed();
    if (!commands) {
        effect = dropeffect::kNone;
        return;
    }
    // Data that holds no file list (a text, an empty list) is taken as well, so that its drop
    // arrives and the command shows why there is nothing to convert.
    CMimeDropData data(DataObject());
    commands->SetDropData(&data);
    // Posted, so that the batch (and the box of a failure) begins after the drag has ended.
    if (drop) {
        if (CMainFrame* frame = TheFrame())
            frame->PostCommand(cmd::kExecData);
    }
}

} // namespace lvx
