// The values of the main view's controls as the logic reads and writes them: checks, enabling,
// numbers typed into edits and combos, and the items of a combo.
#include "ui/MainView.h"

#include <QAbstractButton>
#include <QComboBox>

#include "foundation/Numbers.h"
#include "ui/ControlText.h"

namespace lvx {

namespace {

// An empty text is the number 0; any other text must be a number of at most `digits` digits
// after the point.
bool NumberOfText(const std::wstring& text, u32 digits, i32& out) {
    if (text.empty()) {
        out = 0;
        return true;
    }
    return ParseFixed(out, text, static_cast<i32>(digits));
}

} // namespace

bool CMainView::IsChecked(i32 id) const {
    auto* button = qobject_cast<QAbstractButton*>(Control(id));
    return button && button->isChecked();
}

void CMainView::SetChecked(i32 id, bool on) {
    if (auto* button = qobject_cast<QAbstractButton*>(Control(id)))
        button->setChecked(on);
}

void CMainView::Enable(i32 id, bool enabled) {
    if (QWidget* control = Control(id))
        control->setEnabled(enabled);
}

bool CMainView::ReadNumber(QWidget* control, u32 digits, i32& out) {
    std::wstring text;
    return GetControlTextTrimmed(control, text, true) && NumberOfText(text, digits, out);
}

// An item counts as selected while the edit shows it: typing into the edit of a combo leaves it
// without a selection, as the system's combo does.
bool CMainView::ReadComboText(QWidget* control, std::wstring& out) {
    auto* combo = qobject_cast<QComboBox*>(control);
    if (!combo)
        return false;
    int index = combo->currentIndex();
    if (index >= 0 && (!combo->isEditable() || combo->itemText(index) == combo->currentText())) {
        out = combo->itemText(index).toStdWString();
        return true;
    }
    return GetControlTextTrimmed(control, out, true);
}

bool CMainView::ReadComboNumber(QWidget* control, u32 digits, i32& out) {
    std::wstring text;
    return ReadComboText(control, text) && NumberOfText(text, digits, out);
}

void CMainView::FillCombo(QWidget* control, const std::vector<std::wstring>& names) {
    auto* combo = qobject_cast<QComboBox*>(control);
    if (!combo)
        return;
    for (const std::wstring& name : names)
        combo->addItem(QString::fromStdWString(name));
}

} // namespace lvx
