// The shrink choices of the size drop-down: a kind, a box size and the name that is shown.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "foundation/Types.h"

// One choice. kind: a shrinktype:: (image/ShrinkSettings.h); kNamed is a square box of width x
// height, and width and height are 0 for the other kinds.
class CNamedShrink {
public:
    CNamedShrink() = default;
    CNamedShrink(u32 kind, u32 width, u32 height, std::wstring name)
        : kind(kind), width(width), height(height), name(std::move(name)) {}

    u32 kind = 0;
    u32 width = 0;
    u32 height = 0;
    std::wstring name;
};

using CNamedShrinkPtr = boost::shared_ptr<CNamedShrink>;

// The sixteen box sizes, smallest first; also the values of the custom width and height lists.
const std::vector<i32>& ShrinkSizes();

// The eighteen choices: no shrink, the custom size, then one named box per size. Built on first
// use, after the sizes, with names from the string table in the language of that moment, and not
// changed afterwards. Read from the main thread.
const std::vector<CNamedShrinkPtr>& ShrinkChoices();
