// Timed runs of the image engine on a 6000 x 4000 photo-like JPEG: load and save alone, and the
// whole conversion of one file.
#include <filesystem>
#include <string>

#include <sys/resource.h>

#include <benchmark/benchmark.h>
#include <vips/vips8>

#include "image/Background.h"
#include "image/Blur.h"
#include "image/Codec.h"
#include "image/ImageIo.h"
#include "image/ImageSaver.h"
#include "image/Round.h"
#include "image/SaveType.h"
#include "image/ShrinkStep.h"
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

bool PrepareJpeg(Gdiplus::CImageSaver& saver) {
    return Succeeded(saver.SelectEncoder(L"image/jpeg")) &&
           saver.params.AddLongParam(Gdiplus::EncoderQuality,
                                     Gdiplus::EncoderParameterValueTypeLong,
                                     kDefaultJpegQuality) >= 0;
}

void BM_LoadAndSaveJpeg(benchmark::State& state) {
    const CBenchInput& input = Input();
    Gdiplus::CImageSaver saver;
    if (!PrepareJpeg(saver)) {
        state.SkipWithError("no JPEG encoder");
        return;
    }
    for (auto _ : state) {
        CDibPtr image;
        if (Failed(LoadImageFile(image, input.Source()))) {
            state.SkipWithError("load failed");
            return;
        }
        if (Failed(saver.SaveDib(*image, true, input.Output()))) {
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
    Gdiplus::CImageSaver saver;
    if (!PrepareJpeg(saver)) {
        state.SkipWithError("no JPEG encoder");
        return;
    }
    for (auto _ : state) {
        CShrinkStep shrink;
        if (Failed(LoadImageFile(shrink.source, input.Source()))) {
            state.SkipWithError("load failed");
            return;
        }
        shrink.shrinkType = shrinktype::kCustom;
        shrink.customWidth = 1280;
        shrink.customHeight = 1280;
        shrink.Run();
        CDibPtr rounded, blurred, filled;
        if (!shrink.result ||
            Failed(RoundImage(rounded, *shrink.result, true, true, true, true, 10.0, 10.0)) ||
            Failed(BlurImage(blurred, *rounded, true, true, true, true, 1.0, true, true, true, true,
                             10.0, 10.0)) ||
            Failed(FillBackground(filled, *blurred, 0xFFFFFF)) ||
            Failed(saver.SaveDib(*filled, true, input.Output()))) {
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
