// The bitmap file reader: headers, palettes, bit masks, run-length data, rows into a CDib.
#include "image/BmpReader.h"

#include <bit>
#include <new>
#include <vector>

namespace {

constexpr u32 kBiRgb = 0;
constexpr u32 kBiRle8 = 1;
constexpr u32 kBiRle4 = 2;
constexpr u32 kBiBitfields = 3;

constexpr size_t kFileHeaderSize = 14;
constexpr u32 kCoreHeaderSize = 12;
constexpr u32 kInfoHeaderSize = 40;

// What a reader of a bitmap that states no resolution reports: 96 dots per inch, in pixels per
// metre.
constexpr i32 kScreenPelsPerMeter = 3780;

constexpr u32 kOpaqueBlack = 0xFF000000;

// Little-endian reads that are checked against the end of the buffer.
class CBytes {
public:
    CBytes(const u8* data, size_t size) : data_(data), size_(size) {}
    bool Has(u64 offset, u64 count) const { return offset <= size_ && count <= size_ - offset; }
    u8 U8(size_t offset) const { return data_[offset]; }
    u16 U16(size_t offset) const {
        return static_cast<u16>(data_[offset] | (data_[offset + 1] << 8));
    }
    u32 U32(size_t offset) const {
        return static_cast<u32>(data_[offset]) | (static_cast<u32>(data_[offset + 1]) << 8) |
               (static_cast<u32>(data_[offset + 2]) << 16) |
               (static_cast<u32>(data_[offset + 3]) << 24);
    }
    i32 I32(size_t offset) const { return static_cast<i32>(U32(offset)); }
    const u8* At(size_t offset) const { return data_ + offset; }
    size_t Size() const { return size_; }

private:
    const u8* data_;
    size_t size_;
};

// One colour channel of a bit-field pixel, scaled to 8 bits with rounding.
class CChannel {
public:
    CChannel() = default;
    explicit CChannel(u32 mask)
        : mask_(mask), shift_(mask ? std::countr_zero(mask) : 0), max_(mask >> shift_) {}
    bool Present() const { return mask_ != 0; }
    u8 Get(u32 pixel) const {
        if (max_ == 0)
            return 0;
        const u64 value = (pixel & mask_) >> shift_;
        return static_cast<u8>((value * 255 + max_ / 2) / max_);
    }

private:
    u32 mask_ = 0;
    u32 shift_ = 0;
    u32 max_ = 0;
};

// Everything the headers say about the pixels.
struct CLayout {
    i32 width = 0;
    i32 height = 0; // rows, always positive
    bool topDown = false;
    u16 bitCount = 0;
    u32 compression = kBiRgb;
    u32 palette[256] = {}; // BGRA, alpha 255
    u32 paletteCount = 0;
    CChannel red, green, blue, alpha; // for 16 and 32 bits
    size_t pixelOffset = 0;
    i32 xPelsPerMeter = 0;
    i32 yPelsPerMeter = 0;
};

bool IsKnownHeaderSize(u32 size) {
    return size == kCoreHeaderSize || size == kInfoHeaderSize || size == 52 || size == 56 ||
           size == 108 || size == 124;
}

// The combinations of bit count and compression that the formats define.
bool IsKnownPixelFormat(u16 bitCount, u32 compression) {
    switch (compression) {
    case kBiRgb:
        return bitCount == 1 || bitCount == 4 || bitCount == 8 || bitCount == 16 ||
               bitCount == 24 || bitCount == 32;
    case kBiRle8:
        return bitCount == 8;
    case kBiRle4:
        return bitCount == 4;
    case kBiBitfields:
        return bitCount == 16 || bitCount == 32;
    default:
        return false;
    }
}

// The masks of a bit-field image: after a 40-byte header, inside a longer one. Alpha counts only
// where the header has room for it.
bool ReadMasks(const CBytes& bytes, u32 headerSize, CLayout& layout, size_t& paletteStart) {
    const size_t at = kFileHeaderSize + kInfoHeaderSize;
    const size_t count = headerSize >= 56 ? 4 : 3;
    if (headerSize == kInfoHeaderSize) {
        if (!bytes.Has(at, 12))
            return false;
        paletteStart += 12;
    }
    layout.red = CChannel(bytes.U32(at));
    layout.green = CChannel(bytes.U32(at + 4));
    layout.blue = CChannel(bytes.U32(at + 8));
    if (count == 4)
        layout.alpha = CChannel(bytes.U32(at + 12));
    return true;
}

// The palette of an image of up to 8 bits: entries of 3 bytes after a core header, of 4 after
// the others; as many as the header says, at most as many as the bit count can index.
bool ReadPalette(const CBytes& bytes, size_t start, u32 entrySize, u32 colorsUsed,
                 CLayout& layout) {
    const u32 most = 1u << layout.bitCount;
    const u32 count = colorsUsed == 0 || colorsUsed > most ? most : colorsUsed;
    if (!bytes.Has(start, static_cast<u64>(count) * entrySize))
        return false;
    for (u32 i = 0; i < count; ++i) {
        const size_t at = start + static_cast<size_t>(i) * entrySize;
        layout.palette[i] = kOpaqueBlack | (static_cast<u32>(bytes.U8(at + 2)) << 16) |
                            (static_cast<u32>(bytes.U8(at + 1)) << 8) | bytes.U8(at);
    }
    layout.paletteCount = count;
    return true;
}

HResult ReadHeaders(const CBytes& bytes, CLayout& layout) {
    if (!bytes.Has(0, kFileHeaderSize + 4))
        return hr::kNotImpl;
    const u32 offBits = bytes.U32(10);
    const u32 headerSize = bytes.U32(kFileHeaderSize);
    if (!IsKnownHeaderSize(headerSize) || !bytes.Has(kFileHeaderSize, headerSize))
        return hr::kNotImpl;
    const size_t h = kFileHeaderSize;
    i64 height = 0;
    u32 colorsUsed = 0;
    u32 entrySize = 4;
    if (headerSize == kCoreHeaderSize) {
        layout.width = bytes.U16(h + 4);
        height = bytes.U16(h + 6);
        layout.bitCount = bytes.U16(h + 10);
        entrySize = 3;
        if (layout.bitCount == 16 || layout.bitCount == 32)
            return hr::kNotImpl;
    } else {
        layout.width = bytes.I32(h + 4);
        height = bytes.I32(h + 8);
        layout.bitCount = bytes.U16(h + 14);
        layout.compression = bytes.U32(h + 16);
        layout.xPelsPerMeter = bytes.I32(h + 24);
        layout.yPelsPerMeter = bytes.I32(h + 28);
        colorsUsed = bytes.U32(h + 32);
    }
    if (!IsKnownPixelFormat(layout.bitCount, layout.compression))
        return hr::kNotImpl;
    layout.topDown = height < 0;
    layout.height = static_cast<i32>(height < 0 ? -height : height);
    if (layout.width <= 0 || height == 0 || height < -INT32_MAX)
        return hr::kNotImpl;
    // Run-length data is defined bottom-up only.
    if (layout.topDown && layout.compression != kBiRgb && layout.compression != kBiBitfields)
        return hr::kNotImpl;

    size_t paletteStart = h + headerSize;
    if (layout.compression == kBiBitfields && !ReadMasks(bytes, headerSize, layout, paletteStart))
        return hr::kNotImpl;
    if (layout.bitCount == 16 && layout.compression == kBiRgb) {
        layout.red = CChannel(0x7C00);
        layout.green = CChannel(0x03E0);
        layout.blue = CChannel(0x001F);
    }
    if (layout.bitCount <= 8 && !ReadPalette(bytes, paletteStart, entrySize, colorsUsed, layout))
        return hr::kNotImpl;
    const size_t afterPalette =
        paletteStart +
        (layout.bitCount <= 8 ? static_cast<size_t>(layout.paletteCount) * entrySize : 0);
    // Some writers leave the offset at 0; the pixels then follow the palette.
    layout.pixelOffset = offBits != 0 ? offBits : afterPalette;
    if (layout.pixelOffset > bytes.Size())
        return hr::kNotImpl;
    return hr::kOk;
}

u8* RowOfFileRow(CDib& dib, const CLayout& layout, u64 fileRow) {
    const u64 memoryRow = layout.topDown ? layout.height - 1 - fileRow : fileRow;
    return dib.Bits() + memoryRow * dib.Stride();
}

void PutColor(u8* pixel, u32 bgra) {
    pixel[0] = static_cast<u8>(bgra);
    pixel[1] = static_cast<u8>(bgra >> 8);
    pixel[2] = static_cast<u8>(bgra >> 16);
    pixel[3] = static_cast<u8>(bgra >> 24);
}

u32 PaletteColor(const CLayout& layout, u32 index) {
    return index < layout.paletteCount ? layout.palette[index] : kOpaqueBlack;
}

bool HasAlpha(const CLayout& layout) {
    return layout.compression == kBiBitfields && layout.alpha.Present();
}

bool IsRunLength(const CLayout& layout) {
    return layout.compression == kBiRle8 || layout.compression == kBiRle4;
}

// The bytes of one row of an uncompressed image in the file, padded to 32 bits.
u64 FileStride(const CLayout& layout) {
    return (static_cast<u64>(layout.width) * layout.bitCount + 31) / 32 * 4;
}

// Pixels left to left + count - 1 of the file row at src into dst, 4 bytes each.
void ConvertRow(const u8* src, u8* dst, const CLayout& layout, i32 left, i32 count) {
    const bool hasAlpha = HasAlpha(layout);
    for (i32 x = left; x < left + count; ++x, dst += 4) {
        switch (layout.bitCount) {
        case 1:
            PutColor(dst, PaletteColor(layout, (src[x >> 3] >> (7 - (x & 7))) & 1));
            break;
        case 4:
            PutColor(dst, PaletteColor(layout, (src[x >> 1] >> ((x & 1) ? 0 : 4)) & 15));
            break;
        case 8:
            PutColor(dst, PaletteColor(layout, src[x]));
            break;
        case 24:
            dst[0] = src[x * 3];
            dst[1] = src[x * 3 + 1];
            dst[2] = src[x * 3 + 2];
            dst[3] = 255;
            break;
        default: {
            const u32 pixel = layout.bitCount == 16
                                  ? static_cast<u32>(src[x * 2] | (src[x * 2 + 1] << 8))
                                  : static_cast<u32>(src[x * 4]) | (src[x * 4 + 1] << 8) |
                                        (src[x * 4 + 2] << 16) |
                                        (static_cast<u32>(src[x * 4 + 3]) << 24);
            if (layout.bitCount == 32 && layout.compression == kBiRgb) {
                dst[0] = static_cast<u8>(pixel);
                dst[1] = static_cast<u8>(pixel >> 8);
                dst[2] = static_cast<u8>(pixel >> 16);
                dst[3] = 255;
                break;
            }
            dst[0] = layout.blue.Get(pixel);
            dst[1] = layout.green.Get(pixel);
            dst[2] = layout.red.Get(pixel);
            dst[3] = hasAlpha ? layout.alpha.Get(pixel) : 255;
            break;
        }
        }
    }
}

HResult ReadUncompressed(const CBytes& bytes, const CLayout& layout, CDib& dib) {
    const u64 stride = FileStride(layout);
    for (u64 row = 0; row < static_cast<u64>(layout.height); ++row)
        ConvertRow(bytes.At(layout.pixelOffset + row * stride), RowOfFileRow(dib, layout, row),
                   layout, 0, layout.width);
    return hr::kOk;
}

// Walks the run-length commands. Every command takes at least two bytes of input and writes at
// most 255 pixels, and a pixel outside the image is never written, so the work is bounded by the
// size of the file and of the image.
HResult ReadRunLength(const CBytes& bytes, const CLayout& layout, CDib& dib) {
    const bool fourBits = layout.compression == kBiRle4;
    const u64 width = static_cast<u64>(layout.width);
    const u64 height = static_cast<u64>(layout.height);
    const u32 background = PaletteColor(layout, 0);
    for (u64 row = 0; row < height; ++row) {
        u8* dst = RowOfFileRow(dib, layout, row);
        for (u64 x = 0; x < width; ++x)
            PutColor(dst + x * 4, background);
    }
    auto put = [&](u64 x, u64 y, u32 index) {
        if (x < width && y < height)
            PutColor(RowOfFileRow(dib, layout, y) + x * 4, PaletteColor(layout, index));
    };
    u64 x = 0;
    u64 y = 0;
    size_t at = layout.pixelOffset;
    while (y < height) {
        if (!bytes.Has(at, 2))
            return hr::kNotImpl;
        const u32 count = bytes.U8(at);
        const u32 value = bytes.U8(at + 1);
        at += 2;
        if (count > 0) {
            for (u32 i = 0; i < count; ++i)
                put(x + i, y, fourBits ? ((i & 1) ? value & 15 : value >> 4) : value);
            x += count;
            continue;
        }
        if (value == 0) { // end of line
            x = 0;
            ++y;
            continue;
        }
        if (value == 1) // end of bitmap
            return hr::kOk;
        if (value == 2) { // skip right and up
            if (!bytes.Has(at, 2))
                return hr::kNotImpl;
            x += bytes.U8(at);
            y += bytes.U8(at + 1);
            at += 2;
            continue;
        }
        // An absolute run of `value` pixels, padded to a whole number of 16-bit words.
        const size_t length = fourBits ? (value + 1) / 2 : value;
        if (!bytes.Has(at, length))
            return hr::kNotImpl;
        for (u32 i = 0; i < value; ++i) {
            const u8 byte = bytes.U8(at + (fourBits ? i / 2 : i));
            put(x + i, y, fourBits ? ((i & 1) ? byte & 15 : byte >> 4) : byte);
        }
        x += value;
        at += length + (length & 1);
    }
    return hr::kOk;
}

// Reads the headers and checks the pixel limit and, for an uncompressed image, that all rows are
// there (the last may lack its padding).
HResult OpenLayout(const CBytes& bytes, u64 maxPixels, CLayout& layout, Size* declared) {
    const HResult headers = ReadHeaders(bytes, layout);
    if (Failed(headers))
        return headers;
    if (declared)
        *declared = Size{layout.width, layout.height};
    const u64 pixels = static_cast<u64>(layout.width) * static_cast<u64>(layout.height);
    if (pixels > maxPixels)
        return hr::kImageTooLarge;
    const u64 lastRow = (static_cast<u64>(layout.width) * layout.bitCount + 7) / 8;
    if (!IsRunLength(layout) &&
        !bytes.Has(layout.pixelOffset, FileStride(layout) * (layout.height - 1) + lastRow))
        return hr::kNotImpl;
    return hr::kOk;
}

} // namespace

