// How far a JPEG decoded at a reduced size, then resampled, lies from a full decode resampled
// the same way: the peak signal-to-noise ratio of the two conversions, file by file.
//
//   lvx_reduce_psnr BOX FILE...    fits each file into BOX x BOX both ways and prints the PSNR
//                                  (decibels, over the colour bytes) and the decoder's divisor.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "image/Decode.h"
#include "image/ImageIo.h"
#include "image/StreamConvert.h"

namespace {

CDibPtr Convert(const CFileBytes& file, i32 box, bool reduce) {
    const ShrinkSettings shrink{
        .shrinkType = shrinktype::kCustom, .customWidth = box, .customHeight = box};
    const RoundSettings round{.corners = 0, .edges = 0};
    StreamOptions options;
    options.reduceWhileDecoding = reduce;
    std::vector<u8> png; // the default output, a PNG: the pixels themselves
    StreamFailure failure;
    if (Failed(ConvertStream(file.data.get(), file.size, {}, shrink, round, {}, options, png,
                             failure)))
        return {};
    CDibPtr image;
    DecodeImage(png.data(), png.size(), image);
    return image;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s BOX FILE...\n", argv[0]);
        return 2;
    }
    const i32 box = std::atoi(argv[1]);
    double worst = 1e9;
    for (int i = 2; i < argc; ++i) {
        CFileBytes file;
        const std::string name = argv[i];
        if (Failed(ReadFileToBuffer(file, std::wstring(name.begin(), name.end())))) {
            std::printf("%-60s unreadable\n", argv[i]);
            continue;
        }
        CDibPtr full = Convert(file, box, false);
        CDibPtr reduced = Convert(file, box, true);
        if (!full || !reduced || full->Width() != reduced->Width() ||
            full->Height() != reduced->Height()) {
            std::printf("%-60s failed\n", argv[i]);
            continue;
        }
        double sum = 0;
        int largest = 0;
        for (i32 y = 0; y < full->Height(); ++y) {
            for (i32 x = 0; x < full->Width(); ++x) {
                for (int c = 0; c < 3; ++c) {
                    const int d = full->PixelAt(x, y)[c] - reduced->PixelAt(x, y)[c];
                    sum += static_cast<double>(d) * d;
                    largest = std::max(largest, std::abs(d));
                }
            }
        }
        const double mse = sum / (3.0 * full->Width() * full->Height());
        const double psnr = mse == 0 ? 99.0 : 10.0 * std::log10(255.0 * 255.0 / mse);
        worst = std::min(worst, psnr);
        std::printf("%-60s %5dx%-5d %6.2f dB  largest difference %3d\n", argv[i], full->Width(),
                    full->Height(), psnr, largest);
    }
    std::printf("lowest: %.2f dB\n", worst);
    return 0;
}
