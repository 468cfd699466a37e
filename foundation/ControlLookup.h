// From a control id to the handle of that control, for failures that name the control at fault.
// The window layer installs the lookup; without a window every id gives a null handle.
// Threads: the window's main thread installs the lookup and asks it; without a window
// (lunavex-batch) nothing is installed and any thread may ask.
#pragma once

#include "foundation/Types.h"

using CtrlResolver = CtrlHandle (*)(i32 controlId);

void SetCtrlResolver(CtrlResolver resolver);
CtrlHandle CtrlForId(i32 controlId);
