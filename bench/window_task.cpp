// What one file costs the window's worker, the way the window runs it today (streamed, with the
// panes' copy taken from the rows as they are read) against a task that keeps the decoded source
// and the result in memory and builds the panes' copy from them afterwards. Both ways run on
// every file in turn, interleaved, so that the rest of the machine weighs on them alike.
//
//   lvx_window_task BOX OUT_FOLDER FILE...   fits into BOX x BOX (0: no shrink), writes JPEG 80
//                                            into OUT_FOLDER, and prints ms per file each way.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "batch/LunavexTask.h"
#include "foundation/Utf8.h"

namespace {

double RunOnce(const std::string& input, const std::filesystem::path& output, i32 box,
               bool keepsImages) {
    boost::shared_ptr<lvx::CLunavexTask> task(new lvx::CLunavexTask);
    task->Init(WideFromUtf8(input), WideFromUtf8(output.string()), nullptr);
    ShrinkSettings shrink;
    shrink.shrinkType = box > 0 ? 2 : 0;
    shrink.shrinkWidth = box;
    shrink.shrinkHeight = box;
    task->SetShrink(shrink);
    task->PrepareEncoder(2, 80);
    task->replaceExisting = true;
    task->keepsImages = keepsImages;
    task->makesPreview = true;
    const auto start = std::chrono::steady_clock::now();
    task->Run();
    const double ms =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    if (task->errorId != 0 || !task->preview) {
        std::fprintf(stderr, "%s: failed (%d)\n", input.c_str(), task->errorId);
        std::exit(1);
    }
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
        streamed += RunOnce(argv[i], output, box, false);
        kept += RunOnce(argv[i], output, box, true);
    }
    const int files = argc - 3;
    std::printf("fit %d: streamed with the panes' copy %.1f ms/file; images kept %.1f ms/file\n",
                box, streamed / files, kept / files);
    return 0;
}
