// A CDib as a libvips image and back.
#include "image/DibImage.h"

#include <vector>

using vips::VImage;

namespace {

// Copies a strip of RGBA rows into the bottom-up BGRA bits of the CDib that arg points to.
// Called by libvips in row order.
int WriteStrip(VipsRegion* region, VipsRect* area, void* arg) {
    CDib& dib = *static_cast<CDib*>(arg);
    const i32 height = dib.Height();
    const size_t stride = dib.Stride();
    for (int y = area->top; y < VIPS_RECT_BOTTOM(area); ++y) {
        const u8* src = VIPS_REGION_ADDR(region, area->left, y);
        u8* dst = dib.Bits() + static_cast<size_t>(height - 1 - y) * stride +
                  static_cast<size_t>(area->left) * 4;
        for (int x = 0; x < area->width; ++x, src += 4, dst += 4) {
            dst[0] = src[2];
            dst[1] = src[1];
            dst[2] = src[0];
            dst[3] = src[3];
        }
    }
    return 0;
}

} // namespace

VImage WrapDib(const CDib& dib) {
    VImage bottomUp = VImage::new_from_memory(const_cast<u8*>(dib.Bits()), dib.GetSizeImage(),
                                              dib.Width(), dib.Height(), 4, VIPS_FORMAT_UCHAR);
    return bottomUp.flip(VIPS_DIRECTION_VERTICAL);
}

VImage DibRgb(const CDib& dib, bool withAlpha, bool keepAlpha) {
    VImage bgra = WrapDib(dib);
    std::vector<VImage> bands = {bgra[2], bgra[1], bgra[0]};
    VImage rgb = VImage::bandjoin(bands);
    if (withAlpha)
        rgb = keepAlpha ? rgb.bandjoin(bgra[3]) : rgb.bandjoin(255.0);
    return rgb;
}

bool WriteRgbaInto(const VImage& rgba, CDib& dib) {
    return vips_sink_disc(rgba.get_image(), WriteStrip, &dib) == 0;
}
