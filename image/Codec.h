// The door to libvips' loaders and savers: encoded bytes become a CDib and a CDib becomes bytes.
// The other files of the engine that know a file format: image/Loaders names the loaders that may
// run and opens them; image/BmpReader, image/BmpRowsImage and image/BmpWriter read and write BMP
// without libvips; image/DecodeCost and image/JpegScans read only what headers and markers
// declare; image/SourceProfile takes a JPEG's colour profile from its own segments, and
// image/IccProfileEmbed puts a profile into encoded JPEG and PNG bytes.
#pragma once

#include <cstddef>
#include <vector>

#include "foundation/Types.h"
#include "image/DecodeCost.h"
#include "image/DecodeLimits.h"
#include "image/Dib.h"

// Starts libvips once for the process, with its built-in loaders alone and the untrusted ones
// among them (SVG and the like) blocked; the HEIF/AVIF module is loaded by DecodeImage when it
// first meets bytes that no built-in loader claims, and no other module ever is. Later calls
// only report whether the start worked. Sets the allocator to one arena for the whole process,
// so the first call should come before other threads allocate. Any thread.
bool EnsureVipsStarted();
// Shuts libvips down at the end of the program, after the last image operation.
void StopVips();
// Loads libvips' HEIF/AVIF module (its loader and its encoder) once, when it is not loaded yet; it
// stays for the rest of the process, as libvips' own modules do. True when the HEIF loader is
// there, loaded now or before, or built into libvips. Any thread, after EnsureVipsStarted.
bool EnsureHeifLoader();

// The name that libvips gives the threads of its process-wide pool. They do the pixel work of
// every pipeline, whichever thread runs it, and are kept for the next one.
inline constexpr char kVipsWorkerThreadName[] = "libvips worker";

// Decodes the first image of an encoded buffer into a new 32-bit straight-alpha bottom-up image,
// with the file's resolution in the header. Opaque sources get alpha 255. BMP goes through our
// own reader (image/BmpReader.h); JPEG, PNG, GIF, TIFF, WebP and HEIF/AVIF through libvips; any
// other content, and a buffer that no loader claims, gives 0x80004001, as do bytes that are
// truncated or corrupt. Before any pixel is decoded: hr::kImageTooLarge when the header declares
// more pixels than limits.maxPixels, hr::kTooManyScans for a JPEG of more scans than
// limits.maxScans, hr::kOverWorkBudget and hr::kOverMemoryBudget when the decoder's cost with
// the whole 32-bit image is above the budgets (image/DecodeCost.h), 0x8007000E when the 32-bit
// buffer would not fit in 32 bits; 0x8007000E also when memory runs out, whether the program or
// a library under libvips found so. `declared` (when given) receives the size that the header
// declares, also when the image is refused, and `cost` what decoding it into the 32-bit image
// needs. `out` is only set on success. Any thread.
HResult DecodeImage(const u8* data, size_t size, CDibPtr& out, const CDecodeLimits& limits = {},
                    Size* declared = nullptr, CDecodeCost* cost = nullptr);

// Encodes a 32-bit image as a baseline JPEG of the given quality (0 to 100; 0 is taken as 1 and
// anything above 100 as 100), colour only, with no metadata but the image's colour profile when
// it has one and it fits (IccFitsJpeg; else the numbers are turned into sRGB without it, as
// image/ProfiledEncode.h does). hr::kTooLargeForJpeg for a side longer than 65500 pixels,
// 0x8007000E when memory runs out, 0x80004005 when the encoder refuses for another reason.
HResult EncodeJpeg(const CDib& dib, u32 quality, std::vector<u8>& out);

// Encodes a 32-bit image as an 8-bit RGBA PNG with no metadata but the image's colour profile
// when it has one, under the same rule with IccFitsPng; without keepAlpha every pixel is written
// opaque. 0x8007000E when memory runs out, 0x80004005 when the encoder refuses for another reason.
HResult EncodePng(const CDib& dib, bool keepAlpha, std::vector<u8>& out);

// A new copy of a 32-bit image with its numbers turned from the colour space of its profile into
// sRGB (relative colorimetric: white stays white), alpha and resolution kept, and no profile: for
// a file or a screen that has no place for one. An image without a profile, or with one that the
// colour engine cannot read, is copied as it is. 0x80070057 for an image that is not 32-bit,
// 0x8007000E when memory runs out. Any thread.
HResult ConvertToSrgb(const CDib& dib, CDibPtr& out);
