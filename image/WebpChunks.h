// Setting the chunks that carry what lies beside the picture (colour profile, EXIF, XMP) in the
// RIFF container of an encoded WebP file.
// Any thread: works on bytes only.
#pragma once

#include <cstddef>
#include <vector>

#include "foundation/Types.h"

struct WebpExtras {
    std::vector<u8> icc;  // the ICC profile, ICCP
    std::vector<u8> exif; // a TIFF-structured EXIF block without the "Exif\0\0" head, EXIF
    std::vector<u8> xmp;  // an XMP packet, XMP
};

// The canvas of a WebP file from its first chunk: VP8 (lossy) keeps 14 bits a side behind its
// frame tag and start code, VP8L (lossless) 14 bits each less one behind its signature byte, VP8X
// (extended) 24 bits each less one. `alpha` says whether a lossless picture uses its alpha (false
// for the other kinds). False, nothing set, for bytes that are none of the three.
bool WebpCanvas(const u8* data, size_t size, Size& canvas, bool& alpha);

// webp with exactly these extras, each that is not empty where readers look for it: ICCP right
// after the VP8X header, EXIF and XMP at the end; any that webp held before are dropped. A simple
// file (one VP8 or VP8L chunk) given extras becomes an extended one, its VP8X header stating the
// canvas from the picture's own header; VP8X's flags say which extras follow, and the RIFF size is
// set anew. Returns 0, or hr::kInvalidArg when webp is not a RIFF WebP file that this reads or an
// extra is 4 GiB or more; webp is unchanged then.
HResult SetWebpExtras(std::vector<u8>& webp, const WebpExtras& extras);
