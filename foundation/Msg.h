// The one way to a box: the questions and failures that the program puts to the user.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "foundation/Exception.h"
#include "foundation/Types.h"

// Box flags in use and the answers that count as positive.
namespace mb {
constexpr u32 kError = 16;    // OK with the error icon
constexpr u32 kOkCancel = 49; // OK and Cancel with the warning icon
constexpr i32 kIdOk = 1;
constexpr i32 kIdCancel = 2;
} // namespace mb

// The base decides what is asked; a derived class decides how the box looks and who owns it.
// Main thread only: every box is modal on the main thread.
class CMsg {
public:
    virtual ~CMsg() = default;

    // The text of error with flags 16, by Show.
    virtual i32 Error(const CSimpleErr& error);
    // A failure that arrives after the act that caused it is over (a helper program's end, the
    // data of a drop that could not be read): shown without waiting for the user, so that it
    // holds up nothing the user does next (a drop, a click). The base class shows it by Error.
    virtual void Notify(const CSimpleErr& error);
    // Shows text with flags and returns the answer; the base class has no box and answers 0.
    virtual i32 Show(const std::wstring& text, u32 flags);
    virtual bool QueryOverwriteFiles(const std::vector<std::wstring>& paths);
    // Before the files of dropped folders are converted: how many folders, images and files that
    // are not images.
    virtual bool QueryFolderRun(std::size_t folders, std::size_t images, std::size_t skipped);

    // Shows string id (0: an empty text) with flags.
    i32 ShowId(u32 id, u32 flags);

    // Who moves the keyboard focus to a control at fault; the window layer installs it.
    using FocusHandler = void (*)(CtrlHandle control);
    static void SetFocusHandler(FocusHandler handler);
    static void FocusControl(CtrlHandle control);

protected:
    // The text of template id with args, shown with flags 49; true on OK.
    bool QueryOkCancel(u32 id, std::initializer_list<FormatArg> args = {});
};

// The text that lists paths in template strid::kQueryOverwriteFiles: the first ten joined by
// "\r\n", and "\r\n..." behind them when there are more.
std::wstring OverwriteListText(const std::vector<std::wstring>& paths);
