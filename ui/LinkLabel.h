// A label that reports clicks and shows the hand cursor: the home address in the About box.
// The main thread only (the window's), as every Qt object of the window.
#pragma once

#include <QLabel>

class CLinkLabel : public QLabel {
    Q_OBJECT

public:
    explicit CLinkLabel(QWidget* parent = nullptr);

signals:
    void clicked();

protected:
    void mouseReleaseEvent(QMouseEvent* event) override;
};
