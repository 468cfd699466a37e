// Drawing one 32-bit image into another: straight-alpha blending, with libvips resampling when
// the size changes.
#include "image/Draw.h"

#include <algorithm>
#include <cstring>
#include <new>

#include <vips/vips8>

#include "image/Codec.h"

using vips::VError;
using vips::VImage;

namespace {

bool RectInside(const Rect& r, const CDib& dib) {
    return !r.IsEmpty() && r.left >= 0 && r.top >= 0 && r.right <= dib.Width() &&
           r.bottom <= dib.Height();
}

// Source over target in straight alpha, rounded to nearest. A transparent target takes the
// source pixel as it is, and an opaque source replaces the target: both exact copies.
void BlendRow(const u8* src, u8* dst, i32 pixels) {
    for (i32 x = 0; x < pixels; ++x, src += 4, dst += 4) {
        const u32 sa = src[3];
        const u32 da = dst[3];
        if (sa == 255 || da == 0) {
            std::memcpy(dst, src, 4);
            continue;
        }
        if (sa == 0)
            continue;
        // Weights in 1/65025: the source's own and what shows of the target through it.
        const u32 ws = sa * 255;
        const u32 wd = da * (255 - sa);
        const u32 wa = ws + wd;
        for (int c = 0; c < 3; ++c)
            dst[c] = static_cast<u8>((src[c] * ws + dst[c] * wd + wa / 2) / wa);
        dst[3] = static_cast<u8>((wa + 127) / 255);
    }
}

// Memory row of image row y (0 = top) of a bottom-up image.
const u8* RowAt(const CDib& dib, i32 y, i32 x) {
    return dib.Bits() + static_cast<size_t>(dib.Height() - 1 - y) * dib.Stride() +
           static_cast<size_t>(x) * 4;
}

u8* RowAt(CDib& dib, i32 y, i32 x) {
    return dib.Bits() + static_cast<size_t>(dib.Height() - 1 - y) * dib.Stride() +
           static_cast<size_t>(x) * 4;
}

void DrawSameSize(const CDib& source, const Rect& src, CDib& target, const Rect& dst) {
    for (i32 row = 0; row < src.Height(); ++row)
        BlendRow(RowAt(source, src.top + row, src.left), RowAt(target, dst.top + row, dst.left),
                 src.Width());
}

// The resampling kernel for each interpolation mode of the logic:
//   2 high quality           -> Lanczos 3: the sharpest antialiased shrink, for output files;
//   7 high quality bicubic   -> cubic (Catmull-Rom): loading and painting;
//   6 high quality bilinear  -> linear;
//   5 nearest neighbour      -> nearest;
//   0 default and any other  -> linear, the graphics library's own default quality.
VipsKernel KernelFor(i32 interpolation) {
    switch (interpolation) {
    case interp::kHighQuality:
        return VIPS_KERNEL_LANCZOS3;
    case interp::kHighQualityBicubic:
        return VIPS_KERNEL_CUBIC;
    case interp::kNearestNeighbor:
        return VIPS_KERNEL_NEAREST;
    default:
        return VIPS_KERNEL_LINEAR;
    }
}

// Where the resampled rows go: the destination rectangle of the target, in memory row order.
struct CBlendSink {
    CDib* target;
    i32 left;
    i32 firstMemoryRow;
};

int BlendStrip(VipsRegion* region, VipsRect* area, void* arg) {
    const CBlendSink& sink = *static_cast<CBlendSink*>(arg);
    for (int y = area->top; y < VIPS_RECT_BOTTOM(area); ++y) {
        const u8* src = VIPS_REGION_ADDR(region, area->left, y);
        u8* dst = sink.target->Bits() +
                  static_cast<size_t>(sink.firstMemoryRow + y) * sink.target->Stride() +
                  static_cast<size_t>(sink.left + area->left) * 4;
        BlendRow(src, dst, area->width);
    }
    return 0;
}

// True when every pixel of the rectangle has alpha 255: premultiplying such pixels changes
// nothing, so the resampling may run on the bytes themselves.
bool IsOpaque(const CDib& dib, const Rect& r) {
    for (i32 y = r.top; y < r.bottom; ++y) {
        const u8* p = RowAt(dib, y, r.left) + 3;
        u8 all = 255;
        for (i32 x = 0; x < r.Width(); ++x, p += 4)
            all &= *p;
        if (all != 255)
            return false;
    }
    return true;
}

// libvips' reduce of 8-bit pixels sums fixed-point weights, whose rounding darkens a plain colour
// by a level or two once a factor passes about 50, and its kernel spans at most 2000 source
// pixels (a factor of 333 for Lanczos 3). Beyond a factor of 32 a box average by a whole number
// first brings the factor down to between 16 and 32, so that large shrinks keep their colours and
// a shrink to a single pixel works.
constexpr double kLargestReduce = 32.0;

int BoxFactor(double shrink) {
    return shrink > kLargestReduce ? static_cast<int>(shrink / (kLargestReduce / 2)) : 1;
}

// Shrinking on both axes runs the kernel over its full support (reduce); growing on either axis
// goes through libvips' general resize.
VImage Rescale(const VImage& in, i32 dstWidth, i32 dstHeight, VipsKernel kernel) {
    const double hshrink = static_cast<double>(in.width()) / dstWidth;
    const double vshrink = static_cast<double>(in.height()) / dstHeight;
    if (hshrink >= 1.0 && vshrink >= 1.0) {
        VImage image = in;
        const int boxH = BoxFactor(hshrink);
        const int boxV = BoxFactor(vshrink);
        if (boxH > 1 || boxV > 1)
            image = image.shrink(boxH, boxV);
        return image.reduce(static_cast<double>(image.width()) / dstWidth,
                            static_cast<double>(image.height()) / dstHeight,
                            VImage::option()->set("kernel", kernel));
    }
    return in.resize(1.0 / hshrink,
                     VImage::option()->set("vscale", 1.0 / vshrink)->set("kernel", kernel));
}

// libvips may round the output size differently: pad by repeating the edge, then cut.
VImage ExactSize(VImage image, i32 width, i32 height) {
    if (image.width() == width && image.height() == height)
        return image;
    image = image.embed(0, 0, std::max(width, image.width()), std::max(height, image.height()),
                        VImage::option()->set("extend", VIPS_EXTEND_COPY));
    return image.crop(0, 0, width, height);
}

// A resampled copy of the src rectangle, exactly dstWidth x dstHeight, in straight alpha.
// The rows stay in the bottom-up memory order of the CDib; the kernels are symmetric, so scaling
// the rows upside down is the same as scaling them the right way up.
VImage Resample(const CDib& source, const Rect& src, i32 dstWidth, i32 dstHeight,
                i32 interpolation) {
    VImage whole = VImage::new_from_memory(const_cast<u8*>(source.Bits()), source.GetSizeImage(),
                                           source.Width(), source.Height(), 4, VIPS_FORMAT_UCHAR);
    whole = whole.copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
    VImage part =
        whole.extract_area(src.left, source.Height() - src.bottom, src.Width(), src.Height());
    const VipsKernel kernel = KernelFor(interpolation);
    if (IsOpaque(source, src)) {
        // Only the colour is resampled; the alpha of an opaque image stays exactly 255.
        VImage colour = part.extract_band(0, VImage::option()->set("n", 3));
        return ExactSize(Rescale(colour, dstWidth, dstHeight, kernel), dstWidth, dstHeight)
            .bandjoin(255.0);
    }
    // Colours are weighted by their alpha while they are mixed, so that the colour hidden under
    // transparent pixels does not bleed into the visible ones.
    VImage scaled = Rescale(part.premultiply(), dstWidth, dstHeight, kernel);
    VImage straight = ExactSize(scaled, dstWidth, dstHeight).unpremultiply();
    // Round to nearest on the way back to bytes; the cast itself drops the fraction.
    return straight.linear(1.0, 0.5).cast(VIPS_FORMAT_UCHAR);
}

bool DrawResampled(const CDib& source, const Rect& src, CDib& target, const Rect& dst,
                   i32 interpolation) {
    if (!EnsureVipsStarted())
        return false;
    try {
        VImage scaled = Resample(source, src, dst.Width(), dst.Height(), interpolation);
        CBlendSink sink{&target, dst.left, target.Height() - dst.bottom};
        const bool ok = vips_sink_disc(scaled.get_image(), BlendStrip, &sink) == 0;
        vips_error_clear();
        return ok;
    } catch (const VError&) {
        vips_error_clear();
        return false;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

} // namespace

bool DrawImageRect(const CDib& source, const Rect& src, CDib& target, const Rect& dst,
                   i32 interpolation) {
    if (!IsDib32(source) || !IsDib32(target))
        return false;
    if (!RectInside(src, source) || !RectInside(dst, target))
        return false;
    if (src.Width() == dst.Width() && src.Height() == dst.Height()) {
        DrawSameSize(source, src, target, dst);
        return true;
    }
    return DrawResampled(source, src, target, dst, interpolation);
}

HResult DrawImageIntoDib(const CDib& source, const Rect& src, CDib& dib, Size size,
                         i32 interpolation) {
    if (size.cx <= 0 || size.cy <= 0)
        return hr::kNotEnoughMemory;
    if (!dib.Create32(size.cx, size.cy) || !dib.AllocBits())
        return hr::kNotEnoughMemory;
    dib.ClearBits();
    if (!DrawImageRect(source, src, dib, Rect{0, 0, size.cx, size.cy}, interpolation))
        return hr::kNotEnoughMemory;
    return hr::kOk;
}

HResult ScaleDib(const CDib& src, const Rect& srcRect, CDib& dst, Size size, u16 bitCount,
                 i32 interpolation) {
    if (!src.Header())
        return hr::kNotEnoughMemory;
    BitmapInfoHeader header = *src.Header();
    header.biWidth = size.cx;
    header.biHeight = size.cy;
    header.biBitCount = bitCount;
    header.biCompression = 0;
    header.biSizeImage = 0;
    if (!dst.CreateFromHeader(&header) || !dst.AllocBits())
        return hr::kNotEnoughMemory;
    dst.ClearBits();
    if (!DrawImageRect(src, srcRect, dst, Rect{0, 0, size.cx, size.cy}, interpolation))
        return hr::kInvalidArg;
    return hr::kOk;
}
