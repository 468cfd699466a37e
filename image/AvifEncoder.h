// AVIF files through libheif's AV1 encoder, which takes the picture whole: the rows of a pipeline
// are worked out into one HEIF image and encoded.
// Any thread, after EnsureVipsStarted (image/VipsStart.h).
#pragma once

#include <vector>

#include "foundation/Types.h"
#include "image/MetadataEmbed.h"

namespace vips {
class VImage;
}

// Whether this system's libheif has an AV1 encoder, so that the AVIF choice can be offered.
bool CanWriteAvif();

// A lossy AVIF of the quality (0 to 100, more taken as 100) from three 8-bit bands or four, the
// fourth alpha, with no metadata but the ICC profile of the bands' colour space when one is given
// and the EXIF and XMP given.
// hr::kNoAvifEncoder when CanWriteAvif says no, 0x8007000E when memory runs out, 0x80004005 when
// the pipeline or the encoder fails for another reason. `out` is left empty on every failure.
HResult EncodeAvif(const vips::VImage& pixels, u32 quality, const std::vector<u8>& profile,
                   const OutputMetadata& metadata, std::vector<u8>& out);
