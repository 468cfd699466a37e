// The host window of a window-less widget: its place and its paint.
#include "ui/WidgetHost.h"

#include <QPainter>

#include "ui/Screen.h"
#include "ui/Widget.h"

CWidgetHost::CWidgetHost(QWidget* parent, CWidget* widget) : QWidget(parent), widget_(widget) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
    setGeometry(ToQRect(widget_->GetRect()));
    raise();
}

void CWidgetHost::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    CDCScreen screen;
    // The surface's coordinates are the parent's, as the widget's rectangle is.
    screen.Attach(&painter, Rect{x(), y(), x() + width(), y() + height()});
    widget_->Paint(screen, 1.0);
    screen.Release();
}
