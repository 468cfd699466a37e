// What one file costs the window's worker (a task that streams it, with the panes' copy taken from
// the rows as they are read) against the whole-image road of the reference, which keeps the
// decoded source and the result in memory and builds the panes' copy from the source afterwards.
// Both ways run on every file in turn, interleaved, so that the rest of the machine weighs on
// them alike.
//
//   lvx_window_task BOX OUT_FOLDER FILE...   fits into BOX x BOX (0: no shrink), writes JPEG 80
//                                            into OUT_FOLDER, and prints ms per file each way.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <vector>

#include "batch/LunavexTask.h"
#include "foundation/FileIo.h"
#include "foundation/Utf8.h"
#include "foundation/Win32Error.h"
#include "image/reference/WholeConversion.h"
#include "image/reference/WholeEncoders.h"

namespace {

ShrinkSettings Fit(i32 box) {
    ShrinkSettings shrink;
    shrink.shrinkType = box > 0 ? 2 : 0;
    shrink.shrinkWidth = box;
    shrink.shrinkHeight = box;
    return shrink;
}

double MsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

[[noreturn]] void Fail(const std::string& input, int code) {
    std::fprintf(stderr, "%s: failed (%d)\n", input.c_str(), code);
    std::exit(1);
}

double Streamed(const std::string& input, const std::filesystem::path& output, i32 box) {
    boost::shared_ptr<lvx::CLunavexTask> task(new lvx::CLunavexTask);
    task->Init(WideFromUtf8(input), WideFromUtf8(output.string()), nullptr);
    task->SetShrink(Fit(box));
    task->SetOutput(OutputChoice{.format = OutputFormat::kJpeg, .quality = 80});
    task->replaceExisting = true;
    task->keepPreview = true;
    const auto start = std::chrono::steady_clock::now();
    task->Run();
    const double ms = MsSince(start);
    if (task->errorId != 0 || !task->preview)
        Fail(input, task->errorId);
    return ms;
}

double Whole(const std::string& input, const std::filesystem::path& output, i32 box) {
    const OutputChoice jpeg{.format = OutputFormat::kJpeg, .quality = 80};
    const auto start = std::chrono::steady_clock::now();
    CDibPtr source;
    std::vector<u8> bytes;
    CPreviewSource preview;
    HResult code = LoadImageFile(source, WideFromUtf8(input));
    const CDibPtr result =
        Succeeded(code) ? ConvertWhole(source, Fit(box), RoundSettings(), jpeg) : CDibPtr();
    code = result ? EncodeWhole(*result, jpeg, bytes) : hr::kFail;
    if (Succeeded(code))
        code = ResultFromWin32(WriteFileAtomically(WideFromUtf8(output.string()), bytes.data(),
                                                   bytes.size(), AtomicWriteOptions()));
    if (Succeeded(code))
        code = preview.Build(*source);
    const double ms = MsSince(start);
    if (Failed(code))
        Fail(input, static_cast<int>(code));
    return ms;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 4) {
        std::fprintf(stderr, "usage: lvx_window_task BOX OUT_FOLDER FILE...\n");
        return 2;
    }
    const i32 box = std::atoi(argv[1]);
    const std::filesystem::path folder = argv[2];
    std::filesystem::create_directories(folder);
    double streamed = 0;
    double kept = 0;
    for (int i = 3; i < argc; ++i) {
        const std::filesystem::path output = folder / std::filesystem::path(argv[i]).filename();
        streamed += Streamed(argv[i], output, box);
        kept += Whole(argv[i], output, box);
    }
    const int files = argc - 3;
    std::printf("fit %d: streamed with the panes' copy %.1f ms/file; whole images %.1f ms/file\n",
                box, streamed / files, kept / files);
    return 0;
}
