// The row encoders: libvips' JPEG and PNG savers writing into a vector as the rows come.
#include "image/StreamEncoders.h"

#include <algorithm>
#include <new>

#include "image/AvifEncoder.h"
#include "image/IccProfileEmbed.h"
#include "image/Loaders.h"
#include "image/MetadataEmbed.h"
#include "image/ProfiledEncode.h"
#include "image/SaveType.h"
#include "image/VipsStart.h"
#include "image/WebpChunks.h"

using vips::VError;
using vips::VImage;

namespace {

// The longest side that libjpeg writes; a longer one would only fail inside the encoder.
constexpr i32 kLargestJpegSide = 65500;
// The longest side of a WebP picture: its header holds 14 bits.
constexpr i32 kLargestWebpSide = 16383;

// A new bitmap carries the resolution of the screen it was made for: 96 dots per inch, which is
// what an encoder writes for an image that states none. libvips counts pixels per millimetre.
constexpr double kNewBitmapPixelsPerMm = 96.0 / 25.4;

// The code of an encoder's failure: memory when that is what ran out, else an unspecified
// failure. Clears libvips' error text.
HResult EncoderFailure(const VError& error, bool outputOutOfMemory) {
    const bool memory = outputOutOfMemory || CLoader::IsOutOfMemoryText(error.what()) ||
                        CLoader::IsOutOfMemoryText(vips_error_buffer());
    vips_error_clear();
    return memory ? hr::kOutOfMemory : hr::kFail;
}

// An image as the encoders take it: sRGB, with the resolution of a new bitmap.
VImage Tagged(const VImage& image) {
    return image.copy(VImage::option()
                          ->set("interpretation", VIPS_INTERPRETATION_sRGB)
                          ->set("xres", kNewBitmapPixelsPerMm)
                          ->set("yres", kNewBitmapPixelsPerMm));
}

// An encoder's output, gathered in a vector that the encoder writes through a custom target.
// libvips' own memory target grows with GLib's allocator, which ends the process when memory
// runs out; here a failed allocation fails the write, and the encoder reports it.
class CVectorTarget {
public:
    explicit CVectorTarget(std::vector<u8>& out) : out_(out) { out_.clear(); }

    vips::VTarget Make() {
        VipsTargetCustom* target = vips_target_custom_new();
        g_signal_connect(target, "write", G_CALLBACK(OnWrite), this);
        return vips::VTarget(VIPS_TARGET(target));
    }
    bool OutOfMemory() const { return outOfMemory_; }

private:
    static gint64 OnWrite(VipsTargetCustom*, const void* data, gint64 length, void* self) {
        auto* sink = static_cast<CVectorTarget*>(self);
        const u8* bytes = static_cast<const u8*>(data);
        try {
            sink->out_.insert(sink->out_.end(), bytes, bytes + length);
        } catch (const std::bad_alloc&) {
            sink->outOfMemory_ = true;
            return -1;
        }
        return length;
    }

    std::vector<u8>& out_;
    bool outOfMemory_ = false;
};

// Runs one of libvips' savers into out through a vector target. 0x80004005 when the saver or the
// pipeline under it fails, 0x8007000E when memory runs out; out is left empty on every failure.
template <class Save> HResult Encode(std::vector<u8>& out, Save save) {
    if (!EnsureVipsStarted())
        return hr::kFail;
    CVectorTarget target(out);
    try {
        save(target.Make());
        return hr::kOk;
    } catch (const VError& error) {
        out.clear();
        return EncoderFailure(error, target.OutOfMemory());
    } catch (const std::bad_alloc&) {
        out.clear();
        return hr::kOutOfMemory;
    }
}

// The quality as libvips' savers take it: libjpeg reads 0 as 1, libvips asks for 1 to 100.
int LibvipsQuality(u32 quality) {
    return quality == 0 ? 1 : static_cast<int>(std::min(quality, kBestJpegQuality));
}

} // namespace

HResult EncodeRows(const VImage& pixels, const OutputChoice& output, const std::vector<u8>& profile,
                   const OutputMetadata& metadata, std::vector<u8>& out) {
    HResult code = hr::kOk;
    switch (output.format) {
    case OutputFormat::kWebp:
        return EncodeWebpRows(pixels, output.quality, profile, metadata, out);
    case OutputFormat::kAvif:
        return EncodeAvif(pixels, output.quality, profile, metadata, out);
    case OutputFormat::kJpeg:
        code = EncodeJpegRows(pixels, output.quality, profile, out);
        if (Succeeded(code) && !metadata.Empty())
            code = EmbedMetadataInJpeg(out, metadata);
        break;
    default:
        code = EncodePngRows(pixels, profile, out);
        if (Succeeded(code) && !metadata.Empty())
            code = EmbedMetadataInPng(out, metadata);
        break;
    }
    if (Failed(code))
        out.clear();
    return code;
}

HResult EncodeJpegRows(const VImage& rgb, u32 quality, const std::vector<u8>& profile,
                       std::vector<u8>& out) {
    out.clear();
    if (rgb.width() > kLargestJpegSide || rgb.height() > kLargestJpegSide)
        return hr::kTooLargeForJpeg;
    const int q = LibvipsQuality(quality);
    // The encoders strip every piece of metadata; the colour profile alone is put in afterwards,
    // so that a file without one carries no metadata at all.
    const auto encode = [&](const VImage& pixels) {
        return Encode(out, [&](vips::VTarget target) {
            Tagged(pixels).jpegsave_target(
                target, VImage::option()->set("Q", q)->set("strip", true)->set("interlace", false));
        });
    };
    return EncodeUnderProfile(rgb, profile, IccFitsJpeg(profile.size()), encode, EmbedIccInJpeg,
                              out);
}

HResult EncodePngRows(const VImage& rgba, const std::vector<u8>& profile, std::vector<u8>& out) {
    const auto encode = [&](const VImage& pixels) {
        return Encode(out, [&](vips::VTarget target) {
            Tagged(pixels).pngsave_target(
                target,
                VImage::option()->set("bitdepth", 8)->set("strip", true)->set("interlace", false));
        });
    };
    return EncodeUnderProfile(rgba, profile, IccFitsPng(profile.size()), encode, EmbedIccInPng,
                              out);
}

HResult EncodeWebpRows(const VImage& pixels, u32 quality, const std::vector<u8>& profile,
                       const OutputMetadata& metadata, std::vector<u8>& out) {
    out.clear();
    if (pixels.width() > kLargestWebpSide || pixels.height() > kLargestWebpSide)
        return hr::kTooLargeForWebp;
    const int q = LibvipsQuality(quality);
    const HResult code = Encode(out, [&](vips::VTarget target) {
        Tagged(pixels).webpsave_target(target, VImage::option()->set("Q", q)->set("strip", true));
    });
    if (Failed(code))
        return code;
    // libvips' WebP saver writes an EXIF chunk of its own even when told to strip: the file keeps
    // the profile (a WebP has room for any) and the metadata given, and nothing else.
    const WebpExtras extras{profile, metadata.exif,
                            std::vector<u8>(metadata.xmp.begin(), metadata.xmp.end())};
    if (Failed(SetWebpExtras(out, extras))) {
        out.clear();
        return hr::kFail;
    }
    return hr::kOk;
}
