// Files that declare far more decoding than their size holds, built byte by byte: a progressive
// JPEG of empty scans, a run-length BMP, a lossless WebP and a wide 16-bit PNG.
#pragma once

#include <bit>
#include <vector>

#include "support/BigEndian.h"
#include "support/ImageFiles.h"

namespace testutil {

// Bits into entropy-coded JPEG data, with the 0x00 stuffed after every 0xFF byte.
class CJpegBits {
public:
    explicit CJpegBits(std::vector<u8>& out) : out_(out) {}
    void Put(u32 value, int count) {
        for (int i = count - 1; i >= 0; --i) {
            byte_ = static_cast<u8>((byte_ << 1) | ((value >> i) & 1));
            if (++bits_ < 8)
                continue;
            out_.push_back(byte_);
            if (byte_ == 0xFF)
                out_.push_back(0);
            bits_ = 0;
        }
    }
    void End() {
        while (bits_ != 0)
            Put(1, 1);
    }

private:
    std::vector<u8>& out_;
    u8 byte_ = 0;
    int bits_ = 0;
};

inline void PutJpegSegment(std::vector<u8>& jpeg, u8 marker, const std::vector<u8>& payload) {
    jpeg.insert(jpeg.end(), {0xFF, marker, static_cast<u8>((payload.size() + 2) >> 8),
                             static_cast<u8>(payload.size() + 2)});
    jpeg.insert(jpeg.end(), payload.begin(), payload.end());
}

// A valid progressive JPEG of 3 (YCbCr) or 4 (CMYK) components without subsampling whose scans
// code nothing: one scan of zero DC differences, then single-coefficient AC scans of one
// end-of-band run each (first at point transform 13, then its refinements), `scans` in all.
inline std::vector<u8> EmptyProgressiveJpeg(u16 width, u16 height, u8 components, u32 scans) {
    std::vector<u8> jpeg = {0xFF, 0xD8};
    if (components == 4)
        PutJpegSegment(jpeg, 0xEE, {'A', 'd', 'o', 'b', 'e', 0, 100, 0, 0, 0, 0, 0});
    std::vector<u8> table(65, 1);
    table[0] = 0;
    PutJpegSegment(jpeg, 0xDB, table);
    std::vector<u8> frame = {8,
                             static_cast<u8>(height >> 8),
                             static_cast<u8>(height),
                             static_cast<u8>(width >> 8),
                             static_cast<u8>(width),
                             components};
    for (u8 c = 1; c <= components; ++c)
        frame.insert(frame.end(), {c, 0x11, 0});
    PutJpegSegment(jpeg, 0xC2, frame);
    // DC: the one category 0, code "0". AC: end-of-band runs EOB0 to EOB14, 4-bit codes 0 to 14.
    PutJpegSegment(jpeg, 0xC4, {0x00, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    std::vector<u8> ac = {0x10, 0, 0, 0, 15, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    for (u8 n = 0; n < 15; ++n)
        ac.push_back(static_cast<u8>(n << 4));
    PutJpegSegment(jpeg, 0xC4, ac);
    const u64 blocks = static_cast<u64>((width + 7) / 8) * ((height + 7) / 8);
    std::vector<u8> dc = {components};
    for (u8 c = 1; c <= components; ++c)
        dc.insert(dc.end(), {c, 0});
    dc.insert(dc.end(), {0, 0, 0});
    PutJpegSegment(jpeg, 0xDA, dc);
    jpeg.insert(jpeg.end(), blocks * components / 8, 0);
    CJpegBits rest(jpeg);
    rest.Put(0, static_cast<int>(blocks * components % 8));
    rest.End();
    u32 made = 1;
    for (u8 c = 1; c <= components; ++c)
        for (u8 k = 1; k < 64; ++k)
            for (int al = 13; al >= 0 && made < scans; --al, ++made) {
                const int ah = al == 13 ? 0 : al + 1;
                PutJpegSegment(jpeg, 0xDA, {1, c, 0, k, k, static_cast<u8>(ah << 4 | al)});
                CJpegBits bits(jpeg);
                for (u64 left = blocks; left > 0;) {
                    const u32 run = static_cast<u32>(std::min<u64>(left, 32767));
                    const int n = std::bit_width(run) - 1;
                    bits.Put(static_cast<u32>(n), 4);
                    bits.Put(run - (1u << n), n);
                    left -= run;
                }
                bits.End();
            }
    jpeg.insert(jpeg.end(), {0xFF, 0xD9});
    return jpeg;
}

// An 8-bit run-length BMP whose only command ends the bitmap: every pixel is palette entry 0.
inline std::vector<u8> EmptyRleBmp(i32 width, i32 height) {
    return MakeBmp({.width = width,
                    .height = height,
                    .bitCount = 8,
                    .compression = kBmpRle8,
                    .colorsUsed = 2,
                    .palette = {0, 0, 0, 0, 255, 255, 255, 0},
                    .pixels = {0, 1}});
}

// The header of a lossless WebP of the given size (at most 16384 a side) and a few bytes of data.
inline std::vector<u8> LosslessWebpHeader(u32 width, u32 height) {
    const u32 size = (width - 1) | ((height - 1) << 14);
    std::vector<u8> data = {0x2F, static_cast<u8>(size), static_cast<u8>(size >> 8),
                            static_cast<u8>(size >> 16), static_cast<u8>(size >> 24)};
    data.resize(16, 0);
    std::vector<u8> webp = {'R', 'I', 'F', 'F'};
    Put32(webp, static_cast<u32>(4 + 8 + data.size()));
    webp.insert(webp.end(), {'W', 'E', 'B', 'P', 'V', 'P', '8', 'L'});
    Put32(webp, static_cast<u32>(data.size()));
    webp.insert(webp.end(), data.begin(), data.end());
    return webp;
}

// The header of a 16-bit RGB PNG of the given size, with one row of zeros as its data.
inline std::vector<u8> Png16Header(u32 width, u32 height, bool interlaced = false) {
    return MakePng(width, height, 2, 16, {std::vector<u8>(15, 0)}, {}, interlaced);
}

} // namespace testutil
