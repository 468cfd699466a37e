// OutputChoice: what a conversion writes, decided once from the settings and taken alike by the
// plan (the output's extension), the streamed conversion and the preview panes.
// Any thread: plain values.
#pragma once

#include "foundation/Types.h"
#include "image/SaveType.h"

// What an output keeps of its source's metadata besides the colour profile, as the settings
// store it (CSetting::metadata).
namespace metadatakept {
constexpr u32 kNone = 0;            // nothing: the default, right for the web
constexpr u32 kWithoutLocation = 1; // EXIF and XMP without GPS and location, without thumbnail
constexpr u32 kAll = 2;             // EXIF and XMP, without thumbnail
} // namespace metadatakept

// The formats that a conversion writes.
enum class OutputFormat {
    kPng,  // 8-bit RGBA
    kJpeg, // baseline, colour only
    kWebp, // lossy, with alpha when it is kept
    kAvif, // lossy AV1 in HEIF, with alpha when it is kept
};

struct OutputChoice {
    OutputFormat format = OutputFormat::kPng;
    u32 quality = kDefaultJpegQuality; // read for the lossy formats: JPEG, WebP, AVIF
    // The rounded and faded alpha stays (a PNG asked to keep its background transparent);
    // otherwise every pixel that is not opaque is laid over backgroundColor.
    bool keepAlpha = false;
    u32 backgroundColor = 0xFFFFFF; // COLORREF 0x00BBGGRR
    // The picture is written as its orientation tag says it is meant to be seen, and the shrink,
    // the corners and the edges are those of that upright picture; otherwise as it is stored.
    bool upright = true;
    u32 metadata = metadatakept::kNone; // a value of metadatakept::
    // The output file takes the source's modification time.
    bool keepDate = false;
    bool operator==(const OutputChoice&) const = default;

    bool Jpeg() const { return format == OutputFormat::kJpeg; }
    // Whether the format can keep the alpha: all but JPEG.
    bool HoldsAlpha() const { return !Jpeg(); }
    // Whether the quality counts: for all but PNG.
    bool Lossy() const { return format != OutputFormat::kPng; }
    // The bytes that the encoder of the format holds for a picture of `size` besides the rows in
    // flight: none for JPEG and PNG, which write row by row; the whole picture and the encoder's
    // own planes for WebP and AVIF.
    u64 EncoderHeldBytes(Size size) const;
    // The output file's extension, without its dot: "png", "jpg", "webp" or "avif".
    const wchar_t* Extension() const {
        switch (format) {
        case OutputFormat::kJpeg:
            return L"jpg";
        case OutputFormat::kWebp:
            return L"webp";
        case OutputFormat::kAvif:
            return L"avif";
        default:
            return L"png";
        }
    }
};
