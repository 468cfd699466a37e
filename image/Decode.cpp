// Decoding a whole image into a CDib through the row decoder.
#include "image/Decode.h"

#include <new>

#include "image/BmpReader.h"
#include "image/DecodeStream.h"
#include "image/DibImage.h"
#include "image/Loaders.h"
#include "image/VipsStart.h"

using vips::VError;
using vips::VImage;

namespace {

// dots per inch as pixels per metre, rounded as the bitmap header stores it.
i32 PelsPerMeter(double pixelsPerMm) {
    if (!(pixelsPerMm > 0.0) || pixelsPerMm > 1.0e6)
        return 0;
    const double dpi = static_cast<float>(pixelsPerMm * 25.4);
    return static_cast<i32>(dpi * 10000.0 / 254.0 + 0.5);
}

} // namespace

HResult DecodeImage(const u8* data, size_t size, CDibPtr& out, const CDecodeLimits& limits,
                    Size* declared, CDecodeCost* cost) {
    if (!data || size == 0)
        return hr::kNotImpl;
    if (IsBmp(data, size)) {
        bool runLength = false;
        const HResult budget = CheckBmpCost(data, size, limits, true, declared, cost, runLength);
        return Failed(budget) ? budget : ReadBmp(data, size, limits.maxPixels, out, declared);
    }
    try {
        CDecodeStream stream;
        CDecodeCost needs;
        HResult code = stream.Open(data, size, limits, declared, &needs);
        if (cost)
            *cost = needs;
        if (Failed(code))
            return code;
        const Size full = stream.DeclaredSize();
        const u64 wholeBytes = static_cast<u64>(full.cx) * static_cast<u64>(full.cy) * 4;
        if (wholeBytes > UINT32_MAX)
            return hr::kOutOfMemory;
        // The whole 32-bit image is kept besides what the decoder holds.
        if (cost)
            cost->memory += wholeBytes;
        code = CheckDecodeCost(needs, limits, wholeBytes);
        if (Failed(code))
            return code;
        VImage rgba = stream.Rgba();
        if (rgba.width() != full.cx || rgba.height() != full.cy || rgba.bands() != 4 ||
            rgba.format() != VIPS_FORMAT_UCHAR)
            return hr::kNotImpl;
        CDibPtr dib(new (std::nothrow) CDib);
        if (!dib)
            return hr::kOutOfMemory;
        if (!dib->Create32(full.cx, full.cy) || !dib->AllocBits())
            return hr::kOutOfMemory;
        if (!WriteRgbaInto(rgba, *dib))
            return CLoader::DecodeFailure();
        vips_error_clear();
        if (stream.Damaged())
            return hr::kNotImpl;
        dib->Header()->biXPelsPerMeter = PelsPerMeter(stream.XResolution());
        dib->Header()->biYPelsPerMeter = PelsPerMeter(stream.YResolution());
        dib->SetColourProfile(stream.ColourProfile());
        out = dib;
        return hr::kOk;
    } catch (const VError&) {
        return CLoader::DecodeFailure();
    } catch (const std::bad_alloc&) {
        return hr::kOutOfMemory;
    }
}

bool LooksLikeImage(const u8* head, size_t size) {
    if (IsBmp(head, size))
        return true;
    if (!EnsureVipsStarted())
        return false;
    const bool claimed = CLoader::For(head, size) != nullptr;
    vips_error_clear();
    return claimed;
}
