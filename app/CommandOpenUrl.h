// Opens a web page of the maker's site; the caller sets the string id of its address.
// The main thread only, as every command (app/Command.h).
#pragma once

#include "app/Command.h"
#include "foundation/Types.h"

class CCommandOpenUrl : public CCommand {
public:
    explicit CCommandOpenUrl(::CMsg* msg) : CCommand(msg) {}
    void OnExecute(bool run) override;

    u32 stringId = 0;
};
