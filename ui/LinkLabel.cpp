// Blue, underlined, clickable label.
#include "ui/LinkLabel.h"

#include <QMouseEvent>

CLinkLabel::CLinkLabel(QWidget* parent) : QLabel(parent) {
    setCursor(Qt::PointingHandCursor);
    setTextFormat(Qt::PlainText);
    QFont underlined = font();
    underlined.setUnderline(true);
    setFont(underlined);
    QPalette colours = palette();
    colours.setColor(QPalette::WindowText, QColor(0, 0, 255));
    setPalette(colours);
}

void CLinkLabel::mouseReleaseEvent(QMouseEvent* event) {
    QLabel::mouseReleaseEvent(event);
    if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint()))
        emit clicked();
}
