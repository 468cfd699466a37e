// The output formats as the settings store them: CSetting::saveType and the encoder choice.
// Any thread: names, constants and plain values.
#pragma once

#include "foundation/Types.h"

namespace savetype {
constexpr u32 kBmp = 0; // offered by no control; a stored BMP is read back as PNG
constexpr u32 kPng = 1;
constexpr u32 kJpeg = 2;
} // namespace savetype

// The JPEG quality of a new settings object, and of a JPEG saver given no quality parameter.
constexpr u32 kDefaultJpegQuality = 80;
