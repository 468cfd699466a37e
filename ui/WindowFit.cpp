// The frame's size on a screen, with the scroll bars of a view cut by it.
#include "ui/WindowFit.h"

#include <algorithm>

QSize FitClientSize(QSize view, int menuHeight, QSize room, int scrollBar) {
    const int height = view.height() + menuHeight;
    // A scroll bar on one side takes room from the other, which may need its own bar in turn.
    bool vertical = height > room.height();
    bool horizontal = view.width() + (vertical ? scrollBar : 0) > room.width();
    if (horizontal && !vertical) {
        vertical = height + scrollBar > room.height();
        horizontal = view.width() + (vertical ? scrollBar : 0) > room.width();
    }
    return {std::min(room.width(), view.width() + (vertical ? scrollBar : 0)),
            std::min(room.height(), height + (horizontal ? scrollBar : 0))};
}

QMargins FrameMarginsAtLeast(const QMargins& known, int titleBar, int border) {
    return {std::max(known.left(), border), std::max(known.top(), titleBar + border),
            std::max(known.right(), border), std::max(known.bottom(), border)};
}
