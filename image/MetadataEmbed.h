// Putting the EXIF and XMP that an output keeps into encoded JPEG and PNG bytes, beside the colour
// profile (image/IccProfileEmbed.h). WebP and AVIF take them from their own writers.
// Any thread: works on bytes only.
#pragma once

#include <string>
#include <vector>

#include "foundation/Types.h"

struct OutputMetadata {
    std::vector<u8> exif; // as it follows "Exif\0\0": the byte order mark first
    std::string xmp;      // an XMP packet
    bool Empty() const { return exif.empty() && xmp.empty(); }
};

// A PNG chunk of the given type and data: length, type, data, CRC.
std::vector<u8> MakePngChunk(const char type[4], const std::vector<u8>& data);

// jpeg with the EXIF in an APP1 "Exif" segment and the XMP in an APP1 XMP segment, right after
// the JFIF header (or SOI), ahead of a profile's APP2 segments. A block too large for one segment
// (64 KB) is left out. Returns 0, or hr::kInvalidArg when jpeg does not start with SOI; jpeg is
// unchanged then.
HResult EmbedMetadataInJpeg(std::vector<u8>& jpeg, const OutputMetadata& metadata);

// png with the EXIF in an eXIf chunk and the XMP in an iTXt chunk named "XML:com.adobe.xmp",
// right after IHDR. Returns 0, or hr::kInvalidArg when png does not start with the signature and
// IHDR; png is unchanged then.
HResult EmbedMetadataInPng(std::vector<u8>& png, const OutputMetadata& metadata);
