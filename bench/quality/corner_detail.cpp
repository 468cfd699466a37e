// How far the corner pane at no shrink lies from the file's own pixels after a batch whose shrink
// halved the decode: enlarged from the halved copy, and read again from the file, with the time
// that the first and the next render of the pane take on the window's thread.
//
//   lvx_corner_detail BOX FILE...   converts each file into BOX x BOX with the preview's copy, then
//                                   renders the bottom right corner pane (300 x 300) at no shrink.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "image/ImageIo.h"
#include "image/PreviewSource.h"
#include "image/StreamConvert.h"

namespace {

struct Difference {
    double mean = 0;
    int largest = 0;
};

Difference Compare(const CDib& a, const CDib& b) {
    Difference d;
    for (i32 y = 0; y < a.Height(); ++y)
        for (i32 x = 0; x < a.Width(); ++x)
            for (int c = 0; c < 3; ++c) {
                const int v = std::abs(a.PixelAt(x, y)[c] - b.PixelAt(x, y)[c]);
                d.mean += v;
                d.largest = std::max(d.largest, v);
            }
    d.mean /= 3.0 * a.Width() * a.Height();
    return d;
}

// The corner pane of preview at no shrink, and the milliseconds that it took.
CDibPtr Corner(const CPreviewSource& preview, double& ms) {
    const RoundSettings round{.corners = 0, .edges = 0};
    const auto start = std::chrono::steady_clock::now();
    CDibPtr pane;
    preview.RenderCorner(round, {}, preview.SourceSize(), paneanchor::kBottomRight, Size{300, 300},
                         pane);
    ms =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    return pane;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s BOX FILE...\n", argv[0]);
        return 2;
    }
    const i32 box = std::atoi(argv[1]);
    const ShrinkSettings shrink{
        .shrinkType = shrinktype::kCustom, .customWidth = box, .customHeight = box};
    for (int i = 2; i < argc; ++i) {
        const std::string name = argv[i];
        const std::wstring path(name.begin(), name.end());
        CFileBytes file;
        CPreviewSource copy;
        CPreviewSource full;
        std::vector<u8> out;
        StreamFailure failure;
        if (Failed(ReadFileToBuffer(file, path)) ||
            Failed(ConvertStream(file.data.get(), file.size, {}, shrink, {}, {},
                                 {.reduceWhileDecoding = true, .sourceRows = &copy}, out,
                                 failure)) ||
            Failed(copy.End()) || Failed(ReadRows(file.data.get(), file.size, {}, full)) ||
            Failed(full.End())) {
            std::printf("%-50s failed\n", argv[i]);
            continue;
        }
        double ms = 0;
        double first = 0;
        double next = 0;
        CDibPtr exact = Corner(full, ms);
        const Difference enlarged = Compare(*Corner(copy, ms), *exact);
        copy.SetSourceFile(path, {});
        CDibPtr read = Corner(copy, first);
        Corner(copy, next);
        const Difference fromFile = Compare(*read, *exact);
        std::printf("%-50s enlarged: mean %5.2f largest %3d   from the file: mean %5.2f largest "
                    "%3d, first %6.1f ms, next %5.1f ms\n",
                    argv[i], enlarged.mean, enlarged.largest, fromFile.mean, fromFile.largest,
                    first, next);
    }
    return 0;
}
