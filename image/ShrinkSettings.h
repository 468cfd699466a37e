// The shrink settings: which kind of fit and its sizes.
// Any thread: names, constants and plain values.
#pragma once

#include "foundation/Types.h"

// The kinds of fit that ShrinkSettings::shrinkType holds, as they are stored.
namespace shrinktype {
constexpr u32 kNone = 0;   // the image passes through as it is
constexpr u32 kCustom = 1; // fit into customWidth x customHeight, the user's own size
constexpr u32 kNamed = 2;  // fit into shrinkWidth x shrinkHeight, a size of the list
} // namespace shrinktype

// Copied whole into each conversion. A shrinkType outside shrinktype:: fails the conversion
// (FittedSize, image/Shrink.h).
struct ShrinkSettings {
    u32 shrinkType = shrinktype::kNone;
    i32 shrinkWidth = 0;
    i32 shrinkHeight = 0;
    i32 customWidth = 200;
    i32 customHeight = 1000;
    bool operator==(const ShrinkSettings&) const = default;
};
