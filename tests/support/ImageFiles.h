// Image files for the tests: a picture of gradients and edges, files written through libvips, and
// PNG and BMP files built byte by byte so that every field is under the test's control.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include <vips/vips8>

#include "image/VipsStart.h"
#include "support/BigEndian.h"
#include "support/Files.h"

namespace testutil {

// Numbers written least significant byte first, as BMP and WebP files hold them.
inline void Put16(std::vector<u8>& out, u32 v) {
    out.push_back(static_cast<u8>(v));
    out.push_back(static_cast<u8>(v >> 8));
}
inline void Put32(std::vector<u8>& out, u32 v) {
    Put16(out, v & 0xFFFF);
    Put16(out, v >> 16);
}

// A picture with gradients and edges, as interleaved R, G, B bytes, rows from the top.
inline std::vector<u8> TestPictureRgb(i32 width, i32 height) {
    std::vector<u8> rgb;
    rgb.reserve(static_cast<size_t>(width) * height * 3);
    for (i32 y = 0; y < height; ++y) {
        for (i32 x = 0; x < width; ++x) {
            const bool square = (x / 8 + y / 8) % 2 == 0;
            rgb.push_back(static_cast<u8>(x * 255 / std::max(1, width - 1)));
            rgb.push_back(static_cast<u8>(y * 255 / std::max(1, height - 1)));
            rgb.push_back(square ? 200 : 40);
        }
    }
    return rgb;
}

// Interleaved 8-bit pixels (rows from the top) encoded by libvips into the format that the
// suffix names ("[Q=95]" options included), with the ICC profile embedded when one is given and
// a resolution written when dpi (dots per inch) is above 0.
inline std::vector<u8> EncodedWithVips(const std::vector<u8>& pixels, i32 width, i32 height,
                                       int bands, const char* suffix,
                                       const std::vector<u8>& profile = {}, double dpi = 0) {
    EnsureVipsStarted();
    vips::VImage image = vips::VImage::new_from_memory(
        const_cast<u8*>(pixels.data()), pixels.size(), width, height, bands, VIPS_FORMAT_UCHAR);
    if (!profile.empty()) {
        image = image.copy(vips::VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
        vips_image_set_blob_copy(image.get_image(), VIPS_META_ICC_NAME, profile.data(),
                                 profile.size());
    }
    if (dpi > 0)
        image =
            image.copy(vips::VImage::option()->set("xres", dpi / 25.4)->set("yres", dpi / 25.4));
    void* bytes = nullptr;
    size_t size = 0;
    image.write_to_buffer(suffix, &bytes, &size);
    std::vector<u8> encoded(static_cast<u8*>(bytes), static_cast<u8*>(bytes) + size);
    g_free(bytes);
    return encoded;
}

// The ICC profile that libvips reads from encoded bytes; empty for none.
inline std::vector<u8> IccProfileOf(const std::vector<u8>& bytes) {
    vips::VImage image = vips::VImage::new_from_buffer(bytes.data(), bytes.size(), "");
    if (image.get_typeof(VIPS_META_ICC_NAME) == 0)
        return {};
    size_t size = 0;
    const u8* data = static_cast<const u8*>(image.get_blob(VIPS_META_ICC_NAME, &size));
    return std::vector<u8>(data, data + size);
}

// --- PNG files built byte by byte, so that every field is under the test's control. ---

inline u32 Crc32(const u8* data, size_t size, u32 crc = 0) {
    crc = ~crc;
    for (size_t i = 0; i < size; ++i) {
        crc ^= data[i];
        for (int k = 0; k < 8; ++k)
            crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1)));
    }
    return ~crc;
}

inline void AppendChunk(std::vector<u8>& png, const char type[4], const std::vector<u8>& data) {
    PutBigEndian(png, static_cast<u32>(data.size()));
    const size_t start = png.size();
    png.insert(png.end(), type, type + 4);
    png.insert(png.end(), data.begin(), data.end());
    PutBigEndian(png, Crc32(png.data() + start, png.size() - start));
}

// A zlib stream of stored (uncompressed) deflate blocks.
inline std::vector<u8> ZlibStored(const std::vector<u8>& raw) {
    std::vector<u8> out = {0x78, 0x01};
    size_t pos = 0;
    do {
        const size_t n = std::min<size_t>(65535, raw.size() - pos);
        const bool last = pos + n == raw.size();
        out.insert(out.end(),
                   {static_cast<u8>(last ? 1 : 0), static_cast<u8>(n), static_cast<u8>(n >> 8),
                    static_cast<u8>(~n), static_cast<u8>(~n >> 8)});
        out.insert(out.end(), raw.begin() + static_cast<long>(pos),
                   raw.begin() + static_cast<long>(pos + n));
        pos += n;
    } while (pos < raw.size());
    u32 a = 1, b = 0;
    for (u8 byte : raw) {
        a = (a + byte) % 65521;
        b = (b + a) % 65521;
    }
    PutBigEndian(out, (b << 16) | a);
    return out;
}

