// Swallowing the accelerator keys of the frame.
#include "ui/AcceleratorFilter.h"

#include <QKeyEvent>
#include <QWidget>

namespace {

struct Accelerator {
    int key;
    Qt::KeyboardModifiers modifiers;
};

const Accelerator kAccelerators[] = {
    {Qt::Key_N, Qt::ControlModifier}, {Qt::Key_O, Qt::ControlModifier},
    {Qt::Key_S, Qt::ControlModifier}, {Qt::Key_P, Qt::ControlModifier},
    {Qt::Key_X, Qt::ControlModifier}, {Qt::Key_Delete, Qt::ShiftModifier},
    {Qt::Key_C, Qt::ControlModifier}, {Qt::Key_Insert, Qt::ControlModifier},
    {Qt::Key_V, Qt::ControlModifier}, {Qt::Key_Insert, Qt::ShiftModifier},
    {Qt::Key_Z, Qt::ControlModifier}, {Qt::Key_Backspace, Qt::AltModifier},
    {Qt::Key_F6, Qt::NoModifier},     {Qt::Key_F6, Qt::ShiftModifier},
};

constexpr Qt::KeyboardModifiers kCompared =
    Qt::ControlModifier | Qt::ShiftModifier | Qt::AltModifier;

} // namespace

bool IsFrameAccelerator(int key, Qt::KeyboardModifiers modifiers) {
    Qt::KeyboardModifiers held = modifiers & kCompared;
    for (const Accelerator& a : kAccelerators)
        if (a.key == key && a.modifiers == held)
            return true;
    return false;
}

CAcceleratorFilter::CAcceleratorFilter(QWidget* window) : QObject(window), window_(window) {}

bool CAcceleratorFilter::eventFilter(QObject* watched, QEvent* event) {
    QEvent::Type type = event->type();
    if (type != QEvent::KeyPress && type != QEvent::ShortcutOverride)
        return false;
    auto* widget = qobject_cast<QWidget*>(watched);
    if (!widget || !window_ || widget->window() != window_)
        return false;
    auto* key = static_cast<QKeyEvent*>(event);
    if (!IsFrameAccelerator(key->key(), key->modifiers()))
        return false;
    // An accepted ShortcutOverride keeps every shortcut from firing; the key press that follows
    // is eaten here too, so no control sees it.
    event->accept();
    return true;
}
