// The one message object and its own question.
#include "ui/LunavexMsg.h"

#include "foundation/ResString.h"
#include "resources/StringIds.h"

namespace lvx {

namespace {
CMsg g_msg;
}

bool CMsg::QueryStopAndQuit() {
    return ShowId(strid::kQueryStopAndQuit, mb::kOkCancel) == mb::kIdOk;
}

CMsg& TheMsg() {
    return g_msg;
}

} // namespace lvx
