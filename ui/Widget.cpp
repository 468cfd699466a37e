// CWidget: rectangle, visibility and dirty mark of a window-less painted area.
#include "ui/Widget.h"

CWidget::~CWidget() = default;

void CWidget::Create(QWidget* parent, const Rect* rect, bool visible) {
    parent_ = parent;
    visible_ = visible;
    dirty_ = true;
    rect_ = rect ? *rect : Rect{};
}

bool CWidget::SetRect(const Rect* rect) {
    const Rect next = rect ? *rect : Rect{};
    if (next == rect_)
        return false;
    rect_ = next;
    dirty_ = true;
    return true;
}

bool CWidget::SetVisible(bool visible) {
    if (visible == visible_)
        return false;
    visible_ = visible;
    dirty_ = true;
    return true;
}

void CWidget::Paint(CScreen& /*screen*/, double /*opacity*/) {}

void CWidget::PaintIfDirty(CScreen& screen, double opacity) {
    if (!IsDirty())
        return;
    Paint(screen, opacity);
    dirty_ = false;
}
