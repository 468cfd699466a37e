// Numbers written most significant byte first, as PNG chunks and ICC profiles hold them.
#pragma once

#include <vector>

#include "foundation/Types.h"

namespace testutil {

inline void PutBigEndian(std::vector<u8>& out, u32 v) {
    for (int shift = 24; shift >= 0; shift -= 8)
        out.push_back(static_cast<u8>(v >> shift));
}

} // namespace testutil
