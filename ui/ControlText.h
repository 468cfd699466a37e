// Text in and out of controls: line edits, labels, buttons, group boxes and combo boxes.
// The main thread only (the window's), as every Qt object of the window.
#pragma once

#include <string>

#include "foundation/Types.h"

class QWidget;

// The text of control: a line edit's or an editable combo's edit text, the current entry of a
// drop-down list, a label's, a button's or a group box's caption. False for a null control or
// a kind that has no text.
bool GetControlText(QWidget* control, std::wstring& out);
// GetControlText, then blanks and carriage returns off both ends when trim is true.
bool GetControlTextTrimmed(QWidget* control, std::wstring& out, bool trim);
// Writes text into control. With onlyIfChanged an equal text is not written, so that no change
// signal fires and a caret stays where it is. False when the control takes no text (a null
// control, a drop-down list without an edit).
bool SetControlText(QWidget* control, const std::wstring& text, bool onlyIfChanged);
// SetControlText with string id; id 0 gives an empty text.
bool SetControlTextId(QWidget* control, u32 id, bool onlyIfChanged);
