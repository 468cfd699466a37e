// Fuzz target for the decoder entry point: any bytes go through the buffer decode path.
#include <cstddef>
#include <cstdint>

#include <vips/vips.h>

#include "image/Decode.h"
#include "image/Dib.h"
#include "image/fuzz/FuzzStart.h"

namespace {

// Decoding takes time and memory in proportion to the image's area, and a few bytes can declare
// a large one (a GIF frame grows its canvas: 89 bytes gave 64024 x 1284). Such inputs are valid
// and only slow, so they are left out, or every run would end in a timeout or the memory limit.
constexpr std::uint64_t kMaxFuzzPixels = 1u << 22;

bool DeclaresLargeImage(const std::uint8_t* data, std::size_t size) {
    VipsImage* header = vips_image_new_from_buffer(data, size, "", nullptr);
    if (!header) {
        vips_error_clear();
        return false;
    }
    const bool large =
        static_cast<std::uint64_t>(header->Xsize) * static_cast<std::uint64_t>(header->Ysize) >
        kMaxFuzzPixels;
    g_object_unref(header);
    return large;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    StartVipsForFuzzing();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || DeclaresLargeImage(data, size))
        return 0;
    CDibPtr image;
    const HResult result = DecodeImage(data, size, image);
    if (Failed(result))
        return 0;
    // A decoded image must be a complete 32-bit buffer; read its first and last bytes so that a
    // short buffer shows under the address sanitizer.
    if (!IsDib32(*image) || image->GetSizeImage() == 0)
        __builtin_trap();
    volatile u8 sink = image->Bits()[0];
    sink = image->Bits()[image->GetSizeImage() - 1];
    (void)sink;
    return 0;
}
