// The shrink choices of the size drop-down: a kind, a box size and the name that is shown.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "foundation/Types.h"

// One choice. kind: 0 no shrink, 1 fit to the user's size, 2 fit to a named size (a square box
// of width x height); width and height are 0 for kinds 0 and 1.
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
