// A CDib's copy in sRGB, through the colour engine of libvips.
#include "image/SrgbCopy.h"

#include <cstring>
#include <new>
#include <vector>

#include <vips/vips8>

#include "image/DibImage.h"
#include "image/ProfiledEncode.h"
#include "image/VipsStart.h"

using vips::VError;
using vips::VImage;

HResult ConvertToSrgb(const CDib& dib, CDibPtr& out) {
    out.reset();
    if (!IsDib32(dib) || dib.Width() <= 0 || dib.Height() <= 0 || !EnsureVipsStarted())
        return hr::kInvalidArg;
    CDibPtr converted(new (std::nothrow) CDib);
    if (!converted || !converted->Create32(dib.Width(), dib.Height()) || !converted->AllocBits())
        return hr::kOutOfMemory;
    converted->Header()->biXPelsPerMeter = dib.Header()->biXPelsPerMeter;
    converted->Header()->biYPelsPerMeter = dib.Header()->biYPelsPerMeter;
    const std::vector<u8>& profile = dib.ColourProfile();
    bool copy = profile.empty();
    if (!copy) {
        try {
            const VImage srgb = TurnedIntoSrgb(DibRgb(dib, true, true), profile);
            copy = srgb.bands() != 4 || !WriteRgbaInto(srgb, *converted);
        } catch (const VError&) {
            copy = true;
        }
        vips_error_clear();
    }
    // A profile that the colour engine cannot read leaves the numbers as they are.
    if (copy)
        std::memcpy(converted->Bits(), dib.Bits(), dib.GetSizeImage());
    out = converted;
    return hr::kOk;
}
