// The base of every command: one act, run behind a guard that shows its failure in a box.
#pragma once

#include <functional>

#include "foundation/Exception.h"

class CMsg;

// A command runs its body OnExecute(run): true does the act, false only the checks, and a check
// fails by throwing. Whatever the body throws is caught here. Main thread only.
class CCommand {
public:
    explicit CCommand(CMsg* msg) : msg(msg) {}
    virtual ~CCommand() = default;

    // Runs the body; a failure moves the focus to the control at fault (when there is one), then
    // shows the text with flags 16, then is thrown on as my::CCtrlException when rethrow is true.
    virtual void Execute(bool run, bool rethrow);
    // Runs the act and drops any failure.
    virtual void ExecuteQuietly();
    // Runs the checks only; true when they pass. Nothing is shown and no focus moves.
    virtual bool CanExecute();
    // The body; the base class does nothing.
    virtual void OnExecute(bool run);

    // Shows a failure that arrives after the body has returned (a helper program's answer) by
    // the message object's Notify, which waits for no answer. The handler holds the message
    // object, not the command.
    std::function<void(const my::CException&)> LateFailureHandler() const;

    CMsg* msg; // not owned; the program's one message object
};
