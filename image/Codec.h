// The door to libvips' loaders and savers: encoded bytes become a CDib and a CDib becomes bytes.
// No other file of the engine knows a file format.
#pragma once

#include <cstddef>
#include <vector>

#include "foundation/Types.h"
#include "image/Dib.h"

// Starts libvips once for the process; later calls only report whether that worked. Any thread.
bool EnsureVipsStarted();
// Shuts libvips down at the end of the program, after the last image operation.
void StopVips();

// Decodes the first image of an encoded buffer into a new 32-bit straight-alpha bottom-up image,
// with the file's resolution in the header. Opaque sources get alpha 255. 0x80004001 when the
// bytes are not an image that can be decoded (or are truncated or corrupt), 0x8007000E when the
// 32-bit buffer would not fit in 32 bits (checked before any pixel is decoded) or memory runs
// out. `out` is only set on success. Any thread.
HResult DecodeImage(const u8* data, size_t size, CDibPtr& out);

// Encodes a 32-bit image as a baseline JPEG of the given quality (0 to 100, 0 taken as 1), colour
// only, no metadata. 0x80004005 when the encoder refuses.
HResult EncodeJpeg(const CDib& dib, u32 quality, std::vector<u8>& out);

// Encodes a 32-bit image as an 8-bit RGBA PNG with no metadata; without keepAlpha every pixel is
// written opaque. 0x80004005 when the encoder refuses.
HResult EncodePng(const CDib& dib, bool keepAlpha, std::vector<u8>& out);
