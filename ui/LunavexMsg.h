// The program's message object: boxes owned by the active window, and the question at close.
// The main thread only, as the message boxes it shows.
#pragma once

#include "platform/qt/MessageBoxMsg.h"

namespace lvx {

class CMsg : public CMessageBoxMsg {
public:
    CMsg() : CMessageBoxMsg(nullptr) {}

    // strid::kQueryStopAndQuit with flags 49: a batch is running, stop it and quit? True on OK.
    bool QueryStopAndQuit();
};

// The one message object of the process; every command holds a pointer to it.
CMsg& TheMsg();

} // namespace lvx
