// Writing a CDib as a BMP file image in memory.
#include "image/reference/BmpWriter.h"

#include <cstring>
#include <new>

namespace {

// 96 dots per inch, the resolution of a new bitmap, in pixels per metre.
constexpr i32 kNewBitmapPelsPerMeter = 3780;

void Put16(u8*& p, u16 v) {
    p[0] = static_cast<u8>(v);
    p[1] = static_cast<u8>(v >> 8);
    p += 2;
}

void Put32(u8*& p, u32 v) {
    for (int i = 0; i < 4; ++i)
        p[i] = static_cast<u8>(v >> (8 * i));
    p += 4;
}

} // namespace

HResult EncodeBmp(const CDib& dib, bool keepAlpha, std::vector<u8>& out) {
    out.clear();
    if (!IsDib32(dib) || dib.Width() <= 0 || dib.Height() <= 0)
        return hr::kFail;
    const u32 infoSize = sizeof(BitmapInfoHeader);
    const u32 bitsOffset = kBmpFileHeaderSize + infoSize;
    const u64 bitsSize = static_cast<u64>(dib.Stride()) * static_cast<u64>(dib.Height());
    if (bitsOffset + bitsSize > UINT32_MAX)
        return hr::kFail;
    try {
        out.resize(static_cast<size_t>(bitsOffset + bitsSize));
    } catch (const std::bad_alloc&) {
        return hr::kOutOfMemory;
    }

    u8* p = out.data();
    Put16(p, 0x4D42); // "BM"
    Put32(p, static_cast<u32>(bitsOffset + bitsSize));
    Put32(p, 0); // two reserved words
    Put32(p, bitsOffset);

    Put32(p, infoSize);
    Put32(p, static_cast<u32>(dib.Width()));
    Put32(p, static_cast<u32>(dib.Height())); // positive: bottom-up, as the bits lie
    Put16(p, 1);
    Put16(p, 32);
    Put32(p, 0); // BI_RGB
    Put32(p, static_cast<u32>(bitsSize));
    Put32(p, static_cast<u32>(kNewBitmapPelsPerMeter));
    Put32(p, static_cast<u32>(kNewBitmapPelsPerMeter));
    Put32(p, 0);
    Put32(p, 0);

    std::memcpy(p, dib.Bits(), static_cast<size_t>(bitsSize));
    if (!keepAlpha) {
        for (u64 i = 3; i < bitsSize; i += 4)
            p[i] = 255;
    }
    return hr::kOk;
}
