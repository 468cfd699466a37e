// A length as the settings hold it: tenths of a pixel, or thousandths of the image's short edge.
// Any thread: names, constants and plain values.
#pragma once

#include <algorithm>

#include "foundation/Types.h"

// The units of LengthValue::unit, as they are stored.
namespace lengthunit {
constexpr u32 kPixels = 0;
constexpr u32 kShortEdgeShare = 1;
} // namespace lengthunit

// Both numbers are kept whichever unit is current, so switching the unit back restores the
// length the user gave before.
struct LengthValue {
    u32 unit = lengthunit::kPixels; // any value but kShortEdgeShare counts as pixels
    i32 tenths = 0;                 // length in tenths of a pixel
    i32 thousandths = 0;            // length in thousandths of the short edge
    bool operator==(const LengthValue&) const = default;
};

// The length in pixels for an image of width x height, in double precision with no rounding.
inline double ResolveLength(const LengthValue& length, i32 width, i32 height) {
    if (length.unit == lengthunit::kShortEdgeShare) {
        return static_cast<double>(std::min(width, height)) * length.thousandths / 1000.0;
    }
    return length.tenths / 10.0;
}
