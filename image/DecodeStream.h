// CDecodeStream: an encoded image opened for one pass over its pixels, row by row, so that a
// conversion never holds the whole decoded image.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <vips/vips8>

#include "foundation/Types.h"
#include "image/DecodeCost.h"
#include "image/DecodeLimits.h"

// The loaders, the limits and the codes are those of DecodeImage (image/Decode.h). The encoded
// bytes must outlive the stream and every pipeline made from it. Any thread, one stream each.
class CDecodeStream {
public:
    CDecodeStream();
    CDecodeStream(const CDecodeStream&) = delete;
    CDecodeStream& operator=(const CDecodeStream&) = delete;
    ~CDecodeStream();

    // Reads the header and checks the limits and the budgets (image/DecodeCost.h); no pixel is
    // decoded yet, except for a run-length BMP, which our own reader decodes whole. `declared`
    // (when given) receives the size that the header declares, also when the image is refused, and
    // `cost` what decoding it needs, once the header passed the pixel limit.
    HResult Open(const u8* data, size_t size, const CDecodeLimits& limits, Size* declared = nullptr,
                 CDecodeCost* cost = nullptr);

    // The size of the image as the file declares it.
    Size DeclaredSize() const;

    // Lets the decoder skip detail that a shrink to width x height would only average away: a
    // JPEG is decoded at the smallest of its eighth, quarter and half sizes that is still several
    // times that size on both axes. Other formats and smaller shrinks keep the full size. Call
    // before Rgba; false when the loader could not be opened again (the stream then keeps the
    // full size).
    bool ReduceFor(i32 width, i32 height);
    // A JPEG decoded at 1 / divisor of its size (1, 2, 4 or 8), whatever the shrink; for
    // measuring what each reduction costs in quality.
    bool ReduceBy(int divisor);
    // The divisor of the reduction, 1 for none: Rgba then holds ceil(size / divisor) pixels, of
    // which the image covers size / divisor.
    int Reduction() const;

    // The pixels as four 8-bit bands, red, green, blue and straight alpha, top row first, at the
    // declared size or the reduced one. A pipeline: rows are decoded when they are asked for.
    vips::VImage Rgba() const;
    // As Rgba, but only the three colour bands when the decoded form has no alpha band.
    vips::VImage Pixels() const;
    // The orientation that the file's tag states (LoadedOrientation, image/Orientation.h).
    u32 Orientation() const;
    // The file's EXIF block as it follows "Exif\0\0" (the byte order mark first) and its XMP
    // packet, as the loader found them; empty where the file has none, and for a BMP.
    void Metadata(std::vector<u8>& exif, std::string& xmp) const;
    // The resolution that the file states, in pixels per millimetre; 0 when it states none.
    double XResolution() const;
    double YResolution() const;

    // The colour profile that the file embeds, when the pixels keep the numbers of the space that
    // it describes: an RGB profile over colour bands that no conversion made sRGB. Empty for a
    // file without one, and for a profile of another space (grey, CMYK), whose pixels are made
    // sRGB without it. A JPEG's profile is gathered from all of its segments
    // (image/SourceProfile.h).
    std::vector<u8> ColourProfile() const;

    // True when the loader reported a damaged file while the pixels were read, also where the
    // pipeline itself finished.
    bool Damaged() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};
