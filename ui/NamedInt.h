// CNamedInt: a number with the name under which a list shows it.
#pragma once

#include <string>

#include "foundation/Numbers.h"
#include "foundation/ResString.h"
#include "foundation/Types.h"

// Held by shared pointer in the lists that fill the view's combos. Main thread only.
class CNamedInt {
public:
    // The value, named by its decimal text.
    explicit CNamedInt(i32 value) : name(ToText(value)), value(value) {}

    // The name becomes the string with id; id 0 gives an empty name.
    void SetName(u32 id) {
        name.clear();
        if (id != 0)
            LoadResString(name, id, true);
    }

    std::wstring name;
    i32 value;
};
