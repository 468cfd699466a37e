// Drawing one 32-bit image into another: straight-alpha blending, with libvips resampling when
// the size changes.
#include "image/Draw.h"

#include <algorithm>
#include <cstring>
#include <new>

#include <vips/vips8>

#include "image/Resample.h"
#include "image/RowsOnThisThread.h"
#include "image/VipsStart.h"

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

// A resampled copy of the src rectangle, exactly dstWidth x dstHeight, in straight alpha.
// The rows stay in the bottom-up memory order of the CDib; the kernels are symmetric, so scaling
// the rows upside down is the same as scaling them the right way up.
VImage Resample(const CDib& source, const Rect& src, i32 dstWidth, i32 dstHeight,
                i32 interpolation) {
    VImage whole = VImage::new_from_memory(const_cast<u8*>(source.Bits()), source.GetSizeImage(),
                                           source.Width(), source.Height(), 4, VIPS_FORMAT_UCHAR);
    VImage part =
        whole.extract_area(src.left, source.Height() - src.bottom, src.Width(), src.Height());
    return ResampleRgba(part, dstWidth, dstHeight, interpolation, IsOpaque(source, src));
}

bool DrawResampled(const CDib& source, const Rect& src, CDib& target, const Rect& dst,
                   i32 interpolation) {
    if (!EnsureVipsStarted())
        return false;
    try {
        VImage scaled = Resample(source, src, dst.Width(), dst.Height(), interpolation);
        // Computed on this thread: the window's panes keep its priority, whatever libvips' own
        // threads run at during a batch.
        const i32 firstMemoryRow = target.Height() - dst.bottom;
        ForEachRow(scaled, [&](i32 y, const u8* row) {
            BlendRow(row,
                     target.Bits() + static_cast<size_t>(firstMemoryRow + y) * target.Stride() +
                         static_cast<size_t>(dst.left) * 4,
                     dst.Width());
        });
        return true;
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
