// The length sets of the view: value edit, unit list and slider kept in step.
#include "ui/LengthCtrlSet.h"

#include <QComboBox>
#include <QSignalBlocker>
#include <QSlider>

#include "foundation/Exception.h"
#include "foundation/Numbers.h"
#include "resources/StringIds.h"
#include "ui/ControlText.h"
#include "ui/FieldAtFault.h"
#include "ui/MainView.h"

namespace lvx {

namespace {

constexpr i32 kDigits = 1;
constexpr i32 kSliderMax = 20;

} // namespace

const std::list<std::pair<u32, u32>>& LengthUnits() {
    static const std::list<std::pair<u32, u32>> units = {
        {lengthunit::kPixels, strid::kUnitPixels},
        {lengthunit::kShortEdgeShare, strid::kUnitShortEdgeShare}};
    return units;
}

i32 CLengthCtrlSet::CurrentValue() const {
    if (length->unit == lengthunit::kPixels)
        return length->tenths;
    if (length->unit == lengthunit::kShortEdgeShare)
        return length->thousandths;
    return 0;
}

void CLengthCtrlSet::Store(i32 value) {
    if (length->unit == lengthunit::kPixels)
        length->tenths = value;
    else if (length->unit == lengthunit::kShortEdgeShare)
        length->thousandths = value;
}

void CLengthCtrlSet::WriteValue(i32 value) {
    SetControlText(view->Control(edit), FormatFixed(value, kDigits), true);
}

// The program's own moves of the slider raise no change, as a trackbar's TBM_SETPOS does not.
void CLengthCtrlSet::SetSliderPos(i32 position) {
    auto* bar = qobject_cast<QSlider*>(view->Control(slider));
    if (!bar)
        return;
    QSignalBlocker block(bar);
    bar->setValue(position);
}

void CLengthCtrlSet::Init() {
    if (auto* bar = qobject_cast<QSlider*>(view->Control(slider))) {
        QSignalBlocker block(bar);
        bar->setRange(0, kSliderMax);
        bar->setTickPosition(QSlider::TicksBelow);
        bar->setTickInterval(1);
        bar->setSingleStep(1);
        bar->setPageStep(1);
    }
    WriteValue(CurrentValue());
    std::vector<std::wstring> names;
    for (const auto& unit : LengthUnits()) {
        std::wstring name;
        LoadResString(name, unit.second, true);
        names.push_back(name);
    }
    QWidget* list = view->Control(unitList);
    CMainView::FillCombo(list, names);
    auto* combo = qobject_cast<QComboBox*>(list);
    if (!combo)
        return;
    int index = 0;
    for (const auto& unit : LengthUnits()) {
        if (unit.first == length->unit) {
            combo->setCurrentIndex(index);
            return;
        }
        ++index;
    }
    combo->setCurrentIndex(-1);
}

void CLengthCtrlSet::OnValueChanged() {
    i32 value = 0;
    if (!CMainView::ReadNumber(view->Control(edit), kDigits, value))
        return;
    Store(value);
    SetSliderPos(value / 10);
}

void CLengthCtrlSet::OnUnitChanged() {
    try {
        length->unit = ReadUnit();
        WriteValue(CurrentValue());
    } catch (const my::CException&) {
    }
}

void CLengthCtrlSet::OnSliderMoved() {
    auto* bar = qobject_cast<QSlider*>(view->Control(slider));
    if (!bar)
        return;
    i32 value = bar->value() * 10;
    Store(value);
    WriteValue(value);
}

u32 CLengthCtrlSet::ReadUnit() const {
    QWidget* control = view->Control(unitList);
    auto* combo = qobject_cast<QComboBox*>(control);
    int index = combo ? combo->currentIndex() : -1;
    if (index < 0)
        throw my::CCtrlException(control, strid::kComboValueUnreadable, FieldName(unitList));
    auto it = LengthUnits().begin();
    for (int i = 0; i < index && it != LengthUnits().end(); ++i)
        ++it;
    if (it == LengthUnits().end() ||
        (it->first != lengthunit::kPixels && it->first != lengthunit::kShortEdgeShare))
        throw my::CCtrlException(control, strid::kBadLengthUnit);
    return it->first;
}

i32 CLengthCtrlSet::ReadValue() const {
    QWidget* control = view->Control(edit);
    i32 value = 0;
    if (!control || !CMainView::ReadNumber(control, kDigits, value))
        throw my::CCtrlException(control, strid::kEditValueUnreadable, FieldName(edit));
    if (value < 0)
        throw my::CCtrlException(control, strid::kBadLengthRange);
    return value;
}

void CLengthCtrlSet::ReadLength() {
    u32 unit = ReadUnit();
    i32 value = ReadValue();
    length->unit = unit;
    Store(value);
}

} // namespace lvx
