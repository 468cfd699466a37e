// The frame's place on the screen: the live record, applying it at start, following it while the
// program runs.
#pragma once

#include <functional>

#include "foundation/Types.h"

class QWidget;

// Bits of the flags of ApplyRect.
namespace layoutflag {
constexpr u32 kNoMove = 1;
constexpr u32 kNoSize = 2;
constexpr u32 kClamp = 4; // move inside the free area of its screen first
} // namespace layoutflag

// The free area (without panels and docks) of the screen that holds the centre of `rect`, or of
// the primary screen when none does, in screen coordinates.
Rect AvailableRectAt(const Rect& rect);
// The outer rectangle of a top-level window, its frame included.
Rect OuterRect(const QWidget* window);

// The live placement: the maximised flag and the outer rectangle in screen coordinates.
struct WindowLayout {
    bool maximized = false;
    Rect rect;

    // Nothing for an empty rectangle (false). Otherwise brings a minimised or maximised window back
    // to normal, clamps a copy of the rectangle when the flags say so, and moves and sizes the
    // window as the flags allow.
    bool ApplyRect(QWidget* window, u32 flags) const;
    // Nothing when neither maximised nor forced; otherwise shows the window maximised or normal.
    bool ApplyShow(QWidget* window, bool force) const;
    // maximized follows the window; the rectangle is taken only in the normal state.
    bool Capture(const QWidget* window);
};

// Follows the frame's placement. restoring is true from construction until the show that the
// restore posts has run; until then, and before a layout is given, moves are not captured.
// Main thread only.
class CWindowLayoutManager {
public:
    explicit CWindowLayoutManager(QWidget* window) : window_(window) {}
    virtual ~CWindowLayoutManager() = default;

    virtual bool ApplyRect(u32 flags);
    virtual bool ApplyShow();
    virtual bool Capture();

    // Copies stored into layout, keeps the pointer, posts the show and moves the window (clamped,
    // not sized) at once.
    void BeginRestore(WindowLayout& layout, const Rect& stored);
    // The posted show: ApplyShow, then restoring ends, then the after-show hook runs.
    void OnShowPosted();
    // A move or a size of the window.
    void OnWindowPosChanged();

    bool IsRestoring() const { return restoring_; }
    const WindowLayout* Layout() const { return layout_; }
    // Runs once the posted show has been handled (used by the test hooks of the program).
    std::function<void()> afterShow;

private:
    QWidget* window_;
    bool restoring_ = true;
    WindowLayout* layout_ = nullptr;
};
