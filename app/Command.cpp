// The guard around every command body.
#include "app/Command.h"

#include <QWidget>

#include "foundation/GuardedCall.h"
#include "foundation/Msg.h"

namespace {

// The control at fault takes the keyboard focus, its window first.
void FocusControl(CtrlHandle control) {
    auto* widget = static_cast<QWidget*>(control);
    if (!widget)
        return;
    widget->activateWindow();
    widget->setFocus(Qt::OtherFocusReason);
}

} // namespace

void CCommand::Execute(bool run, bool rethrow) {
    my::CCtrlException holder;
    GuardedCall(holder, [this, run] { OnExecute(run); });
    if (holder.id == 0)
        return;
    FocusControl(holder.ctrl);
    if (msg)
        msg->Error(holder);
    if (rethrow)
        throw my::CCtrlException(holder);
}

void CCommand::ExecuteQuietly() {
    my::CCtrlException holder;
    GuardedCall(holder, [this] { OnExecute(true); });
}

bool CCommand::CanExecute() {
    my::CCtrlException holder;
    GuardedCall(holder, [this] { OnExecute(false); });
    return holder.id == 0;
}

void CCommand::OnExecute(bool) {}

std::function<void(const my::CException&)> CCommand::LateFailureHandler() const {
    CMsg* target = msg;
    return [target](const my::CException& failure) {
        if (target)
            target->Notify(failure);
    };
}
