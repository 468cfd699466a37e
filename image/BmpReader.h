// Reading BMP files: a small bounds-checked reader of the Windows bitmap formats, so that no
// general-purpose loader ever sees them.
#pragma once

#include <cstddef>
#include <memory>

#include "foundation/Types.h"
#include "image/Dib.h"

// True when the buffer starts with the "BM" of a bitmap file header.
bool IsBmp(const u8* data, size_t size);

// The size that a BMP file's headers declare, read without decoding a pixel; 0x80004001 for
// headers that ReadBmp would refuse. `runLength` (when given) is set true for a run-length BMP,
// whose rows only a decode from its start can find.
HResult ReadBmpSize(const u8* data, size_t size, Size& declared, bool* runLength = nullptr);

// Decodes a BMP file held in memory into a new 32-bit straight-alpha bottom-up image.
//
// Reads the file header and the info header of 12 (core), 40, 52, 56, 108 or 124 bytes; 1, 4 and
// 8 bits per pixel with a palette, uncompressed or (8 and 4 bits) run-length encoded; 16 and 32
// bits as BI_RGB or BI_BITFIELDS; 24 bits; rows bottom-up or (uncompressed) top-down. Alpha is
// 255 except where a BI_BITFIELDS image has an alpha mask: a 32-bit BI_RGB image is opaque, its
// fourth byte unused. A run-length image starts as palette entry 0 everywhere, so the pixels that
// its skips pass over keep that colour; runs that reach beyond a row are cut off there.
//
// `declared` (when given) receives the size that the header declares, as soon as it is read.
// Results: 0x80004001 for a header or data that is not a complete bitmap of these kinds,
// hr::kImageTooLarge when width times height is above maxPixels (checked before any allocation),
// 0x8007000E when the 32-bit image would not fit in 32 bits or memory runs out. Every read is
// checked against the buffer. `out` is only set on success. Any thread.
HResult ReadBmp(const u8* data, size_t size, u64 maxPixels, CDibPtr& out, Size* declared = nullptr);

// The rows of an uncompressed BMP, each decoded from the file's bytes when it is asked for, in
// any order, so that no whole image is made. The pixels are those of ReadBmp. Open and Opaque on
// one thread; Row from any number of threads at once.
class CBmpRows {
public:
    CBmpRows();
    CBmpRows(const CBmpRows&) = delete;
    CBmpRows& operator=(const CBmpRows&) = delete;
    ~CBmpRows();

    // Reads the headers of the BMP in `data`, which must outlive this object. The results are
    // those of ReadBmp, but for a run-length BMP (0x80004001: ReadBmp reads it whole) and for an
    // image too large for one 32-bit buffer, which is read here as any other.
    HResult Open(const u8* data, size_t size, u64 maxPixels, Size* declared = nullptr);

    i32 Width() const;
    i32 Height() const;
    // False when some pixel's alpha is below 255; only bit fields with an alpha mask have any.
    bool Opaque() const;
    // Pixels left to left + count - 1 of row y (the top row is 0) as blue, green, red and straight
    // alpha into `bgra`.
    void Row(i32 y, i32 left, i32 count, u8* bgra) const;

private:
    struct Layout;
    const u8* data_ = nullptr;
    std::unique_ptr<Layout> layout_;
};
