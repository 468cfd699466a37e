// The encoders' colour profile: in beside the numbers, or the numbers turned into sRGB.
#include "image/ProfiledEncode.h"

using vips::VError;
using vips::VImage;

VImage TurnedIntoSrgb(const VImage& pixels, const std::vector<u8>& profile) {
    VImage tagged = pixels.copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
    vips_image_set_blob_copy(tagged.get_image(), VIPS_META_ICC_NAME, profile.data(),
                             profile.size());
    return tagged
        .icc_transform("srgb", VImage::option()
                                   ->set("embedded", true)
                                   ->set("intent", VIPS_INTENT_RELATIVE)
                                   ->set("depth", 8))
        .cast(VIPS_FORMAT_UCHAR);
}

HResult EncodeUnderProfile(const VImage& pixels, const std::vector<u8>& profile, bool fits,
                           const std::function<HResult(const VImage&)>& encode,
                           HResult (*embed)(std::vector<u8>&, const std::vector<u8>&),
                           std::vector<u8>& out) {
    const bool embeds = !profile.empty() && fits;
    VImage written = pixels;
    if (!profile.empty() && !fits) {
        try {
            written = TurnedIntoSrgb(pixels, profile);
        } catch (const VError&) {
            vips_error_clear();
        }
    }
    HResult code = encode(written);
    if (Succeeded(code) && embeds)
        code = embed(out, profile);
    if (Failed(code))
        out.clear();
    return code;
}
