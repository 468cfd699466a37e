// CDib: header and pixel memory of the 32-bit image form, and the strided pixel walks over it.
#include "image/Dib.h"

#include <climits>
#include <cstdlib>
#include <cstring>

namespace {

constexpr u32 kBitFields = 3;

// Palette entries that a header of this kind carries after its fixed part.
u32 PaletteEntries(u16 bitCount, u32 colorsUsed, u32 compression) {
    if (compression == kBitFields)
        return 3;
    if (bitCount >= 9)
        return 0;
    if (colorsUsed != 0)
        return colorsUsed;
    return 1u << bitCount;
}

// Bytes per row in 64 bits, 0 for a negative width.
u64 StrideOf(i32 width, u16 bitCount) {
    if (width < 0)
        return 0;
    const u64 bytes = (static_cast<u64>(width) * bitCount + 7) / 8;
    return (bytes + 3) & ~static_cast<u64>(3);
}

u64 RowsOf(i32 height) {
    return height < 0 ? static_cast<u64>(-static_cast<i64>(height)) : static_cast<u64>(height);
}

// The pixel bytes that the header asks for, in 64 bits so that an impossible size is seen.
u64 ImageBytes(const BitmapInfoHeader& h) {
    if (h.biCompression != 0)
        return h.biSizeImage;
    return StrideOf(h.biWidth, h.biBitCount) * RowsOf(h.biHeight);
}

// The first pixel of a walk, or null when the image or the start point cannot be walked.
u8* WalkStart(CDib& dib, i32 x, i32 y) {
    const BitmapInfoHeader* h = dib.Header();
    if (!h || !dib.Bits())
        return nullptr;
    if (h->biBitCount == 0 || h->biBitCount % 8 != 0 || h->biCompression != 0)
        return nullptr;
    if (x < 0 || y < 0 || x >= dib.Width() || y >= dib.Height())
        return nullptr;
    if (dib.Stride() < 1)
        return nullptr;
    return dib.PixelAt(x, y);
}

} // namespace

CDib::~CDib() {
    FreeHeader();
    FreeBits();
}

bool CDib::Create(u32 headerSize, i32 width, i32 height, u16 bitCount, u32 colorsUsed,
                  u32 compression, u32 extraSize) {
    FreeHeader();
    if (headerSize < sizeof(BitmapInfoHeader))
        return false;
    const u32 entries = PaletteEntries(bitCount, colorsUsed, compression);
    const u64 total = static_cast<u64>(headerSize) + static_cast<u64>(entries) * 4 + extraSize;
    if (total > UINT32_MAX)
        return false;
    header_ = static_cast<u8*>(std::calloc(1, static_cast<size_t>(total)));
    if (!header_)
        return false;
    BitmapInfoHeader* h = Header();
    h->biSize = headerSize;
    h->biWidth = width;
    h->biHeight = height;
    h->biPlanes = 1;
    h->biBitCount = bitCount;
    h->biCompression = compression;
    h->biClrUsed = entries;
    h->biClrImportant = entries;
    return true;
}

void CDib::FreeHeader() {
    std::free(header_);
    header_ = nullptr;
}

bool CDib::AllocBits() {
    if (!header_)
        return false;
    FreeBits();
    const u64 bytes = ImageBytes(*Header());
    if (bytes > UINT32_MAX)
        return false;
    // One byte at least, so that an image without area still has a usable pointer.
    bits_ = static_cast<u8*>(std::malloc(bytes ? static_cast<size_t>(bytes) : 1));
    return bits_ != nullptr;
}

void CDib::FreeBits() {
    std::free(bits_);
    bits_ = nullptr;
}

bool CDib::CreateFromHeader(const BitmapInfoHeader* header) {
    if (!header)
        return false;
    return Create(header->biSize, header->biWidth, header->biHeight, header->biBitCount, 0,
                  header->biCompression, 0);
}

u32 CDib::GetSizeImage() const {
    if (!header_)
        return 0;
    const u64 bytes = ImageBytes(*Header());
    return bytes > UINT32_MAX ? 0 : static_cast<u32>(bytes);
}

void CDib::ClearBits() {
    if (bits_)
        std::memset(bits_, 0, GetSizeImage());
}

void CDib::PremultiplyAlpha() {
    if (!IsDib32(*this))
        return;
    const size_t pixels = static_cast<size_t>(Width()) * static_cast<size_t>(Height());
    u8* p = bits_;
    for (size_t i = 0; i < pixels; ++i, p += 4) {
        const u32 a = p[3];
        if (a == 255)
            continue;
        p[0] = static_cast<u8>(p[0] * a / 255);
        p[1] = static_cast<u8>(p[1] * a / 255);
        p[2] = static_cast<u8>(p[2] * a / 255);
    }
}

i32 CDib::Height() const {
    if (!header_)
        return 0;
    const i32 h = Header()->biHeight;
    if (h == INT_MIN)
        return 0;
    return h < 0 ? -h : h;
}

u32 CDib::Stride() const {
    if (!header_)
        return 0;
    const u64 stride = StrideOf(Header()->biWidth, Header()->biBitCount);
    return stride > UINT32_MAX ? 0 : static_cast<u32>(stride);
}

bool IsDib32(const CDib& dib) {
    const BitmapInfoHeader* h = dib.Header();
    return h && dib.Bits() && h->biBitCount == 32 && h->biCompression == 0;
}

CPixelRangePair MakePixelRange(CDib& dib, i32 x, i32 y, u32 width, u32 height, bool flipX,
                               bool flipY) {
    u8* first = WalkStart(dib, x, y);
    if (!first)
        return {};
    const i32 stride = static_cast<i32>(dib.Stride());
    CPixelRange begin;
    begin.lineStep = flipY ? stride : -stride;
    begin.pixelStep = flipX ? -4 : 4;
    begin.pixelsPerLine = width;
    begin.first = first;
    CPixelRange end = begin;
    end.first = first + static_cast<ptrdiff_t>(begin.lineStep) * static_cast<ptrdiff_t>(height);
    return {begin, end};
}

CPixelRangePair MakeColumnRange(CDib& dib, i32 x, i32 y, u32 columns, u32 rows, bool flipX) {
    u8* first = WalkStart(dib, x, y);
    if (!first)
        return {};
    const i32 stride = static_cast<i32>(dib.Stride());
    CPixelRange begin;
    begin.lineStep = flipX ? -4 : 4;
    begin.pixelStep = -stride;
    begin.pixelsPerLine = rows;
    begin.first = first;
    CPixelRange end = begin;
    end.first = first + static_cast<ptrdiff_t>(begin.lineStep) * static_cast<ptrdiff_t>(columns);
    return {begin, end};
}
