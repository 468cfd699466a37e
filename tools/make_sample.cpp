// Draws the program's sample image and writes it as a baseline JPEG to the path in argv[1].
#include <cstdio>

#include <vips/vips8>

#include "tools/Scene.h"

namespace {

constexpr i32 kWidth = 298;
constexpr i32 kHeight = 372;

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: lvx_make_sample OUTPUT.jpg\n");
        return 2;
    }
    if (VIPS_INIT(argv[0]) != 0) {
        std::fprintf(stderr, "lvx_make_sample: libvips does not start\n");
        return 1;
    }
    std::vector<u8> pixels = PaintScene(kWidth, kHeight);
    try {
        vips::VImage image = vips::VImage::new_from_memory(pixels.data(), pixels.size(), kWidth,
                                                           kHeight, 3, VIPS_FORMAT_UCHAR);
        image.jpegsave(
            argv[1],
            vips::VImage::option()->set("Q", 90)->set("strip", true)->set("interlace", false));
    } catch (const vips::VError& e) {
        std::fprintf(stderr, "lvx_make_sample: %s\n", e.what());
        return 1;
    }
    vips_shutdown();
    return 0;
}
