// The size of the frame on a screen: the whole view where the screen holds it, else as much of it
// as the screen's free area holds, scrolled.
// Any thread: the functions keep no state.
#pragma once

#include <QMargins>
#include <QSize>

// The client size of a frame that shows a view of `view` below a menu bar of `menuHeight`, in a
// room of `room` (the screen's free area less the frame's decoration). Where the whole fits it is
// the view and the menu exactly. Otherwise each side is the view's, with room for the scroll bar
// (`scrollBar` thick) that the other side needs, at most the room's.
QSize FitClientSize(QSize view, int menuHeight, QSize room, int scrollBar);

// The decoration that a window manager puts around a frame whose own margins are `known` (none
// before the first show): at least `titleBar` above and `border` on each side.
QMargins FrameMarginsAtLeast(const QMargins& known, int titleBar, int border);
