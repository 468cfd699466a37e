// Encoding pixels under their colour profile. A profile that the output format has room for goes
// in beside the numbers as they are; one that it has no room for is left out, and the numbers are
// turned into sRGB instead, so that the output shows the same colours without it.
#pragma once

#include <functional>
#include <vector>

#include <vips/vips8>

#include "foundation/Types.h"

// `pixels` (three or four 8-bit bands, the fourth alpha) turned from the colour space of
// `profile` into 8-bit sRGB, relative colorimetric as a viewer shows them (white stays white),
// alpha as it is. A pipeline: nothing is worked out yet. Throws vips::VError when the colour
// engine cannot read the profile. Any thread.
vips::VImage TurnedIntoSrgb(const vips::VImage& pixels, const std::vector<u8>& profile);

// Encodes `pixels` with `encode` and, on success, puts `profile` into `out` with `embed` when
// there is one and `fits` (the format has room for it). When it does not fit, `encode` gets the
// pixels turned into sRGB and nothing is embedded; a profile that the colour engine cannot read
// leaves the numbers as they are. The code is encode's or embed's; `out` is empty on every
// failure. Any thread.
HResult EncodeUnderProfile(const vips::VImage& pixels, const std::vector<u8>& profile, bool fits,
                           const std::function<HResult(const vips::VImage&)>& encode,
                           HResult (*embed)(std::vector<u8>&, const std::vector<u8>&),
                           std::vector<u8>& out);
