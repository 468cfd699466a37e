// A libvips image whose strips our BMP reader decodes from the file's bytes.
#include "image/BmpRowsImage.h"

#include <utility>

namespace {

struct CHeldRows {
    std::shared_ptr<const CBmpRows> rows;
};

void FreeRows(VipsImage*, CHeldRows* held) {
    delete held;
}

// Decodes the rows of the strip that the pipeline asks for. The reader keeps no state between
// rows, so strips come from any thread in any order.
int GenerateRows(VipsRegion* out, void*, void* arg, void*, gboolean*) {
    const CBmpRows& rows = *static_cast<CHeldRows*>(arg)->rows;
    const VipsRect area = out->valid;
    for (int y = area.top; y < VIPS_RECT_BOTTOM(&area); ++y)
        rows.Row(y, area.left, area.width, VIPS_REGION_ADDR(out, area.left, y));
    return 0;
}

} // namespace

vips::VImage BmpRowsImage(std::shared_ptr<const CBmpRows> rows) {
    const i32 width = rows->Width();
    const i32 height = rows->Height();
    auto* held = new CHeldRows{std::move(rows)};
    VipsImage* out = vips_image_new();
    g_signal_connect(out, "close", G_CALLBACK(FreeRows), held);
    vips::VImage image(out);
    vips_image_init_fields(out, width, height, 4, VIPS_FORMAT_UCHAR, VIPS_CODING_NONE,
                           VIPS_INTERPRETATION_MULTIBAND, 1.0, 1.0);
    if (vips_image_pipelinev(out, VIPS_DEMAND_STYLE_THINSTRIP, nullptr) ||
        vips_image_generate(out, nullptr, GenerateRows, nullptr, held, nullptr))
        throw vips::VError();
    return image;
}
