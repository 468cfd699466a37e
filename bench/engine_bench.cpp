// Timed runs of the whole-image road of the reference on a 6000 x 4000 photo-like JPEG: load and
// save alone, and the conversion of one file with every image held whole.
#include <filesystem>
#include <string>

#include <sys/resource.h>

#include <benchmark/benchmark.h>
#include <vips/vips8>

#include "foundation/FileIo.h"
#include "image/VipsStart.h"
#include "image/reference/WholeConversion.h"
#include "image/reference/WholeEncoders.h"
#include "tools/Scene.h"

namespace {

constexpr i32 kWidth = 6000;
constexpr i32 kHeight = 4000;

// The test picture, drawn and written once per run into a folder of its own.
class CBenchInput {
public:
    CBenchInput() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "lvx-bench-XXXXXX").string();
        if (!::mkdtemp(pattern.data()))
            return;
        folder_ = pattern;
        EnsureVipsStarted();
        std::vector<u8> pixels = PaintScene(kWidth, kHeight, 3);
        vips::VImage image = vips::VImage::new_from_memory(pixels.data(), pixels.size(), kWidth,
                                                           kHeight, 3, VIPS_FORMAT_UCHAR);
        image.jpegsave((folder_ / "photo.jpg").c_str(),
                       vips::VImage::option()->set("Q", 90)->set("strip", true));
    }
    ~CBenchInput() {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }

    std::wstring Source() const { return (folder_ / "photo.jpg").wstring(); }
    std::wstring Output() const { return (folder_ / "out.jpg").wstring(); }

private:
    std::filesystem::path folder_;
};

const CBenchInput& Input() {
    static const CBenchInput input;
    return input;
}

void ReportPeakMemory(benchmark::State& state) {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    state.counters["peak_rss_MiB"] = static_cast<double>(usage.ru_maxrss) / 1024.0;
}

// JPEG at the default quality.
const OutputChoice kJpeg{.format = OutputFormat::kJpeg};

// Encodes the image as kJpeg and writes it to the output; false when either fails.
bool SaveJpeg(const CDib& image, const CBenchInput& input) {
    std::vector<u8> bytes;
    return Succeeded(EncodeWhole(image, kJpeg, bytes)) &&
           WriteFileAtomically(input.Output(), bytes.data(), bytes.size()) == 0;
}

void BM_LoadAndSaveJpeg(benchmark::State& state) {
    const CBenchInput& input = Input();
    for (auto _ : state) {
        CDibPtr image;
        if (Failed(LoadImageFile(image, input.Source()))) {
            state.SkipWithError("load failed");
            return;
        }
        if (!SaveJpeg(*image, input)) {
            state.SkipWithError("save failed");
            return;
        }
    }
    ReportPeakMemory(state);
}

void BM_LoadOnly(benchmark::State& state) {
    const CBenchInput& input = Input();
    for (auto _ : state) {
        CDibPtr image;
        if (Failed(LoadImageFile(image, input.Source()))) {
            state.SkipWithError("load failed");
            return;
        }
        benchmark::DoNotOptimize(image->Bits());
    }
    ReportPeakMemory(state);
}

// One file's whole road: load, shrink to fit 1280, round 10 px, blur 1 px, white background,
// JPEG at the default quality.
void BM_ConvertOneFile(benchmark::State& state) {
    const CBenchInput& input = Input();
    const ShrinkSettings shrink{
        .shrinkType = shrinktype::kCustom, .customWidth = 1280, .customHeight = 1280};
    const RoundSettings round{.radius = LengthValue{lengthunit::kPixels, 100, 0},
                              .blurWidth = LengthValue{lengthunit::kPixels, 10, 0}};
    for (auto _ : state) {
        CDibPtr image;
        if (Failed(LoadImageFile(image, input.Source()))) {
            state.SkipWithError("load failed");
            return;
        }
        const CDibPtr result = ConvertWhole(image, shrink, round, kJpeg);
        if (!result || !SaveJpeg(*result, input)) {
            state.SkipWithError("a step failed");
            return;
        }
    }
    ReportPeakMemory(state);
}

} // namespace

BENCHMARK(BM_LoadOnly)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_LoadAndSaveJpeg)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_ConvertOneFile)->Unit(benchmark::kMillisecond)->Iterations(3);

BENCHMARK_MAIN();
