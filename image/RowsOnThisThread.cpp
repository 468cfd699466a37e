// Reading a pipeline's pixels on the calling thread.
#include "image/RowsOnThisThread.h"

#include <algorithm>
#include <memory>

namespace {

constexpr i32 kStripRows = 16;

struct RegionUnref {
    void operator()(VipsRegion* region) const { g_object_unref(region); }
};

} // namespace

void ForEachRow(const vips::VImage& image, const std::function<void(i32 y, const u8* row)>& take) {
    std::unique_ptr<VipsRegion, RegionUnref> region(vips_region_new(image.get_image()));
    if (!region)
        throw vips::VError();
    for (i32 top = 0; top < image.height(); top += kStripRows) {
        const VipsRect strip{0, top, image.width(), std::min(kStripRows, image.height() - top)};
        if (vips_region_prepare(region.get(), &strip) != 0)
            throw vips::VError();
        for (i32 y = strip.top; y < VIPS_RECT_BOTTOM(&strip); ++y)
            take(y, static_cast<const u8*>(VIPS_REGION_ADDR(region.get(), 0, y)));
    }
}
