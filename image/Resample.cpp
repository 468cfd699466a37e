// Resampling 8-bit pixels with libvips.
#include "image/Resample.h"

#include <algorithm>
#include <cmath>

#include "image/Draw.h"
#include "image/LanczosAcross.h"

using vips::VImage;

namespace {

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

// A shrink by the Lanczos kernel averages boxes of whole pixels first, as the rows come, and
// leaves the kernel between kReduceGap and twice that to reduce: a box average costs an addition
// a pixel where the kernel's taps cost dozens. Measured against an exact reduce (bench/quality),
// a kernel left to reduce by 3 or more keeps fine grain above 45 dB where one left with 2 falls
// to 40 dB, and libvips' fixed-point weights, whose rounding darkens a plain colour by a level or
// two from a factor of about 9, never reduce by more than 6. The other kernels box only a factor
// beyond kLargestReduce, which libvips' kernel span of 2000 source pixels needs.
constexpr double kReduceGap = 3.0;
constexpr double kLargestReduce = 32.0;

// The box of an axis `size` pixels long: the largest that leaves the kernel kReduceGap, among
// those whose grid can be centred on the axis to the pixel (the boxes then overhang it by an even
// number of pixels; half a pixel off costs fine grain 10 dB).
int BoxFactor(double shrink, VipsKernel kernel, int size) {
    if (kernel != VIPS_KERNEL_LANCZOS3)
        return shrink > kLargestReduce ? static_cast<int>(shrink / (kLargestReduce / 2)) : 1;
    int box = std::max(1, static_cast<int>(shrink / kReduceGap));
    while (box > 1 && (box - size % box) % box % 2 != 0)
        --box;
    return box;
}

// libvips' reduce centres its output on its whole input: n outputs of factor h take the middle
// n * h input pixels. The mapping here begins at the input's left and top edges, so on an axis
// that libvips reduces the input is cut to the whole pixels nearest to the whole outputs that fit
// in it first, which keeps every output pixel within a quarter of an input pixel of its place.
// An input with room beyond the extent (a part of a picture, with room for the kernel) keeps the
// room of its whole outputs; one that ends before the extent (a decoder's reduced size rounded
// down) stays whole.
int WholeOutputsSpan(int size, double extent, int outputs) {
    if (size <= extent)
        return size;
    const double fit = std::max(1.0, std::floor(size * outputs / extent + 1e-9));
    const double span = fit == outputs ? extent : fit * extent / outputs;
    return std::clamp(static_cast<int>(std::lround(span)), 1, size);
}

// Box averages of boxH x boxV pixels over a grid centred on the image: the edge pixels are
// repeated on both sides to fill the outer boxes, so that the kernel's centring after them maps
// every output pixel onto the place that it comes from. `left` receives the columns added on the
// left.
VImage CentredBoxes(VImage image, int boxH, int boxV, int& left) {
    const int padH = (boxH - image.width() % boxH) % boxH;
    const int padV = (boxV - image.height() % boxV) % boxV;
    left = padH / 2;
    if (padH > 0 || padV > 0) {
        image = image.embed(padH / 2, padV / 2, image.width() + padH, image.height() + padV,
                            VImage::option()->set("extend", VIPS_EXTEND_COPY));
    }
    return image.shrink(boxH, boxV);
}

// Shrinking on both axes runs the kernel over its full support; growing on either axis goes
// through libvips' general resize. extentX and extentY are how many of the input's pixels,
// fractions included, map onto the output. The Lanczos shrink of 8-bit colours runs libvips'
// reduce down the columns and our own across the rows, which maps the extent exactly and keeps a
// plain colour exact; the other kernels and formats run libvips' reduce on both axes.
VImage Rescale(const VImage& in, i32 dstWidth, i32 dstHeight, VipsKernel kernel, double extentX,
               double extentY) {
    const double hshrink = extentX / dstWidth;
    const double vshrink = extentY / dstHeight;
    if (hshrink < 1.0 || vshrink < 1.0) {
        return in.resize(
            dstWidth / extentX,
            VImage::option()->set("vscale", dstHeight / extentY)->set("kernel", kernel));
    }
    // Our own pass across maps the extent exactly and needs no cut across.
    const bool across = kernel == VIPS_KERNEL_LANCZOS3 && LanczosAcrossTakes(in);
    const int cutWidth = across ? in.width() : WholeOutputsSpan(in.width(), extentX, dstWidth);
    const int cutHeight = WholeOutputsSpan(in.height(), extentY, dstHeight);
    VImage image = cutWidth == in.width() && cutHeight == in.height()
                       ? in
                       : in.crop(0, 0, cutWidth, cutHeight);
    const int boxH = BoxFactor(hshrink, kernel, image.width());
    const int boxV = BoxFactor(vshrink, kernel, image.height());
    int left = 0;
    if (boxH > 1 || boxV > 1)
        image = CentredBoxes(image, boxH, boxV, left);
    if (!across) {
        return image.reduce(hshrink / boxH, vshrink / boxV,
                            VImage::option()->set("kernel", kernel));
    }
    image = image.reducev(vshrink / boxV, VImage::option()->set("kernel", kernel));
    return LanczosAcross(image, dstWidth, hshrink / boxH, static_cast<double>(left) / boxH);
}

// libvips may round the output size differently: pad by repeating the edge, then cut.
VImage ExactSize(VImage image, i32 width, i32 height) {
    if (image.width() == width && image.height() == height)
        return image;
    image = image.embed(0, 0, std::max(width, image.width()), std::max(height, image.height()),
                        VImage::option()->set("extend", VIPS_EXTEND_COPY));
    return image.crop(0, 0, width, height);
}

} // namespace

VImage ResampleRgba(const VImage& in, i32 width, i32 height, i32 interpolation, bool opaque,
                    double extentX, double extentY) {
    const VImage part = in.copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
    const VipsKernel kernel = KernelFor(interpolation);
    extentX = extentX > 0 ? extentX : in.width();
    extentY = extentY > 0 ? extentY : in.height();
    if (opaque || in.bands() == 3) {
        // Only the colour is resampled; the alpha of an opaque image stays exactly 255.
        VImage colour =
            in.bands() == 3 ? part : part.extract_band(0, VImage::option()->set("n", 3));
        VImage scaled =
            ExactSize(Rescale(colour, width, height, kernel, extentX, extentY), width, height);
        return in.bands() == 3 ? scaled : scaled.bandjoin(255.0);
    }
    // Colours are weighted by their alpha while they are mixed, so that the colour hidden under
    // transparent pixels does not bleed into the visible ones.
    VImage scaled = Rescale(part.premultiply(), width, height, kernel, extentX, extentY);
    VImage straight = ExactSize(scaled, width, height).unpremultiply();
    // Round to nearest on the way back to bytes; the cast itself drops the fraction.
    return straight.linear(1.0, 0.5).cast(VIPS_FORMAT_UCHAR);
}