bool IsBmp(const u8* data, size_t size) {
    return data && size >= 2 && data[0] == 'B' && data[1] == 'M';
}

HResult ReadBmpSize(const u8* data, size_t size, Size& declared, bool* runLength) {
    if (!IsBmp(data, size))
        return hr::kNotImpl;
    CLayout layout;
    const HResult headers = ReadHeaders(CBytes(data, size), layout);
    if (Failed(headers))
        return headers;
    declared = Size{layout.width, layout.height};
    if (runLength)
        *runLength = IsRunLength(layout);
    return headers;
}

HResult ReadBmp(const u8* data, size_t size, u64 maxPixels, CDibPtr& out, Size* declared) {
    if (!IsBmp(data, size))
        return hr::kNotImpl;
    const CBytes bytes(data, size);
    CLayout layout;
    const HResult opened = OpenLayout(bytes, maxPixels, layout, declared);
    if (Failed(opened))
        return opened;
    if (static_cast<u64>(layout.width) * static_cast<u64>(layout.height) * 4 > UINT32_MAX)
        return hr::kOutOfMemory;

    CDibPtr dib(new (std::nothrow) CDib);
    if (!dib || !dib->Create32(layout.width, layout.height) || !dib->AllocBits())
        return hr::kOutOfMemory;
    const HResult result = IsRunLength(layout) ? ReadRunLength(bytes, layout, *dib)
                                               : ReadUncompressed(bytes, layout, *dib);
    if (Failed(result))
        return result;
    dib->Header()->biXPelsPerMeter =
        layout.xPelsPerMeter > 0 ? layout.xPelsPerMeter : kScreenPelsPerMeter;
    dib->Header()->biYPelsPerMeter =
        layout.yPelsPerMeter > 0 ? layout.yPelsPerMeter : kScreenPelsPerMeter;
    out = dib;
    return hr::kOk;
}

