// Writes a folder of photo-like JPEGs of 4 to 24 megapixels, drawn by our own scene painter: the
// pictures that bench/compare times when no folder of real photographs is at hand.
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <string>
#include <vector>

#include <vips/vips8>

#include "tools/Scene.h"

namespace {

struct PhotoSize {
    i32 width, height;
};

// Camera and wallpaper sizes, landscape and portrait, so that a fit into a square shrinks along
// either side.
constexpr PhotoSize kSizes[] = {{4000, 3000}, {2560, 1600}, {6000, 4000}, {2448, 3264},
                                {5184, 3456}, {2304, 1728}, {3088, 2056}, {3456, 5184}};

bool WritePhoto(const std::string& path, PhotoSize size, u32 variant) {
    std::vector<u8> pixels = PaintScene(size.width, size.height, variant);
    try {
        vips::VImage image = vips::VImage::new_from_memory(pixels.data(), pixels.size(), size.width,
                                                           size.height, 3, VIPS_FORMAT_UCHAR);
        image.jpegsave(path.c_str(), vips::VImage::option()->set("Q", 90)->set("strip", true));
        return true;
    } catch (const vips::VError& e) {
        std::fprintf(stderr, "lvx_make_photos: %s: %s\n", path.c_str(), e.what());
        return false;
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: lvx_make_photos FOLDER COUNT\n");
        return 2;
    }
    const std::string folder = argv[1];
    const int count = std::atoi(argv[2]);
    if (count <= 0) {
        std::fprintf(stderr, "lvx_make_photos: COUNT must be a positive number\n");
        return 2;
    }
    if (VIPS_INIT(argv[0]) != 0) {
        std::fprintf(stderr, "lvx_make_photos: libvips does not start\n");
        return 1;
    }
    constexpr int kSizeCount = static_cast<int>(std::size(kSizes));
    for (int i = 0; i < count; ++i) {
        char name[32];
        std::snprintf(name, sizeof name, "/scene-%02d.jpg", i + 1);
        if (!WritePhoto(folder + name, kSizes[i % kSizeCount], static_cast<u32>(i + 1)))
            return 1;
    }
    vips_shutdown();
    return 0;
}