struct PngChunk {
    const char* type;
    std::vector<u8> data;
};

// A PNG of the given colour type and depth; `rows` are the raw scanlines without filter bytes.
// Extra chunks go between the header and the image data.
inline std::vector<u8> MakePng(u32 width, u32 height, u8 colourType, u8 bitDepth,
                               const std::vector<std::vector<u8>>& rows,
                               const std::vector<PngChunk>& extra = {}, bool interlaced = false) {
    std::vector<u8> png = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
    std::vector<u8> ihdr;
    PutBigEndian(ihdr, width);
    PutBigEndian(ihdr, height);
    ihdr.insert(ihdr.end(), {bitDepth, colourType, 0, 0, static_cast<u8>(interlaced ? 1 : 0)});
    AppendChunk(png, "IHDR", ihdr);
    for (const PngChunk& chunk : extra)
        AppendChunk(png, chunk.type, chunk.data);
    std::vector<u8> raw;
    for (const auto& row : rows) {
        raw.push_back(0); // filter: none
        raw.insert(raw.end(), row.begin(), row.end());
    }
    AppendChunk(png, "IDAT", ZlibStored(raw));
    AppendChunk(png, "IEND", {});
    return png;
}

// A pHYs chunk of the given pixels per metre both ways, unit metre (11811 is 300 dots per inch).
inline PngChunk PhysChunk(u32 pixelsPerMetre) {
    PngChunk phys{"pHYs", {}};
    PutBigEndian(phys.data, pixelsPerMetre);
    PutBigEndian(phys.data, pixelsPerMetre);
    phys.data.push_back(1);
    return phys;
}

// --- BMP files built byte by byte. ---

// The compression kinds of a BMP header.
constexpr u32 kBmpRgb = 0;
constexpr u32 kBmpRle8 = 1;
constexpr u32 kBmpRle4 = 2;
constexpr u32 kBmpBitfields = 3;

// What goes into one test file; the file header's offset is worked out from the parts.
struct BmpParts {
    u32 headerSize = 40;
    i32 width = 0;
    i32 height = 0;
    u16 bitCount = 24;
    u32 compression = kBmpRgb;
    u32 colorsUsed = 0;
    i32 pelsPerMeter = 0;
    std::vector<u32> masks = {};  // R, G, B(, A): inside a longer header, after a 40-byte one
    std::vector<u8> palette = {}; // raw entries
    std::vector<u8> pixels = {};  // raw pixel data
};

inline std::vector<u8> MakeBmp(const BmpParts& p) {
    std::vector<u8> info;
    Put32(info, p.headerSize);
    if (p.headerSize == 12) {
        for (u32 v : {static_cast<u32>(p.width), static_cast<u32>(p.height), 1u, u32{p.bitCount}})
            Put16(info, v);
    } else {
        Put32(info, static_cast<u32>(p.width));
        Put32(info, static_cast<u32>(p.height));
        Put16(info, 1);
        Put16(info, p.bitCount);
        for (u32 v :
             {p.compression, static_cast<u32>(p.pixels.size()), static_cast<u32>(p.pelsPerMeter),
              static_cast<u32>(p.pelsPerMeter), p.colorsUsed, 0u})
            Put32(info, v);
        size_t mask = 0;
        while (info.size() < p.headerSize) {
            Put32(info, mask < p.masks.size() ? p.masks[mask] : 0);
            ++mask;
        }
        info.resize(p.headerSize);
        if (p.headerSize == 40)
            for (u32 m : p.masks)
                Put32(info, m);
    }
    const u32 offset = static_cast<u32>(14 + info.size() + p.palette.size());
    std::vector<u8> file = {'B', 'M'};
    Put32(file, offset + static_cast<u32>(p.pixels.size()));
    Put32(file, 0);
    Put32(file, offset);
    file.insert(file.end(), info.begin(), info.end());
    file.insert(file.end(), p.palette.begin(), p.palette.end());
    file.insert(file.end(), p.pixels.begin(), p.pixels.end());
    return file;
}

} // namespace testutil
