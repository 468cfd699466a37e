// The failure that a piece of a test throws, for checking its id, code and text.
#pragma once

#include <type_traits>

#include "foundation/Exception.h"

namespace testutil {

// The exception of type E that body throws; an empty one (id 0) when body throws none.
template <class E = my::CException, class Body> E Thrown(Body&& body) {
    try {
        body();
    } catch (const E& e) {
        return e;
    }
    if constexpr (std::is_default_constructible_v<E>)
        return E();
    else
        return E(0);
}

} // namespace testutil
