// Decoding and encoding through libvips' loaders and savers.
#include "image/Codec.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <new>

#include <vips/vips8>

using vips::VError;
using vips::VImage;

namespace {

// A new bitmap carries the resolution of the screen it was made for: 96 dots per inch, which is
// what an encoder writes for an image that states none. libvips counts pixels per millimetre.
constexpr double kNewBitmapPixelsPerMm = 96.0 / 25.4;

// Rows of a decoded image go straight into the CDib as libvips hands them over.
struct CRowSink {
    CDib* dib;
};

// Copies a strip of RGBA rows into the bottom-up BGRA bits. Called by libvips in row order.
int WriteStrip(VipsRegion* region, VipsRect* area, void* arg) {
    CDib& dib = *static_cast<CRowSink*>(arg)->dib;
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

// A loader that reports a damaged file while its pixels are decoded invalidates its operation;
// the flag catches that even where the pixel pipeline itself finishes.
void OnLoaderInvalidated(VipsOperation*, void* flag) {
    static_cast<std::atomic<bool>*>(flag)->store(true);
}

// An open buffer loader: the operation is kept until the pixels are decoded, so that a failure
// reported through it is seen.
class CLoader {
public:
    CLoader() = default;
    CLoader(const CLoader&) = delete;
    CLoader& operator=(const CLoader&) = delete;
    ~CLoader() {
        if (!op_)
            return;
        vips_object_unref_outputs(VIPS_OBJECT(op_));
        g_object_unref(op_);
    }

    // Runs the named loader outside the operation cache, so that no cached operation keeps a
    // pointer into the caller's buffer after the decode. Only the header is read here; pixels
    // are decoded on demand, row by row. The loaders' defaults give the first page or frame and
    // apply no orientation tag. Null with the libvips error set on failure.
    VipsImage* Open(const char* loader, const u8* data, size_t size) {
        op_ = vips_operation_new(loader);
        if (!op_)
            return nullptr;
        g_signal_connect(op_, "invalidate", G_CALLBACK(OnLoaderInvalidated), &invalidated_);
        VipsBlob* blob = vips_blob_new(nullptr, data, size);
        // Truncated or damaged data fails the load instead of giving a half-grey picture.
        const int setFailed =
            vips_object_set(VIPS_OBJECT(op_), "buffer", blob, "access", VIPS_ACCESS_SEQUENTIAL,
                            "fail_on", VIPS_FAIL_ON_ERROR, nullptr);
        vips_area_unref(VIPS_AREA(blob));
        VipsImage* image = nullptr;
        if (!setFailed && !vips_object_build(VIPS_OBJECT(op_)))
            g_object_get(op_, "out", &image, nullptr);
        return image;
    }

    bool Invalidated() const { return invalidated_; }

private:
    VipsOperation* op_ = nullptr;
    std::atomic<bool> invalidated_{false};
};

// Any decoded form (grey, palette, 16-bit, CMYK, Lab, extra bands) as 8-bit sRGB plus alpha.
VImage ToRgba8(VImage in) {
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
    case 1:
        return VImage::bandjoin({in, in, in}).bandjoin(255.0);
    case 2:
        return VImage::bandjoin({in[0], in[0], in[0], in[1]});
    case 3:
        return in.bandjoin(255.0);
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

HResult DecodeOpened(VImage image, const CLoader& loader, CDibPtr& out) {
    const u64 width = static_cast<u64>(image.width());
    const u64 height = static_cast<u64>(image.height());
    if (width == 0 || height == 0)
        return hr::kNotImpl;
    if (width * height * 4 > UINT32_MAX)
        return hr::kOutOfMemory;
    const double xres = image.xres();
    const double yres = image.yres();

    VImage rgba = ToRgba8(image);
    if (static_cast<u64>(rgba.width()) != width || static_cast<u64>(rgba.height()) != height ||
        rgba.bands() != 4 || rgba.format() != VIPS_FORMAT_UCHAR)
        return hr::kNotImpl;

    CDibPtr dib(new (std::nothrow) CDib);
    if (!dib)
        return hr::kOutOfMemory;
    if (!dib->Create32(static_cast<i32>(width), static_cast<i32>(height)) || !dib->AllocBits())
        return hr::kOutOfMemory;
    CRowSink sink{dib.get()};
    if (vips_sink_disc(rgba.get_image(), WriteStrip, &sink) || loader.Invalidated())
        return hr::kNotImpl;
    dib->Header()->biXPelsPerMeter = PelsPerMeter(xres);
    dib->Header()->biYPelsPerMeter = PelsPerMeter(yres);
    out = dib;
    return hr::kOk;
}

// The rows of a CDib as a top-down libvips image of the bands blue, green, red, alpha. Shares the
// CDib's memory; no pixel is copied.
VImage WrapDib(const CDib& dib) {
    VImage bottomUp = VImage::new_from_memory(const_cast<u8*>(dib.Bits()), dib.GetSizeImage(),
                                              dib.Width(), dib.Height(), 4, VIPS_FORMAT_UCHAR);
    return bottomUp.flip(VIPS_DIRECTION_VERTICAL);
}

// Colour bands in RGB order, with the resolution of a new bitmap.
VImage ForSaving(const CDib& dib, bool withAlpha, bool keepAlpha) {
    VImage bgra = WrapDib(dib);
    std::vector<VImage> bands = {bgra[2], bgra[1], bgra[0]};
    VImage rgb = VImage::bandjoin(bands);
    if (withAlpha)
        rgb = keepAlpha ? rgb.bandjoin(bgra[3]) : rgb.bandjoin(255.0);
    return rgb.copy(VImage::option()
                        ->set("interpretation", VIPS_INTERPRETATION_sRGB)
                        ->set("xres", kNewBitmapPixelsPerMm)
                        ->set("yres", kNewBitmapPixelsPerMm));
}

void TakeBlob(VipsBlob* blob, std::vector<u8>& out) {
    size_t length = 0;
    const void* bytes = vips_blob_get(blob, &length);
    out.assign(static_cast<const u8*>(bytes), static_cast<const u8*>(bytes) + length);
    vips_area_unref(VIPS_AREA(blob));
}

} // namespace

// libvips reports what it met in a damaged file through GLib's log as well as through its failure;
// the failure reaches the user as a result code, so the log lines would only be noise on stderr.
static void DropVipsWarning(const gchar*, GLogLevelFlags, const gchar*, gpointer) {}

bool EnsureVipsStarted() {
    static std::once_flag once;
    static bool started = false;
    std::call_once(once, [] {
        started = VIPS_INIT("lunavex") == 0;
        g_log_set_handler("VIPS", static_cast<GLogLevelFlags>(G_LOG_LEVEL_WARNING | G_LOG_LEVEL_MESSAGE),
                          DropVipsWarning, nullptr);
    });
    return started;
}

void StopVips() { vips_shutdown(); }

HResult DecodeImage(const u8* data, size_t size, CDibPtr& out) {
    if (!data || size == 0)
        return hr::kNotImpl;
    if (!EnsureVipsStarted())
        return hr::kFail;
    const char* loader = vips_foreign_find_load_buffer(data, size);
    if (!loader) {
        vips_error_clear();
        return hr::kNotImpl;
    }
    CLoader open;
    VipsImage* opened = open.Open(loader, data, size);
    if (!opened) {
        vips_error_clear();
        return hr::kNotImpl;
    }
    try {
        const HResult result = DecodeOpened(VImage(opened), open, out);
        vips_error_clear();
        return result;
    } catch (const VError&) {
        vips_error_clear();
        return hr::kNotImpl;
    } catch (const std::bad_alloc&) {
        return hr::kOutOfMemory;
    }
}

HResult EncodeJpeg(const CDib& dib, u32 quality, std::vector<u8>& out) {
    if (!IsDib32(dib) || dib.Width() <= 0 || dib.Height() <= 0)
        return hr::kFail;
    if (!EnsureVipsStarted())
        return hr::kFail;
    try {
        // libjpeg reads a quality of 0 as 1; libvips asks for 1 to 100.
        const int q = quality == 0 ? 1 : static_cast<int>(std::min<u32>(quality, 1000));
        VipsBlob* blob =
            ForSaving(dib, false, false)
                .jpegsave_buffer(
                    VImage::option()->set("Q", q)->set("strip", true)->set("interlace", false));
        TakeBlob(blob, out);
        return hr::kOk;
    } catch (const VError&) {
        vips_error_clear();
        return hr::kFail;
    } catch (const std::bad_alloc&) {
        return hr::kFail;
    }
}

HResult EncodePng(const CDib& dib, bool keepAlpha, std::vector<u8>& out) {
    if (!IsDib32(dib) || dib.Width() <= 0 || dib.Height() <= 0)
        return hr::kFail;
    if (!EnsureVipsStarted())
        return hr::kFail;
    try {
        VipsBlob* blob = ForSaving(dib, true, keepAlpha)
                             .pngsave_buffer(VImage::option()
                                                 ->set("bitdepth", 8)
                                                 ->set("strip", true)
                                                 ->set("interlace", false));
        TakeBlob(blob, out);
        return hr::kOk;
    } catch (const VError&) {
        vips_error_clear();
        return hr::kFail;
    } catch (const std::bad_alloc&) {
        return hr::kFail;
    }
}
