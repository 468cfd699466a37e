// Fuzz target for the decoder entry point: any bytes go through the buffer decode path.
#include <cstddef>
#include <cstdint>

#include "image/Dib.h"
#include "image/ImageIo.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CDibPtr image;
    const HResult result = ImageToDib(data, size, image);
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
