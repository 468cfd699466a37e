// Controls known by their resource id: the id is kept on the widget so that the logic finds a
// control by the number that the dialog's layout gives it.
// The main thread only (the window's), as every Qt object of the window.
#pragma once

#include "foundation/Types.h"

class QWidget;

// Gives control the resource id; a control without one answers 0.
void SetControlId(QWidget* control, i32 id);
i32 ControlIdOf(const QWidget* control);
// The first widget below root (root itself included) that carries id; null when there is none.
QWidget* FindControl(QWidget* root, i32 id);
