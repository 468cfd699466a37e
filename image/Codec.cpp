// Decoding and encoding through libvips' loaders and savers.
#include "image/Codec.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string>

#include <vips/vips8>

#include "image/BmpReader.h"
#include "image/BmpRowsImage.h"
#include "image/DecodeCost.h"
#include "image/DecodeStream.h"
#include "image/EncoderSetup.h"
#include "image/IccProfileEmbed.h"
#include "image/JpegScans.h"
#include "image/Loaders.h"
#include "image/ProfiledEncode.h"
#include "image/SourceProfile.h"
#include "image/StreamEncoders.h"

using vips::VError;
using vips::VImage;

namespace {

// The longest side that libjpeg writes; a longer one would only fail inside the encoder.
constexpr i32 kLargestJpegSide = 65500;

// The least factor by which a JPEG halved while decoding must still be resampled.
constexpr i64 kLeastRemainingShrink = 3;

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

// Rows of a decoded image go straight into the CDib as libvips hands them over.
struct CDibTarget {
    CDib* dib;
};

// Copies a strip of RGBA rows into the bottom-up BGRA bits. Called by libvips in row order.
int WriteStrip(VipsRegion* region, VipsRect* area, void* arg) {
    CDib& dib = *static_cast<CDibTarget*>(arg)->dib;
    const i32 height = dib.Height();
    const size_t stride = dib.Stride();
    for (int y = area->top; y < VIPS_RECT_BOTTOM(area); ++y) {
        const u8* src = VIPS_REGION_ADDR(region, area->left, y);
        u8* dst = dib.Bits() + static_cast<size_t>(height - 1 - y) * stride +
                  static_cast<size_t>(area->left) * 4;
        for (int x = 0; x < area->width; ++x, src += 4, dst += 4) {
            dst[0] = src[2];
            dst[1] = src[1];
            dst[2] = src[0];
            dst[3] = src[3];
        }
    }
    return 0;
}

// Any decoded form (grey, palette, 16-bit, CMYK, Lab, extra bands) as 8-bit sRGB plus alpha.
// With rgbWhenOpaque an image without alpha stays three bands, which spares a pass that only
// adds 255s.
VImage ToRgba8(VImage in, bool rgbWhenOpaque = false) {
    const VipsInterpretation space = vips_image_guess_interpretation(in.get_image());
    if (space != VIPS_INTERPRETATION_sRGB && space != VIPS_INTERPRETATION_MULTIBAND &&
        vips_colourspace_issupported(in.get_image())) {
        in = in.colourspace(VIPS_INTERPRETATION_sRGB, VImage::option()->set("source_space", space));
    }
    if (in.format() != VIPS_FORMAT_UCHAR) {
        const bool shift = in.format() == VIPS_FORMAT_USHORT || in.format() == VIPS_FORMAT_SHORT;
        in = in.cast(VIPS_FORMAT_UCHAR, VImage::option()->set("shift", shift));
    }
    switch (in.bands()) {
    case 1: {
        VImage rgb = VImage::bandjoin({in, in, in});
        return rgbWhenOpaque ? rgb : rgb.bandjoin(255.0);
    }
    case 2:
        return VImage::bandjoin({in[0], in[0], in[0], in[1]});
    case 3:
        return rgbWhenOpaque ? in : in.bandjoin(255.0);
    case 4:
        return in;
    default:
        return in.extract_band(0, VImage::option()->set("n", 4));
    }
}

// dots per inch as pixels per metre, rounded as the bitmap header stores it.
i32 PelsPerMeter(double pixelsPerMm) {
    if (!(pixelsPerMm > 0.0) || pixelsPerMm > 1.0e6)
        return 0;
    const double dpi = static_cast<float>(pixelsPerMm * 25.4);
    return static_cast<i32>(dpi * 10000.0 / 254.0 + 0.5);
}

// The rows of a CDib as a top-down libvips image of the bands blue, green, red, alpha. Shares the
// CDib's memory; no pixel is copied.
VImage WrapDib(const CDib& dib) {
    VImage bottomUp = VImage::new_from_memory(const_cast<u8*>(dib.Bits()), dib.GetSizeImage(),
                                              dib.Width(), dib.Height(), 4, VIPS_FORMAT_UCHAR);
    return bottomUp.flip(VIPS_DIRECTION_VERTICAL);
}

// An image as the encoders take it: sRGB, with the resolution of a new bitmap.
VImage Tagged(const VImage& image) {
    return image.copy(VImage::option()
                          ->set("interpretation", VIPS_INTERPRETATION_sRGB)
                          ->set("xres", kNewBitmapPixelsPerMm)
                          ->set("yres", kNewBitmapPixelsPerMm));
}

// Colour bands in RGB order, with alpha when asked for (255 without keepAlpha).
VImage ForSaving(const CDib& dib, bool withAlpha, bool keepAlpha) {
    VImage bgra = WrapDib(dib);
    std::vector<VImage> bands = {bgra[2], bgra[1], bgra[0]};
    VImage rgb = VImage::bandjoin(bands);
    if (withAlpha)
        rgb = keepAlpha ? rgb.bandjoin(bgra[3]) : rgb.bandjoin(255.0);
    return rgb;
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
        image = ForSaving(dib, withAlpha, keepAlpha);
    } catch (const VError&) {
        vips_error_clear();
        return hr::kFail;
    }
    return encode(image);
}

