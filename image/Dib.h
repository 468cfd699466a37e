// CDib: the one in-memory image form (32-bit, bottom-up, straight-alpha BGRA) and pixel ranges.
// Any thread; an image is written by one thread at a time and, once handed on as a CDibPtr,
// only read.
#pragma once

#include <utility>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "foundation/Types.h"

// Our own copy of the published 40-byte bitmap information header.
struct BitmapInfoHeader {
    u32 biSize = 0;
    i32 biWidth = 0;
    i32 biHeight = 0; // positive: bottom-up rows
    u16 biPlanes = 0;
    u16 biBitCount = 0;
    u32 biCompression = 0; // 0 = uncompressed RGB, 3 = bit fields
    u32 biSizeImage = 0;
    i32 biXPelsPerMeter = 0;
    i32 biYPelsPerMeter = 0;
    u32 biClrUsed = 0;
    u32 biClrImportant = 0;
};
static_assert(sizeof(BitmapInfoHeader) == 40, "the header keeps its published size");

// A device-independent bitmap: header (with palette and extra bytes) and pixel bits, both owned.
// Pixels are bytes blue, green, red, alpha; alpha is straight. Row y (0 = top) lies at
// Bits() + (H - y - 1) * stride. Not copyable: images travel as CDibPtr and are not written to
// once handed on.
class CDib {
public:
    CDib() = default;
    CDib(const CDib&) = delete;
    CDib& operator=(const CDib&) = delete;
    virtual ~CDib();

    // Allocates and zero-fills a header of headerSize + 4 * palette entries + extraSize bytes.
    virtual bool Create(u32 headerSize, i32 width, i32 height, u16 bitCount, u32 colorsUsed,
                        u32 compression, u32 extraSize);
    virtual void FreeHeader();
    // Allocates GetSizeImage() bytes, not cleared. False without a header or when memory runs out.
    virtual bool AllocBits();
    virtual void FreeBits();

    // Create(40, W, H, 32, 0, 0, 0): the form that every image operation makes.
    bool Create32(i32 width, i32 height) { return Create(40, width, height, 32, 0, 0, 0); }
    bool CreateFromHeader(const BitmapInfoHeader* header);
    u32 GetSizeImage() const;
    void ClearBits();
    // Colour bytes times alpha / 255 (truncating) for pixels below alpha 255; 32-bit only.
    void PremultiplyAlpha();

    BitmapInfoHeader* Header() { return reinterpret_cast<BitmapInfoHeader*>(header_); }
    const BitmapInfoHeader* Header() const {
        return reinterpret_cast<const BitmapInfoHeader*>(header_);
    }
    u8* Bits() { return bits_; }
    const u8* Bits() const { return bits_; }

    i32 Width() const { return header_ ? Header()->biWidth : 0; }
    // Pixel rows, whatever the sign of biHeight.
    i32 Height() const;
    // Bytes per row: (width * bitCount + 7) / 8 raised to a multiple of 4.
    u32 Stride() const;
    // Address of pixel (x, y), y counted from the top; 32-bit bottom-up images only.
    u8* PixelAt(i32 x, i32 y) { return bits_ + RowOffset(y) + static_cast<size_t>(x) * 4; }
    const u8* PixelAt(i32 x, i32 y) const {
        return bits_ + RowOffset(y) + static_cast<size_t>(x) * 4;
    }

    // The ICC profile of the colour space that the pixel numbers are in, as the source file
    // embedded it; empty for sRGB. An image made from another takes its profile over.
    const std::vector<u8>& ColourProfile() const { return profile_; }
    void SetColourProfile(std::vector<u8> profile) { profile_ = std::move(profile); }

protected:
    size_t RowOffset(i32 y) const { return static_cast<size_t>(Height() - y - 1) * Stride(); }

    u8* header_ = nullptr;
    u8* bits_ = nullptr;
    std::vector<u8> profile_;
};

using CDibPtr = boost::shared_ptr<CDib>;

// The check that every image operation makes first: a header of 32 bits per pixel with bits.
bool IsDib32(const CDib& dib);

// A strided walk over a rectangle of 32-bit pixels. A walk is a (begin, end) pair; the end has
// `first` advanced by lineStep times the number of lines. A mirrored walk is the same rectangle
// with negative steps.
struct CPixelRange {
    i32 lineStep = 0;
    i32 pixelStep = 0;
    u32 pixelsPerLine = 0;
    u8* first = nullptr;
};
using CPixelRangePair = std::pair<CPixelRange, CPixelRange>;

// Line by line from (x, y): pixelStep -4 with flipX else +4; lineStep +stride with flipY (one row
// up on the screen) else -stride. Empty (all zero) for a bad image or a start outside it.
CPixelRangePair MakePixelRange(CDib& dib, i32 x, i32 y, u32 width, u32 height, bool flipX,
                               bool flipY);
// Column by column from (x, y): lineStep -4 with flipX else +4, pixelStep -stride (downward),
// pixelsPerLine = rows.
CPixelRangePair MakeColumnRange(CDib& dib, i32 x, i32 y, u32 columns, u32 rows, bool flipX);
