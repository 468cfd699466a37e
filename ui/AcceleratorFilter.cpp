// Swallowing the accelerator keys of the frame.
#include "ui/AcceleratorFilter.h"

#include <QAbstractSpinBox>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTextEdit>
#include <QWidget>

namespace {

struct Accelerator {
    int key;
    Qt::KeyboardModifiers modifiers;
    bool editing; // one of a text box's editing keys
};

const Accelerator kAccelerators[] = {
    {Qt::Key_N, Qt::ControlModifier, false}, {Qt::Key_O, Qt::ControlModifier, false},
    {Qt::Key_S, Qt::ControlModifier, false}, {Qt::Key_P, Qt::ControlModifier, false},
    {Qt::Key_X, Qt::ControlModifier, true},  {Qt::Key_Delete, Qt::ShiftModifier, true},
    {Qt::Key_C, Qt::ControlModifier, true},  {Qt::Key_Insert, Qt::ControlModifier, true},
    {Qt::Key_V, Qt::ControlModifier, true},  {Qt::Key_Insert, Qt::ShiftModifier, true},
    {Qt::Key_Z, Qt::ControlModifier, true},  {Qt::Key_Backspace, Qt::AltModifier, true},
    {Qt::Key_F6, Qt::NoModifier, false},     {Qt::Key_F6, Qt::ShiftModifier, false},
};

constexpr Qt::KeyboardModifiers kCompared =
    Qt::ControlModifier | Qt::ShiftModifier | Qt::AltModifier;

const Accelerator* FindAccelerator(int key, Qt::KeyboardModifiers modifiers) {
    Qt::KeyboardModifiers held = modifiers & kCompared;
    for (const Accelerator& a : kAccelerators)
        if (a.key == key && a.modifiers == held)
            return &a;
    return nullptr;
}

// A control that the user types text into. An editable list takes the keys itself and hands
// them to its box.
bool IsTextBox(const QWidget* widget) {
    if (qobject_cast<const QLineEdit*>(widget) || qobject_cast<const QAbstractSpinBox*>(widget) ||
        qobject_cast<const QTextEdit*>(widget) || qobject_cast<const QPlainTextEdit*>(widget))
        return true;
    const auto* combo = qobject_cast<const QComboBox*>(widget);
    return combo && combo->isEditable();
}

} // namespace

bool IsFrameAccelerator(int key, Qt::KeyboardModifiers modifiers) {
    return FindAccelerator(key, modifiers) != nullptr;
}

bool IsEditingAccelerator(int key, Qt::KeyboardModifiers modifiers) {
    const Accelerator* found = FindAccelerator(key, modifiers);
    return found && found->editing;
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
    // The text box with the focus edits with its keys; one that leaves a key unused hands it on
    // to its parent, where it is eaten.
    if (IsTextBox(widget) && IsEditingAccelerator(key->key(), key->modifiers()))
        return false;
    // An accepted ShortcutOverride keeps every shortcut from firing; the key press that follows
    // is eaten here too, so no control sees it.
    event->accept();
    return true;
}
