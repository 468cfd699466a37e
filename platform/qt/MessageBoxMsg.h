// Message boxes as QMessageBox: the title from the flags, the owner from the active window.
#pragma once

#include <string>

#include "foundation/Msg.h"
#include "foundation/Types.h"

// Replaces Error and Show of CMsg; every question is inherited. Main thread only.
class CMessageBoxMsg : public CMsg {
public:
    explicit CMessageBoxMsg(CtrlHandle owner = nullptr) : owner_(owner) {}

    i32 Error(const CSimpleErr& error) override;
    // A box with the error's text and OK that is not modal: it returns at once, the window keeps
    // taking drops and clicks while the box is up, and the box goes when it is closed.
    void Notify(const CSimpleErr& error) override;
    // Title strid::kErrorTitle for error flags ((flags & 0xF0) == 0x10), else strid::kQueryTitle;
    // owner: the active window, else the owner given at construction. Returns the Win32 id of the
    // button.
    i32 Show(const std::wstring& text, u32 flags) override;

    CtrlHandle Owner() const { return owner_; }

    // The title that Show uses for flags; each title is loaded once.
    static const std::wstring& TitleFor(u32 flags);

private:
    CtrlHandle owner_;
};
