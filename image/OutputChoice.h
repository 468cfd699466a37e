// OutputChoice: what a conversion writes, decided once from the settings and taken alike by the
// plan (the output's extension), the streamed conversion and the preview panes.
// Any thread: plain values.
#pragma once

#include "foundation/Types.h"
#include "image/SaveType.h"

// The formats that a conversion writes.
enum class OutputFormat {
    kPng,  // 8-bit RGBA
    kJpeg, // baseline, colour only
};

struct OutputChoice {
    OutputFormat format = OutputFormat::kPng;
    u32 jpegQuality = kDefaultJpegQuality; // read for a JPEG only
    // The rounded and faded alpha stays (a PNG asked to keep its background transparent);
    // otherwise every pixel that is not opaque is laid over backgroundColor.
    bool keepAlpha = false;
    u32 backgroundColor = 0xFFFFFF; // COLORREF 0x00BBGGRR
    // The picture is written as its orientation tag says it is meant to be seen, and the shrink,
    // the corners and the edges are those of that upright picture; otherwise as it is stored.
    bool upright = true;
    bool operator==(const OutputChoice&) const = default;

    bool Jpeg() const { return format == OutputFormat::kJpeg; }
    // The output file's extension, without its dot: "png" or "jpg".
    const wchar_t* Extension() const { return Jpeg() ? L"jpg" : L"png"; }
};
