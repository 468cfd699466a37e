// Putting an ICC colour profile into encoded JPEG, PNG and WebP bytes, and nothing else with it.
// The encoders strip every piece of metadata; these add the profile alone afterwards, so that a
// file without one is exactly the encoder's stripped output.
#pragma once

#include <cstddef>
#include <vector>

#include "foundation/Types.h"

// The colour space of a profile whose pixels are red, green and blue: 'RGB '.
constexpr u32 kIccRgb = 0x52474220;

// The profile's colour space as its header states it (bytes 16 to 19), such as kIccRgb. 0 for
// data too short to be a profile.
u32 IccColourSpace(const std::vector<u8>& profile);

// Whether a JPEG holds a profile of `size` bytes: at most 255 segments of 65519 bytes.
bool IccFitsJpeg(size_t size);

// Whether a PNG holds a profile of `size` bytes where libpng's readers find it: libpng refuses a
// chunk, and a profile, of more than 8000000 bytes unless the program raises its limit, and most
// do not, so they would show the numbers without it. The profile, compressed as it may come out
// at worst, must stay within that.
bool IccFitsPng(size_t size);

// jpeg with the profile in APP2 "ICC_PROFILE" segments (as many as its size needs, 65519 bytes of
// it in each, numbered from 1) right after the JFIF header, or after SOI when there is none.
// Returns 0, or hr::kInvalidArg when jpeg does not start with SOI, when the profile is empty or
// when it does not fit (IccFitsJpeg); jpeg is unchanged then. Any thread.
HResult EmbedIccInJpeg(std::vector<u8>& jpeg, const std::vector<u8>& profile);

// png with the profile in an iCCP chunk (named "ICC profile", zlib-compressed) right after IHDR.
// Returns 0, or hr::kInvalidArg when png does not start with the signature and IHDR or when the
// profile is empty or does not fit (IccFitsPng), hr::kOutOfMemory when compressing fails; png is
// unchanged then. Any thread.
HResult EmbedIccInPng(std::vector<u8>& png, const std::vector<u8>& profile);
