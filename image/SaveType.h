// The output formats as the settings store them (CSetting::saveType), and the JPEG qualities.
// Any thread: names, constants and plain values.
#pragma once

#include "foundation/Types.h"

namespace savetype {
constexpr u32 kBmp = 0; // offered by no control; a stored BMP is read back as PNG
constexpr u32 kPng = 1;
constexpr u32 kJpeg = 2;
constexpr u32 kWebp = 3;
constexpr u32 kAvif = 4;
} // namespace savetype

// The JPEG quality of a new settings object.
constexpr u32 kDefaultJpegQuality = 80;

// The JPEG encoder's best quality. A larger number, from the store or a caller, is taken as it:
// libvips accepts 1 to 100 and would save anything else at its default with a warning.
constexpr u32 kBestJpegQuality = 100;
