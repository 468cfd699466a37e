// Values of the registry store for the tests: a DWORD and a text, as the store holds them.
#pragma once

#include <string>

#include "platform/RegistryExport.h"

namespace testutil {

inline RegValueData Dword(u32 value) {
    return {4,
            {static_cast<u8>(value), static_cast<u8>(value >> 8), static_cast<u8>(value >> 16),
             static_cast<u8>(value >> 24)}};
}

// A text of the given type (1 for REG_SZ, 2 for REG_EXPAND_SZ) with its terminator.
inline RegValueData Text(u32 type, const std::wstring& text) {
    return {type, Utf16LeFromWide(text + L'\0')};
}

} // namespace testutil
