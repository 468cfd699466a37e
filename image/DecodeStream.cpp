// An encoded image opened for one pass over its rows: our BMP readers or a libvips loader.
#include "image/DecodeStream.h"

#include <cstring>
#include <memory>
#include <string>

#include "image/BmpReader.h"
#include "image/BmpRowsImage.h"
#include "image/DibImage.h"
#include "image/IccProfileEmbed.h"
#include "image/JpegScans.h"
#include "image/Loaders.h"
#include "image/Orientation.h"
#include "image/SourceProfile.h"
#include "image/VipsStart.h"

using vips::VImage;

namespace {

// The decoder's reductions, largest first, each with the least factor by which it must leave the
// picture to be resampled still. Measured against a full decode reduced exactly (bench/quality),
// on photographs and on generated scenes down to 1000 x 750 whose detail is as fine as their
// pixels: a half size that leaves 1.5 keeps 46 dB on photographs, but the fine scenes of
// 1603 x 1201 fall to 39.6 dB there; they keep 40.5 dB with 1.78 and 41.2 with 2. A quarter size
// that leaves 1.5 keeps 43 dB on photographs, but the fine scenes need 3 (2.5 gives 39.8 dB). An
// eighth size that leaves less than 3 falls to 37 dB on photographs.
struct DecoderReduction {
    int divisor;
    double leastRemainingShrink;
};
constexpr DecoderReduction kReductions[] = {{8, 6.0}, {4, 3.0}, {2, 1.75}};

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

    // The libvips loader is the JPEG one, whose decoder can reduce while it decodes.
    bool Jpeg() const { return CLoader::IsJpeg(loader); }
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
    const u32 scans = CLoader::IsJpeg(loader) ? CountJpegScans(data, size, limits.maxScans) : 0;
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
    if (!impl_->Jpeg())
        return true;
    // The decoder's reduction averages within each 8 x 8 block, which differs from the kernel's
    // shrink where a picture has fine grain; the shrink that remains after it keeps the result
    // within the eye's reach of a full decode.
    for (const DecoderReduction& reduction : kReductions) {
        if (impl_->declared.cx >= reduction.leastRemainingShrink * reduction.divisor * width &&
            impl_->declared.cy >= reduction.leastRemainingShrink * reduction.divisor * height)
            return ReduceBy(reduction.divisor);
    }
    return true;
}

bool CDecodeStream::ReduceBy(int divisor) {
    if (divisor == impl_->reduction)
        return true;
    if (!impl_->Jpeg())
        return false;
    auto open = std::make_unique<CLoader>();
    VipsImage* opened = open->Open(impl_->loader, impl_->data, impl_->size, divisor);
    if (!opened) {
        vips_error_clear();
        return false;
    }
    impl_->open = std::move(open);
    impl_->image = VImage(opened);
    impl_->reduction = divisor;
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

u32 CDecodeStream::Orientation() const {
    return LoadedOrientation(impl_->loader, impl_->image.get_image());
}

void CDecodeStream::Metadata(std::vector<u8>& exif, std::string& xmp) const {
    exif.clear();
    xmp.clear();
    VipsImage* image = impl_->image.get_image();
    if (!image)
        return;
    const void* data = nullptr;
    size_t size = 0;
    if (vips_image_get_typeof(image, VIPS_META_EXIF_NAME) &&
        vips_image_get_blob(image, VIPS_META_EXIF_NAME, &data, &size) == 0) {
        const u8* bytes = static_cast<const u8*>(data);
        // libvips keeps the JPEG segment's "Exif\0\0" head on the block; PNG and WebP may not.
        constexpr u8 kHead[] = {'E', 'x', 'i', 'f', 0, 0};
        const size_t skip = size >= 6 && std::memcmp(bytes, kHead, 6) == 0 ? 6 : 0;
        exif.assign(bytes + skip, bytes + size);
    }
    if (vips_image_get_typeof(image, VIPS_META_XMP_NAME) &&
        vips_image_get_blob(image, VIPS_META_XMP_NAME, &data, &size) == 0)
        xmp.assign(static_cast<const char*>(data), size);
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
