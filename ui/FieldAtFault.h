// A field of the main view whose value is at fault: its name in words for the message, and the
// focus with its text selected, so that what the user types next replaces the bad value.
// The main thread only (the window's), as every Qt object of the window.
#pragma once

#include <string>

#include "foundation/Types.h"

class QWidget;

namespace lvx {

// The name of the field with control id as the window shows it: the caption beside it without
// its access key and colon ("半径" for "半径(&R): "), or a name of its own for a field without a
// caption of its own (the custom size's width and height, the units, the sub-folder). An id that
// is no field of a value gives its decimal number.
std::wstring FieldName(i32 controlId);

// Gives control the keyboard focus, its window first, and selects the whole text of a line edit
// or an editable combo box; other controls take the focus only. A null control does nothing.
void FocusFieldAtFault(QWidget* control);

} // namespace lvx
