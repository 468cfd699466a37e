// The settings record of the rounding step: background, corners, edges, radius and blur width.
#pragma once

#include "foundation/Types.h"
#include "image/LengthValue.h"

// Copied whole into each conversion. Corner bits: 1 top left, 2 bottom left, 4 bottom right,
// 8 top right. Edge bits: 1 left, 2 top, 4 right, 8 bottom.
struct RoundSettings {
    u32 backgroundColor = 0xFFFFFF; // COLORREF 0x00BBGGRR
    bool transparent = false;
    u32 corners = 15;
    u32 edges = 15;
    LengthValue radius{lengthunit::kPixels, 100, 50};
    LengthValue blurWidth{lengthunit::kPixels, 10, 10};
    bool operator==(const RoundSettings&) const = default;
};
