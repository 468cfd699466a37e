// The process-wide control lookup; main thread only.
#include "foundation/ControlLookup.h"

namespace {
CtrlResolver g_resolver = nullptr;
}

void SetCtrlResolver(CtrlResolver resolver) {
    g_resolver = resolver;
}

CtrlHandle CtrlForId(i32 controlId) {
    return g_resolver ? g_resolver(controlId) : nullptr;
}
