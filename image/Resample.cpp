// Resampling 8-bit pixels with libvips.
#include "image/Resample.h"

#include <algorithm>

#include "image/Draw.h"

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
// goes through libvips' general resize. coverX and coverY are the share of the input's width and
// height that maps onto the output (1 for all of it).
VImage Rescale(const VImage& in, i32 dstWidth, i32 dstHeight, VipsKernel kernel, double coverX,
               double coverY) {
    const double hshrink = in.width() * coverX / dstWidth;
    const double vshrink = in.height() * coverY / dstHeight;
    if (hshrink >= 1.0 && vshrink >= 1.0) {
        VImage image = in;
        const int boxH = BoxFactor(hshrink);
        const int boxV = BoxFactor(vshrink);
        if (boxH > 1 || boxV > 1)
            image = image.shrink(boxH, boxV);
        return image.reduce(image.width() * coverX / dstWidth, image.height() * coverY / dstHeight,
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

} // namespace

VImage ResampleRgba(const VImage& in, i32 width, i32 height, i32 interpolation, bool opaque,
                    double extentX, double extentY) {
    const VImage part = in.copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
    const VipsKernel kernel = KernelFor(interpolation);
    const double coverX = extentX > 0 ? extentX / in.width() : 1.0;
    const double coverY = extentY > 0 ? extentY / in.height() : 1.0;
    if (opaque || in.bands() == 3) {
        // Only the colour is resampled; the alpha of an opaque image stays exactly 255.
        VImage colour =
            in.bands() == 3 ? part : part.extract_band(0, VImage::option()->set("n", 3));
        VImage scaled =
            ExactSize(Rescale(colour, width, height, kernel, coverX, coverY), width, height);
        return in.bands() == 3 ? scaled : scaled.bandjoin(255.0);
    }
    // Colours are weighted by their alpha while they are mixed, so that the colour hidden under
    // transparent pixels does not bleed into the visible ones.
    VImage scaled = Rescale(part.premultiply(), width, height, kernel, coverX, coverY);
    VImage straight = ExactSize(scaled, width, height).unpremultiply();
    // Round to nearest on the way back to bytes; the cast itself drops the fraction.
    return straight.linear(1.0, 0.5).cast(VIPS_FORMAT_UCHAR);
}
