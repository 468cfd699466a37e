// Window placement with Qt: frame geometry, screens, the posted show.
#include "ui/WindowLayout.h"

#include <QGuiApplication>
#include <QMetaObject>
#include <QScreen>
#include <QWidget>

#include "persist/WindowLayoutRect.h"

namespace {

Rect FromQRect(const QRect& r) {
    return {r.x(), r.y(), r.x() + r.width(), r.y() + r.height()};
}

} // namespace

Rect AvailableRectAt(const Rect& rect) {
    const QPoint centre((rect.left + rect.right) / 2, (rect.top + rect.bottom) / 2);
    const QScreen* screen = QGuiApplication::screenAt(centre);
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    return screen ? FromQRect(screen->availableGeometry()) : rect;
}

Rect OuterRect(const QWidget* window) {
    return FromQRect(window->frameGeometry());
}

bool WindowLayout::ApplyRect(QWidget* window, u32 flags) const {
    if (rect.IsEmpty())
        return false;
    if (window->isMaximized() || window->isMinimized())
        window->showNormal();
    Rect r = rect;
    if (flags & layoutflag::kClamp)
        r = ClampRectToBounds(r, AvailableRectAt(r));
    if (!(flags & layoutflag::kNoMove))
        window->move(r.left, r.top);
    if (!(flags & layoutflag::kNoSize)) {
        // The rectangle is the outer one; resize takes the client size.
        QRect outer = window->frameGeometry();
        QRect inner = window->geometry();
        window->resize(r.Width() - (outer.width() - inner.width()),
                       r.Height() - (outer.height() - inner.height()));
    }
    return true;
}

bool WindowLayout::ApplyShow(QWidget* window, bool force) const {
    if (!maximized && !force)
        return true;
    if (maximized)
        window->showMaximized();
    else
        window->showNormal();
    return true;
}

bool WindowLayout::Capture(const QWidget* window) {
    maximized = window->isMaximized();
    if (window->isMaximized() || window->isMinimized())
        return true;
    rect = OuterRect(window);
    return true;
}

bool CWindowLayoutManager::ApplyRect(u32 flags) {
    return layout_ && layout_->ApplyRect(window_, flags);
}

bool CWindowLayoutManager::ApplyShow() {
    return layout_ && layout_->ApplyShow(window_, true);
}

bool CWindowLayoutManager::Capture() {
    return layout_ && layout_->Capture(window_);
}

void CWindowLayoutManager::BeginRestore(WindowLayout& layout, const Rect& stored) {
    layout.rect = stored;
    layout_ = &layout;
    restoring_ = true;
    QMetaObject::invokeMethod(
        window_, [this] { OnShowPosted(); }, Qt::QueuedConnection);
    ApplyRect(layoutflag::kClamp | layoutflag::kNoSize);
}

void CWindowLayoutManager::OnShowPosted() {
    ApplyShow();
    restoring_ = false;
    if (afterShow)
        afterShow();
}

void CWindowLayoutManager::OnWindowPosChanged() {
    if (layout_ && !restoring_)
        Capture();
}