// The alpha of every pixel is 255.
bool IsOpaque(const CDib& dib) {
    for (i32 y = 0; y < dib.Height(); ++y) {
        const u8* alpha = dib.PixelAt(0, y) + 3;
        for (i32 x = 0; x < dib.Width(); ++x, alpha += 4) {
            if (*alpha != 255)
                return false;
        }
    }
    return true;
}

} // namespace

struct CDecodeStream::Impl {
    CDibPtr bmp;                       // a run-length BMP, decoded whole by our own reader
    std::shared_ptr<CBmpRows> bmpRows; // any other BMP, its rows decoded as they are read
    const u8* data = nullptr;
    size_t size = 0;
    const char* loader = nullptr;
    std::unique_ptr<CLoader> open;
    VImage image;
    Size declared;
    int reduction = 1;
};

CDecodeStream::CDecodeStream() : impl_(new Impl) {}

CDecodeStream::~CDecodeStream() = default;

HResult CDecodeStream::Open(const u8* data, size_t size, const CDecodeLimits& limits,
                            Size* declared, CDecodeCost* cost) {
    *impl_ = Impl();
    if (!data || size == 0)
        return hr::kNotImpl;
    if (IsBmp(data, size)) {
        bool runLength = false;
        HResult code = CheckBmpCost(data, size, limits, false, declared, cost, runLength);
        if (Failed(code))
            return code;
        if (runLength) {
            code = ReadBmp(data, size, limits.maxPixels, impl_->bmp, declared);
            if (impl_->bmp)
                impl_->declared = Size{impl_->bmp->Width(), impl_->bmp->Height()};
            return code;
        }
        auto rows = std::make_shared<CBmpRows>();
        code = rows->Open(data, size, limits.maxPixels, declared);
        if (Succeeded(code)) {
            impl_->declared = Size{rows->Width(), rows->Height()};
            impl_->bmpRows = std::move(rows);
        }
        return code;
    }
    if (!EnsureVipsStarted())
        return hr::kFail;
    const char* loader = CLoader::For(data, size);
    if (!loader) {
        vips_error_clear();
        return hr::kNotImpl;
    }
    // Every scan of a progressive JPEG is a pass over the whole image, even an empty one.
    const bool jpeg = std::strcmp(loader, "jpegload_buffer") == 0;
    const u32 scans = jpeg ? CountJpegScans(data, size, limits.maxScans) : 0;
    if (scans > limits.maxScans)
        return hr::kTooManyScans;
    Size early;
    CDecodeCost needs;
    if (EstimateBeforeOpening(loader, data, size, early, needs)) {
        if (declared)
            *declared = early;
        if (cost)
            *cost = needs;
        if (static_cast<u64>(early.cx) * static_cast<u64>(early.cy) > limits.maxPixels)
            return hr::kImageTooLarge;
        if (Failed(CheckDecodeCost(needs, limits)))
            return CheckDecodeCost(needs, limits);
    }
    auto open = std::make_unique<CLoader>();
    VipsImage* opened = open->Open(loader, data, size);
    if (!opened)
        return CLoader::DecodeFailure();
    VImage image(opened);
    const u64 width = static_cast<u64>(image.width());
    const u64 height = static_cast<u64>(image.height());
    if (width == 0 || height == 0)
        return hr::kNotImpl;
    const Size size2d{image.width(), image.height()};
    if (declared)
        *declared = size2d;
    // The loader has read the header only: refuse here, before a pixel is decoded.
    if (width * height > limits.maxPixels)
        return hr::kImageTooLarge;
    needs = EstimateDecodeCost(loader, data, size, size2d, image.bands(),
                               static_cast<int>(vips_format_sizeof(image.format())), scans);
    if (cost)
        *cost = needs;
    const HResult budget = CheckDecodeCost(needs, limits);
    if (Failed(budget))
        return budget;
    impl_->data = data;
    impl_->size = size;
    impl_->loader = loader;
    impl_->open = std::move(open);
    impl_->image = image;
    impl_->declared = size2d;
    return hr::kOk;
}

