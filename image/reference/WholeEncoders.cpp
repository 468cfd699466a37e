// The encoders of a whole CDib, through the row encoders.
#include "image/reference/WholeEncoders.h"

#include <vips/vips8>

#include "image/DibImage.h"
#include "image/StreamEncoders.h"
#include "image/VipsStart.h"

using vips::VError;
using vips::VImage;

namespace {

// Encodes a 32-bit image through one of the row encoders. 0x80004005 for an image that is not a
// 32-bit one.
template <class EncodeRows>
HResult EncodeDib(const CDib& dib, std::vector<u8>& out, EncodeRows encode, bool withAlpha,
                  bool keepAlpha) {
    out.clear();
    if (!IsDib32(dib) || dib.Width() <= 0 || dib.Height() <= 0 || !EnsureVipsStarted())
        return hr::kFail;
    VImage image;
    try {
        image = DibRgb(dib, withAlpha, keepAlpha);
    } catch (const VError&) {
        vips_error_clear();
        return hr::kFail;
    }
    return encode(image);
}

} // namespace

HResult EncodeJpeg(const CDib& dib, u32 quality, std::vector<u8>& out) {
    return EncodeDib(
        dib, out,
        [&](const VImage& image) {
            return EncodeJpegRows(image, quality, dib.ColourProfile(), out);
        },
        false, false);
}

HResult EncodePng(const CDib& dib, bool keepAlpha, std::vector<u8>& out) {
    return EncodeDib(
        dib, out,
        [&](const VImage& image) { return EncodePngRows(image, dib.ColourProfile(), out); }, true,
        keepAlpha);
}

HResult EncodeWhole(const CDib& dib, const OutputChoice& output, std::vector<u8>& out) {
    return output.Jpeg() ? EncodeJpeg(dib, output.quality, out) : EncodePng(dib, true, out);
}
