// lvx::CLengthCtrlSet: an edit, a unit list and a slider of the view bound to one length.
#pragma once

#include <list>
#include <utility>

#include "foundation/Types.h"
#include "image/LengthValue.h"

namespace lvx {

class CMainView;

// The units that a length set offers, in list order: (unit, string id of its name).
const std::list<std::pair<u32, u32>>& LengthUnits();

// Keeps the three controls in step with the length: the edit holds the number of the current
// unit with one digit behind the point (tenths of a pixel, or thousandths of the short edge);
// the slider shows its integer part from 0 to 20; the unit list chooses which stored number is
// shown. Every change goes through the edit, and only the edit's handler moves the slider.
// Main thread only; lives as long as the view.
class CLengthCtrlSet {
public:
    CLengthCtrlSet(i32 edit, i32 unitList, i32 slider, CMainView* view, LengthValue* length)
        : edit(edit), unitList(unitList), slider(slider), view(view), length(length) {}

    // Sets up the slider, writes the number (which moves the slider), fills the unit list and
    // selects the current unit.
    void Init();
    // The edit changed: a number that reads is stored in the current unit and moves the slider.
    void OnValueChanged();
    // The unit list changed: the unit is stored and the number of the new unit shown. Bad input
    // is dropped without a word.
    void OnUnitChanged();
    // The user moved the slider: its position times 10 is stored and written into the edit.
    void OnSliderMoved();

    // The selected unit; throws my::CCtrlException strid::kComboValueUnreadable with the unit's
    // field name (no selection) or strid::kBadLengthUnit (no valid unit).
    u32 ReadUnit() const;
    // The number in the edit; throws my::CCtrlException strid::kEditValueUnreadable with the
    // field's name (unreadable) or strid::kBadLengthRange (below 0).
    i32 ReadValue() const;
    // Reads unit and number and only then stores both.
    void ReadLength();

    // The stored number of the current unit; 0 for a unit other than 0 and 1.
    i32 CurrentValue() const;

    i32 edit;
    i32 unitList;
    i32 slider;
    CMainView* view;     // not owned
    LengthValue* length; // inside the settings, not owned

private:
    void Store(i32 value);
    void WriteValue(i32 value);
    void SetSliderPos(i32 position);
};

} // namespace lvx