Size CDecodeStream::DeclaredSize() const {
    return impl_->declared;
}

bool CDecodeStream::ReduceFor(i32 width, i32 height) {
    if (!impl_->loader || std::strcmp(impl_->loader, "jpegload_buffer") != 0)
        return true;
    const i64 fullWidth = impl_->declared.cx;
    const i64 fullHeight = impl_->declared.cy;
    // Halving while decoding, then resampling by at least 3 more, keeps the result within the
    // eye's reach of a full decode: over 42 dB on photographs and on the generated scenes. The
    // decoder's quarter and eighth sizes, and halving nearer the target, fall below 40 dB where a
    // picture has fine grain, since the decoder's reduction works within each 8 x 8 block.
    const int shrink = fullWidth >= kLeastRemainingShrink * 2 * width &&
                               fullHeight >= kLeastRemainingShrink * 2 * height
                           ? 2
                           : 1;
    if (shrink == 1)
        return true;
    auto open = std::make_unique<CLoader>();
    VipsImage* opened = open->Open(impl_->loader, impl_->data, impl_->size, shrink);
    if (!opened) {
        vips_error_clear();
        return false;
    }
    impl_->open = std::move(open);
    impl_->image = VImage(opened);
    impl_->reduction = shrink;
    return true;
}

int CDecodeStream::Reduction() const {
    return impl_->reduction;
}

VImage CDecodeStream::Rgba() const {
    if (impl_->bmp || impl_->bmpRows) {
        VImage bgra = impl_->bmpRows ? BmpRowsImage(impl_->bmpRows) : WrapDib(*impl_->bmp);
        return VImage::bandjoin({bgra[2], bgra[1], bgra[0], bgra[3]});
    }
    return ToRgba8(impl_->image);
}

VImage CDecodeStream::Pixels() const {
    if (!impl_->bmp && !impl_->bmpRows)
        return ToRgba8(impl_->image, true);
    const bool opaque = impl_->bmpRows ? impl_->bmpRows->Opaque() : IsOpaque(*impl_->bmp);
    return opaque ? Rgba().extract_band(0, VImage::option()->set("n", 3)) : Rgba();
}

double CDecodeStream::XResolution() const {
    return impl_->bmp || impl_->bmpRows ? 0.0 : impl_->image.xres();
}

double CDecodeStream::YResolution() const {
    return impl_->bmp || impl_->bmpRows ? 0.0 : impl_->image.yres();
}

std::vector<u8> CDecodeStream::ColourProfile() const {
    if (impl_->bmp || impl_->bmpRows)
        return {};
    VipsImage* image = impl_->image.get_image();
    std::vector<u8> profile =
        EmbeddedIccProfile(impl_->image, impl_->loader, impl_->data, impl_->size);
    // The pixels keep their numbers only where no colour conversion makes them sRGB: colour
    // bands as the file stores them, under a profile that describes RGB.
    const VipsInterpretation space = vips_image_guess_interpretation(image);
    const bool keptNumbers = space == VIPS_INTERPRETATION_sRGB ||
                             space == VIPS_INTERPRETATION_RGB16 ||
                             (space == VIPS_INTERPRETATION_MULTIBAND && image->Bands >= 3);
    if (!keptNumbers || image->Bands < 3 || IccColourSpace(profile) != kIccRgb)
        return {};
    return profile;
}

bool CDecodeStream::Damaged() const {
    return impl_->open && impl_->open->Invalidated();
}

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
        CDibTarget sink{dib.get()};
        if (vips_sink_disc(rgba.get_image(), WriteStrip, &sink) != 0)
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

HResult EncodeJpegRows(const VImage& rgb, u32 quality, const std::vector<u8>& profile,
                       std::vector<u8>& out) {
    out.clear();
    if (rgb.width() > kLargestJpegSide || rgb.height() > kLargestJpegSide)
        return hr::kTooLargeForJpeg;
    // libjpeg reads a quality of 0 as 1; libvips asks for 1 to 100.
    const int q = quality == 0 ? 1 : static_cast<int>(std::min(quality, kBestJpegQuality));
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
            const VImage srgb = TurnedIntoSrgb(ForSaving(dib, true, true), profile);
            CDibTarget sink{converted.get()};
            copy = srgb.bands() != 4 || vips_sink_disc(srgb.get_image(), WriteStrip, &sink) != 0;
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
