// The colour profile that an encoded source embeds, whole, read while the stream opens it.
#pragma once

#include <cstddef>
#include <vector>

#include <vips/vips8>

#include "foundation/Types.h"

// The profile of `decoded`, which libvips' loader `loader` opened from the bytes data..size;
// empty when there is none. A JPEG's profile is gathered here from the file's own APP2
// "ICC_PROFILE" segments in the order of their numbers, as many as there are (up to 255):
// libvips cuts a profile of more segments down to its first 100. Segments that do not make one
// whole profile (a number missing or twice, counts that differ) give none. Other formats' profiles
// are libvips'. Any thread.
std::vector<u8> EmbeddedIccProfile(const vips::VImage& decoded, const char* loader, const u8* data,
                                   size_t size);
