// How far a shrunk JPEG lies from an exact one: the conversion's output against a full decode
// reduced by the Lanczos 3 kernel in double precision, as the peak signal-to-noise ratio over the
// colour bytes, file by file and fit by fit.
//
//   lvx_reduce_psnr FILE...          each file fitted into 100, 160, 199, 267, 320, 400, 640, 1280
//                                    and 2000 pixels square, where that shrinks it: the decoder's
//                                    divisor, the factor that remains after it, and the PSNR of
//                                    the conversion's output (a PNG without corners or edges).
//   lvx_reduce_psnr --each FILE...   the same for every divisor of the decoder (1, 2, 4, 8) that
//                                    leaves the fitted size: what each one would cost.
//   lvx_reduce_psnr --crop BOX X Y SIZE OUT.png FILE
//                                    a SIZE x SIZE crop at (X, Y) of the output fitted into BOX,
//                                    enlarged four times: the exact result on the left, the
//                                    conversion's on the right.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <vips/vips8>

#include "image/DecodeStream.h"
#include "image/Draw.h"
#include "image/ImageIo.h"
#include "image/Resample.h"
#include "image/Shrink.h"
#include "image/StreamConvert.h"
#include "image/VipsStart.h"

using vips::VImage;

namespace {

constexpr i32 kBoxes[] = {100, 160, 199, 267, 320, 400, 640, 1280, 2000};
constexpr int kDivisors[] = {1, 2, 4, 8};

// The size that a fit into box x box gives the file's pixels.
Size Fitted(Size full, i32 box) {
    const ShrinkSettings shrink{
        .shrinkType = shrinktype::kCustom, .customWidth = box, .customHeight = box};
    Size fitted;
    FittedSize(shrink, full, fitted);
    return fitted;
}

// Cuts or pads (repeating the edge) to exactly width x height.
VImage ExactSize(VImage image, i32 width, i32 height) {
    image = image.embed(0, 0, std::max(width, image.width()), std::max(height, image.height()),
                        VImage::option()->set("extend", VIPS_EXTEND_COPY));
    return image.crop(0, 0, width, height);
}

// The full decode's colours reduced to fitted by the Lanczos 3 kernel with weights in double
// precision, rounded to bytes.
VImage Exact(const CFileBytes& file, Size fitted) {
    CDecodeStream stream;
    if (Failed(stream.Open(file.data.get(), file.size, {})))
        throw vips::VError("unreadable");
    const VImage colour = stream.Rgba().extract_band(0, VImage::option()->set("n", 3));
    const VImage reduced = colour.cast(VIPS_FORMAT_DOUBLE)
                               .reduce(static_cast<double>(colour.width()) / fitted.cx,
                                       static_cast<double>(colour.height()) / fitted.cy,
                                       VImage::option()->set("kernel", VIPS_KERNEL_LANCZOS3));
    return ExactSize(reduced.linear(1.0, 0.5).cast(VIPS_FORMAT_UCHAR), fitted.cx, fitted.cy)
        .copy_memory();
}

// The conversion's own output fitted into box, as the batch makes it: a PNG without corners or
// edges.
VImage Converted(const CFileBytes& file, i32 box) {
    const ShrinkSettings shrink{
        .shrinkType = shrinktype::kCustom, .customWidth = box, .customHeight = box};
    std::vector<u8> png;
    StreamFailure failure;
    if (Failed(ConvertStream(file.data.get(), file.size, {}, shrink, {.corners = 0, .edges = 0}, {},
                             {.reduceWhileDecoding = true}, png, failure)))
        throw vips::VError("not converted");
    return VImage::new_from_buffer(png.data(), png.size(), "")
        .extract_band(0, VImage::option()->set("n", 3))
        .copy_memory();
}

// The file decoded at 1 / divisor and resampled as the conversion does it.
VImage ReducedBy(const CFileBytes& file, int divisor, Size fitted) {
    CDecodeStream stream;
    if (Failed(stream.Open(file.data.get(), file.size, {})) || !stream.ReduceBy(divisor))
        throw vips::VError("not decoded");
    const Size full = stream.DeclaredSize();
    const VImage colour = stream.Rgba().extract_band(0, VImage::option()->set("n", 3));
    return ResampleRgba(colour, fitted.cx, fitted.cy, interp::kHighQuality, true,
                        static_cast<double>(full.cx) / divisor,
                        static_cast<double>(full.cy) / divisor)
        .copy_memory();
}

double Psnr(const VImage& a, const VImage& b) {
    const VImage difference = a.cast(VIPS_FORMAT_DOUBLE) - b.cast(VIPS_FORMAT_DOUBLE);
    const double mse = (difference * difference).avg();
    return mse == 0 ? 99.0 : 10.0 * std::log10(255.0 * 255.0 / mse);
}

// The divisor that the conversion chooses for this fit.
int ChosenDivisor(const CFileBytes& file, Size fitted) {
    CDecodeStream stream;
    if (Failed(stream.Open(file.data.get(), file.size, {})))
        return 0;
    stream.ReduceFor(fitted.cx, fitted.cy);
    return stream.Reduction();
}

bool Read(const char* name, CFileBytes& file, Size& full) {
    const std::string path = name;
    CDecodeStream stream;
    if (Failed(ReadFileToBuffer(file, std::wstring(path.begin(), path.end()))) ||
        Failed(stream.Open(file.data.get(), file.size, {}))) {
        std::printf("%s: unreadable\n", name);
        return false;
    }
    full = stream.DeclaredSize();
    return true;
}

int Crop(char** argv) {
    const i32 box = std::atoi(argv[0]), x = std::atoi(argv[1]), y = std::atoi(argv[2]);
    const i32 size = std::atoi(argv[3]);
    CFileBytes file;
    Size full;
    if (!Read(argv[5], file, full))
        return 1;
    const Size fitted = Fitted(full, box);
    auto enlarged = [&](const VImage& image) { return image.crop(x, y, size, size).zoom(4, 4); };
    const VImage exact = Exact(file, fitted);
    const VImage converted = Converted(file, box);
    enlarged(exact)
        .join(enlarged(converted), VIPS_DIRECTION_HORIZONTAL,
              VImage::option()->set("shim", 8)->set("background", 255.0))
        .write_to_file(argv[4]);
    std::printf("%s fitted into %d: %dx%d, PSNR %.2f dB\n", argv[5], box, fitted.cx, fitted.cy,
                Psnr(exact, converted));
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2 || !EnsureVipsStarted()) {
        std::fprintf(stderr, "usage: %s [--each] FILE... | --crop BOX X Y SIZE OUT.png FILE\n",
                     argv[0]);
        return 2;
    }
    if (std::strcmp(argv[1], "--crop") == 0)
        return argc == 8 ? Crop(argv + 2) : 2;
    const bool each = std::strcmp(argv[1], "--each") == 0;
    double worst = 99.0;
    std::printf("%-44s %11s %5s %7s %4s %7s %8s\n", "file", "size", "fit", "factor", "div",
                "remains", "PSNR dB");
    for (int i = each ? 2 : 1; i < argc; ++i) {
        CFileBytes file;
        Size full;
        if (!Read(argv[i], file, full))
            continue;
        const std::string name =
            std::strrchr(argv[i], '/') ? std::strrchr(argv[i], '/') + 1 : argv[i];
        for (const i32 box : kBoxes) {
            const Size fitted = Fitted(full, box);
            const double factor = std::min(static_cast<double>(full.cx) / fitted.cx,
                                           static_cast<double>(full.cy) / fitted.cy);
            if (fitted.cx == full.cx && fitted.cy == full.cy)
                continue;
            const VImage exact = Exact(file, fitted);
            for (const int divisor : kDivisors) {
                if (!each && divisor != 1)
                    break;
                if (each && (full.cx / divisor < fitted.cx || full.cy / divisor < fitted.cy))
                    break;
                const int used = each ? divisor : ChosenDivisor(file, fitted);
                const double psnr =
                    Psnr(exact, each ? ReducedBy(file, divisor, fitted) : Converted(file, box));
                worst = std::min(worst, psnr);
                std::printf("%-44.44s %5dx%-5d %5d %7.2f %4d %7.2f %8.2f\n", name.c_str(), full.cx,
                            full.cy, box, factor, used, factor / used, psnr);
            }
        }
    }
    std::printf("lowest: %.2f dB\n", worst);
    return 0;
}
