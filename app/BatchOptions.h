// The command line of lunavex-batch: the files to convert and the settings that this run
// overrides without storing them.
// Any thread: the functions keep no state.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "foundation/Types.h"
#include "image/LengthValue.h"

class CSetting;

namespace lvx {

struct BatchOptions {
    std::vector<std::wstring> files;
    bool overwrite = false;
    bool help = false;
    bool version = false;

    // Overrides; an empty optional keeps the stored setting.
    std::optional<u32> shrinkType;
    std::optional<i32> shrinkWidth, shrinkHeight; // named (square) size, shrinktype::kNamed
    std::optional<i32> customWidth, customHeight; // custom size, shrinktype::kCustom
    std::optional<LengthValue> radius, blurWidth; // only the fields of the given unit are set
    std::optional<u32> corners, edges;
    std::optional<u32> backgroundColor;
    std::optional<bool> transparent;
    std::optional<u32> saveType;
    std::optional<u32> jpegQuality;
    std::optional<std::wstring> subFolder;
    std::optional<u32> maxPixels;   // at least 1
    std::optional<u32> maxMemoryMb; // MiB, at least 1
    std::optional<bool> keepStoredOrientation;
    std::optional<u32> metadata; // a value of metadatakept::
    bool keepDates = false;
    // Files converted at once; 0 takes one per processor.
    u32 jobs = 0;
};

// Parses argv (UTF-8). On a bad option returns false with a message for the user in error.
bool ParseBatchOptions(const std::vector<std::string>& args, BatchOptions& out,
                       std::wstring& error);

// Writes the overrides into settings (a copy of the stored ones).
void ApplyBatchOptions(const BatchOptions& options, CSetting& settings);

// The text of --help.
std::wstring BatchUsage();

} // namespace lvx
