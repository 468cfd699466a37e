// Control text through the widget kinds that the view uses.
#include "ui/ControlText.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>

#include "foundation/ResString.h"
#include "foundation/TextUtil.h"

namespace {

// Reads the text of control into out; false for a kind without text.
bool ReadText(QWidget* control, QString& out) {
    if (auto* edit = qobject_cast<QLineEdit*>(control)) {
        out = edit->text();
        return true;
    }
    if (auto* combo = qobject_cast<QComboBox*>(control)) {
        out = combo->isEditable() ? combo->lineEdit()->text() : combo->currentText();
        return true;
    }
    if (auto* label = qobject_cast<QLabel*>(control)) {
        out = label->text();
        return true;
    }
    if (auto* button = qobject_cast<QAbstractButton*>(control)) {
        out = button->text();
        return true;
    }
    if (auto* group = qobject_cast<QGroupBox*>(control)) {
        out = group->title();
        return true;
    }
    return false;
}

bool WriteText(QWidget* control, const QString& text) {
    if (auto* edit = qobject_cast<QLineEdit*>(control)) {
        edit->setText(text);
        return true;
    }
    if (auto* combo = qobject_cast<QComboBox*>(control)) {
        if (!combo->isEditable())
            return false;
        combo->lineEdit()->setText(text);
        return true;
    }
    if (auto* label = qobject_cast<QLabel*>(control)) {
        label->setText(text);
        return true;
    }
    if (auto* button = qobject_cast<QAbstractButton*>(control)) {
        button->setText(text);
        return true;
    }
    if (auto* group = qobject_cast<QGroupBox*>(control)) {
        group->setTitle(text);
        return true;
    }
    return false;
}

} // namespace

bool GetControlText(QWidget* control, std::wstring& out) {
    QString text;
    if (!control || !ReadText(control, text))
        return false;
    out = text.toStdWString();
    return true;
}

bool GetControlTextTrimmed(QWidget* control, std::wstring& out, bool trim) {
    if (!GetControlText(control, out))
        return false;
    if (trim)
        TrimIf(out, IsBlankOrCr);
    return true;
}

bool SetControlText(QWidget* control, const std::wstring& text, bool onlyIfChanged) {
    if (!control)
        return false;
    QString wanted = QString::fromStdWString(text);
    if (onlyIfChanged) {
        QString present;
        if (ReadText(control, present) && present == wanted)
            return true;
    }
    return WriteText(control, wanted);
}

bool SetControlTextId(QWidget* control, u32 id, bool onlyIfChanged) {
    std::wstring text;
    if (id != 0)
        LoadResString(text, id, true);
    return SetControlText(control, text, onlyIfChanged);
}
