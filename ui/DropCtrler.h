// The drop target of the frame window: Qt drag and drop turned into the program's drop rules.
// The data of a drag is offered as the "Shell IDList Array" block built from its URI list; the
// generic target turns every drag event into guarded hooks, and lvx::CDropCtrler supplies the
// rule of this program.
#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>

#include "foundation/Exception.h"
#include "foundation/ShellIdListArray.h"

class CMsg;
class QMimeData;

// The drop effects a hook can answer.
namespace dropeffect {
constexpr u32 kNone = 0;
constexpr u32 kCopy = 1;
} // namespace dropeffect

// The data of a Qt drag as the drop code reads it: the one format "Shell IDList Array", built
// from the text/uri-list URLs, one item per URL. Without a URI list there is no such format.
class CMimeDropData : public CDropData {
public:
    explicit CMimeDropData(const QMimeData* data) : data_(data) {}
    // The block for kShellIdListArrayFormat; 0x80040064 (no such format) for any other format,
    // for a null data object and for data without a URI list.
    HResult GetData(const std::wstring& format, std::vector<u8>& out) const override;

private:
    const QMimeData* data_;
};

// A generic drop target on one window. Every hook runs guarded, so that nothing thrown leaves an
// event handler; a failed hook refuses the drag. Coordinates handed to the hooks are global
// (screen) coordinates. Main thread only.
class CDropCtrlerImpl : public QObject {
public:
    CDropCtrlerImpl() = default;
    ~CDropCtrlerImpl() override;

    // Makes window accept drops and watches its drag events. False for a null window. A target
    // registered elsewhere is revoked first.
    bool Register(QWidget* window);
    // Stops watching the registered window.
    void Revoke();
    QWidget* Window() const { return window_.data(); }

    // True while a drag is over the window.
    bool IsDragging() const { return data_ != nullptr; }

    // Where the failure of a drop is shown, by its Notify, which waits for no answer inside the
    // drop's event; null shows nothing. Not owned.
    CMsg* messageSink = nullptr;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

    virtual void OnDragEnter(u32 keyState, i32 x, i32 y);
    virtual void OnDragLeave();
    // The answer to a drag movement (drop false) or the drop itself (drop true): sets effect.
    virtual void OnDrag(u32 keyState, i32 x, i32 y, u32& effect, bool drop);

    // The data object of the drag in progress; null when none is over the window.
    const QMimeData* DataObject() const { return data_; }

private:
    bool HandleEnter(QWidget* window, QEvent* event);
    bool HandleMove(QWidget* window, QEvent* event);
    bool HandleLeave();
    bool HandleDrop(QWidget* window, QEvent* event);

    QPointer<QWidget> window_;
    const QMimeData* data_ = nullptr;
};

namespace lvx {

// The rule of the program: copy only; drops over the main view only; none while a worker runs.
// The drop command reads the data at every movement, and a drop posts command 140 to the frame,
// also when the data holds no file list (the command then shows why).
class CDropCtrler : public CDropCtrlerImpl {
protected:
    void OnDrag(u32 keyState, i32 x, i32 y, u32& effect, bool drop) override;
};

} // namespace lvx
