// The values of the main view's controls as the logic reads and writes them: checks, enabling,
// numbers typed into edits and combos, the items of a combo, and the start values of the size and
// format controls.
#include "ui/MainView.h"

#include <QAbstractButton>
#include <QComboBox>

#include "batch/Setting.h"
#include "foundation/Numbers.h"
#include "foundation/ResString.h"
#include "image/AvifEncoder.h"
#include "image/NamedShrink.h"
#include "image/SaveType.h"
#include "resources/StringIds.h"
#include "ui/ControlText.h"
#include "ui/NamedInt.h"

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

std::vector<std::wstring> NamesOf(const std::vector<boost::shared_ptr<CNamedInt>>& list) {
    std::vector<std::wstring> names;
    for (const auto& entry : list)
        names.push_back(entry->name);
    return names;
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

// The shrink list at the stored choice (none selected when no choice matches), and the custom
// width and height as their numbers.
void CMainView::InitShrinkControls(const ShrinkSettings& shrink) {
    std::vector<std::wstring> shrinkNames;
    for (const auto& choice : ShrinkChoices())
        shrinkNames.push_back(choice->name);
    FillCombo(Control(ctl::kShrink), shrinkNames);
    int shrinkIndex = -1;
    for (size_t i = 0; i < ShrinkChoices().size(); ++i) {
        const CNamedShrink& choice = *ShrinkChoices()[i];
        if (choice.kind == shrink.shrinkType &&
            static_cast<i32>(choice.width) == shrink.shrinkWidth &&
            static_cast<i32>(choice.height) == shrink.shrinkHeight) {
            shrinkIndex = static_cast<int>(i);
            break;
        }
    }
    qobject_cast<QComboBox*>(Control(ctl::kShrink))->setCurrentIndex(shrinkIndex);

    const std::pair<i32, i32> customs[] = {{ctl::kCustomWidth, shrink.customWidth},
                                           {ctl::kCustomHeight, shrink.customHeight}};
    for (const auto& [id, value] : customs) {
        FillCombo(Control(id), NamesOf(CustomSizeList()));
        qobject_cast<QComboBox*>(Control(id))->setCurrentIndex(-1);
        SetControlText(Control(id), ToText(value), true);
    }
}

// The format's radio button, the quality as a number and as the list entry of that value.
void CMainView::InitSaveTypeControls(const CSetting& setting) {
    // A stored AVIF that this system cannot write shows as PNG, which the conversion then writes.
    const bool offered = setting.saveType != savetype::kAvif || CanWriteAvif();
    SetChecked(RadioOf(offered ? setting.saveType : savetype::kPng), true);
    Control(ctl::kAvif)->setVisible(CanWriteAvif());
    SetChecked(ctl::kUpright, !setting.keepStoredOrientation);
    // What the outputs keep of the sources, in the order of metadatakept::.
    std::vector<std::wstring> kept;
    for (u32 id : {strid::kMetadataNone, strid::kMetadataWithoutLocation, strid::kMetadataAll}) {
        kept.emplace_back();
        LoadResString(kept.back(), id, true);
    }
    FillCombo(Control(ctl::kMetadata), kept);
    qobject_cast<QComboBox*>(Control(ctl::kMetadata))
        ->setCurrentIndex(static_cast<int>(setting.Output().metadata));
    SetChecked(ctl::kKeepDates, setting.keepDates);
    SetControlText(Control(ctl::kQualityNumber), ToText(setting.jpegQuality), true);
    FillCombo(Control(ctl::kQualityName), NamesOf(QualityList()));
    int qualityIndex = -1;
    for (size_t i = 0; i < QualityList().size(); ++i) {
        if (static_cast<u32>(QualityList()[i]->value) == setting.jpegQuality) {
            qualityIndex = static_cast<int>(i);
            break;
        }
    }
    qobject_cast<QComboBox*>(Control(ctl::kQualityName))->setCurrentIndex(qualityIndex);
}

} // namespace lvx
