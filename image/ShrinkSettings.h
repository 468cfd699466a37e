// The settings record of the shrink step: which kind of fit and its sizes.
#pragma once

#include "foundation/Types.h"

// Copied whole into each conversion. shrinkType: 0 no shrink, 1 fit into customWidth x
// customHeight, 2 fit into shrinkWidth x shrinkHeight (a named size); other values fail the step.
struct ShrinkSettings {
    u32 shrinkType = 0;
    i32 shrinkWidth = 0;
    i32 shrinkHeight = 0;
    i32 customWidth = 200;
    i32 customHeight = 1000;
    bool operator==(const ShrinkSettings&) const = default;
};