struct CBmpRows::Layout {
    CLayout layout;
};

CBmpRows::CBmpRows() = default;

CBmpRows::~CBmpRows() = default;

HResult CBmpRows::Open(const u8* data, size_t size, u64 maxPixels, Size* declared) {
    data_ = nullptr;
    layout_.reset();
    if (!IsBmp(data, size))
        return hr::kNotImpl;
    auto layout = std::make_unique<Layout>();
    const HResult opened = OpenLayout(CBytes(data, size), maxPixels, layout->layout, declared);
    if (Failed(opened))
        return opened;
    if (IsRunLength(layout->layout))
        return hr::kNotImpl;
    data_ = data;
    layout_ = std::move(layout);
    return hr::kOk;
}

i32 CBmpRows::Width() const {
    return layout_ ? layout_->layout.width : 0;
}

i32 CBmpRows::Height() const {
    return layout_ ? layout_->layout.height : 0;
}

bool CBmpRows::Opaque() const {
    if (!layout_ || !HasAlpha(layout_->layout))
        return true;
    std::vector<u8> row(static_cast<size_t>(Width()) * 4);
    for (i32 y = 0; y < Height(); ++y) {
        Row(y, 0, Width(), row.data());
        for (size_t alpha = 3; alpha < row.size(); alpha += 4) {
            if (row[alpha] != 255)
                return false;
        }
    }
    return true;
}

void CBmpRows::Row(i32 y, i32 left, i32 count, u8* bgra) const {
    const CLayout& layout = layout_->layout;
    const u64 fileRow = layout.topDown ? y : layout.height - 1 - static_cast<u64>(y);
    ConvertRow(data_ + layout.pixelOffset + fileRow * FileStride(layout), bgra, layout, left,
               count);
}
