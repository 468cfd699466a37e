// CWidget: a window-less painted rectangle on a parent window.
#pragma once

#include "foundation/Types.h"

class QWidget;
class CScreen;

// A rectangle in the parent's client coordinates with a visibility and a dirty mark, that knows
// how to paint itself on a CScreen. It repaints nothing by itself: whoever changes it asks the
// parent to update the rectangle. Widgets take no input. Main thread only.
class CWidget {
public:
    CWidget() = default;
    CWidget(const CWidget&) = delete;
    CWidget& operator=(const CWidget&) = delete;
    virtual ~CWidget();

    // Stores the parent and the visibility and marks dirty; copies the rectangle, or empties it
    // for null.
    virtual void Create(QWidget* parent, const Rect* rect, bool visible);
    // False when the rectangle equals the old one; else stores it and marks dirty. Null stands
    // for the empty rectangle.
    virtual bool SetRect(const Rect* rect);
    virtual bool IsDirty() const { return dirty_; }
    // False when unchanged; else stores it and marks dirty.
    virtual bool SetVisible(bool visible);
    // Paints the widget; opacity runs from 0.0 to 1.0. The base widget paints nothing.
    virtual void Paint(CScreen& screen, double opacity);
    // Paint when dirty, then clear the mark.
    virtual void PaintIfDirty(CScreen& screen, double opacity);

    const Rect& GetRect() const { return rect_; }
    // The id of the control that the widget stands over; -1 for none.
    i32 Id() const { return id_; }
    void SetId(i32 id) { id_ = id; }

protected:
    QWidget* parent_ = nullptr;
    Rect rect_;
    bool visible_ = false;
    i32 id_ = -1;
    bool dirty_ = true;
};
