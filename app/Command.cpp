// The guard around every command body.
#include "app/Command.h"

#include <QWidget>

#include "foundation/GuardedCall.h"
#include "foundation/Msg.h"
#include "ui/FieldAtFault.h"

void CCommand::Execute(bool run, bool rethrow) {
    my::CCtrlException holder;
    GuardedCall(holder, [this, run] { OnExecute(run); });
    if (holder.id == 0)
        return;
    // The control at fault takes the focus with its text selected: typing replaces the bad value.
    lvx::FocusFieldAtFault(static_cast<QWidget*>(holder.ctrl));
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
