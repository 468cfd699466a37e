// The round settings: background, corners, edges, radius and blur width, with the bits in which
// the chosen corners and edges are stored and the flags they stand for.
// Any thread: names, constants and plain values.
#pragma once

#include "foundation/Types.h"
#include "image/LengthValue.h"

// The bits of RoundSettings::corners, anticlockwise from the top left.
namespace cornerbit {
constexpr u32 kTopLeft = 1;
constexpr u32 kBottomLeft = 2;
constexpr u32 kBottomRight = 4;
constexpr u32 kTopRight = 8;
constexpr u32 kAll = kTopLeft | kBottomLeft | kBottomRight | kTopRight;
} // namespace cornerbit

// The bits of RoundSettings::edges.
namespace edgebit {
constexpr u32 kLeft = 1;
constexpr u32 kTop = 2;
constexpr u32 kRight = 4;
constexpr u32 kBottom = 8;
constexpr u32 kAll = kLeft | kTop | kRight | kBottom;
} // namespace edgebit

// Copied whole into each conversion. The background fields are read by the output decision
// (CSetting::Output, batch/Setting.h), which the conversion and the preview take instead.
struct RoundSettings {
    u32 backgroundColor = 0xFFFFFF; // COLORREF 0x00BBGGRR
    bool transparent = false;
    u32 corners = cornerbit::kAll;
    u32 edges = edgebit::kAll;
    LengthValue radius{lengthunit::kPixels, 100, 50};
    LengthValue blurWidth{lengthunit::kPixels, 10, 10};
    bool operator==(const RoundSettings&) const = default;
};

// The corners that the image operations round, in the order of the corner bits.
struct CornerFlags {
    bool topLeft = false;
    bool bottomLeft = false;
    bool bottomRight = false;
    bool topRight = false;
};

// The edges that the image operations fade, in the order of the edge bits.
struct EdgeFlags {
    bool left = false;
    bool top = false;
    bool right = false;
    bool bottom = false;
};

// The flags of stored corner and edge bits; other bits are ignored.
constexpr CornerFlags CornerFlagsOf(u32 corners) {
    return CornerFlags{
        (corners & cornerbit::kTopLeft) != 0, (corners & cornerbit::kBottomLeft) != 0,
        (corners & cornerbit::kBottomRight) != 0, (corners & cornerbit::kTopRight) != 0};
}

constexpr EdgeFlags EdgeFlagsOf(u32 edges) {
    return EdgeFlags{(edges & edgebit::kLeft) != 0, (edges & edgebit::kTop) != 0,
                     (edges & edgebit::kRight) != 0, (edges & edgebit::kBottom) != 0};
}
