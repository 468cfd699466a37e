// The frame's accelerator keys: eaten before any control of the frame sees them, so that they do
// nothing in the window, except the editing keys of a text box, which keep their usual meaning
// there (paste, cut, copy and undo).
// The main thread only (the window's), as every Qt object of the window.
#pragma once

#include <QObject>
#include <QPointer>

class QWidget;

// True for the keys of the frame's accelerator table: Ctrl+N, O, S, P, X, C, V, Z; Shift+Del,
// Ctrl+Ins, Shift+Ins, Alt+Backspace, F6 and Shift+F6, each with exactly those modifiers.
bool IsFrameAccelerator(int key, Qt::KeyboardModifiers modifiers);

// True for the accelerators that are a text box's editing keys: cut (Ctrl+X, Shift+Del), copy
// (Ctrl+C, Ctrl+Ins), paste (Ctrl+V, Shift+Ins) and undo (Ctrl+Z, Alt+Backspace).
bool IsEditingAccelerator(int key, Qt::KeyboardModifiers modifiers);

// An application-wide event filter that swallows those keys for the widgets of one window; a
// text box of that window (a line edit, an editable list's box, a spin box, a text editor) gets
// its editing keys. Its own meta-object lets the frame find it among the window's children by
// its type.
class CAcceleratorFilter : public QObject {
    Q_OBJECT
public:
    explicit CAcceleratorFilter(QWidget* window);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QPointer<QWidget> window_;
};
