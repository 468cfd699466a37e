// CWidgetHost: a child window that paints one window-less widget above its sibling windows.
#pragma once

#include <QWidget>

class CWidget;

// Stands over a window-less widget whose rectangle is in the parent's coordinates, and paints it
// there at full opacity. What a parent paints itself lies under its child windows, and a group
// box's frame tints what it covers; a widget inside a group box is hosted so that it shows its
// own pixels. Takes no focus and no input: clicks and drops go on to the parent. Main thread only.
class CWidgetHost : public QWidget {
public:
    // Placed over the widget's rectangle, above the siblings made before it.
    CWidgetHost(QWidget* parent, CWidget* widget);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    CWidget* widget_;
};
