// The program's built-in resources: the string table, binary resources and the version block.
// Any thread: the resources are read only.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "foundation/Types.h"

namespace res {

constexpr u16 kLangJapanese = 1041;
constexpr u16 kLangEnglish = 1033;

struct StringEntry {
    u32 id;
    u16 language;
    const wchar_t* text;
};

// All strings, sorted by id and then by language.
std::span<const StringEntry> StringTable();

// A binary resource by its numeric name and type, e.g. (138, "IMAGE") for the sample image.
// An empty span when there is none.
std::span<const unsigned char> FindBinaryResource(u32 name, std::string_view type);

// The version block compiled into the program.
struct VersionBlock {
    // Pairs of (language, code page), as in the translation table of a version resource.
    std::span<const u16> translations;
    const wchar_t* productVersion; // "1.0.0.0"
    const wchar_t* legalCopyright;
    const wchar_t* fileDescription;
};
const VersionBlock& ProgramVersion();

} // namespace res
