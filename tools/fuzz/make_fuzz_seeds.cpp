// Writes a few small valid inputs for each fuzz target, made by the program's own writers, into
// the folder in argv[1]: decode/ (PNG, JPEG, GIF, BMP), convert/ (the same images behind a few
// choices of settings), registry_export/ (settings files) and shell_idlist/ ("Shell IDList Array"
// blocks). Fuzzing starts from them.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include <vips/vips8>

#include "foundation/ShellIdListArray.h"
#include "image/Dib.h"
#include "image/VipsStart.h"
#include "image/reference/BmpWriter.h"
#include "image/reference/WholeEncoders.h"
#include "platform/RegistryExport.h"
#include "platform/RegistryFile.h"

namespace {

namespace fs = std::filesystem;

void Write(const fs::path& path, const std::vector<u8>& bytes) {
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    if (!file)
        throw std::runtime_error("cannot write " + path.string());
}

std::vector<u8> Bytes(const std::string& text) {
    return std::vector<u8>(text.begin(), text.end());
}

// A 4 x 3 image with a gradient and half-transparent pixels, so that every channel varies.
CDibPtr SmallImage() {
    CDibPtr dib(new CDib);
    if (!dib->Create32(4, 3) || !dib->AllocBits())
        throw std::runtime_error("no image");
    for (i32 y = 0; y < 3; ++y) {
        for (i32 x = 0; x < 4; ++x) {
            u8* pixel = dib->PixelAt(x, y);
            pixel[0] = static_cast<u8>(x * 60);
            pixel[1] = static_cast<u8>(y * 100);
            pixel[2] = static_cast<u8>(200 - x * 40);
            pixel[3] = static_cast<u8>(x == 0 ? 128 : 255);
        }
    }
    return dib;
}

void AppendLe(std::vector<u8>& out, u32 value, int bytes) {
    for (int i = 0; i < bytes; ++i)
        out.push_back(static_cast<u8>(value >> (8 * i)));
}

// A 3 x 2 uncompressed BMP of 24 bits, or of 8 bits with a four-colour palette, rows padded to
// four bytes; bottom-up unless topDown (a negative height).
std::vector<u8> HandMadeBmp(u16 bitCount, bool topDown) {
    const u32 width = 3, height = 2, colours = bitCount == 8 ? 4 : 0;
    const u32 stride = (width * bitCount / 8 + 3) / 4 * 4;
    const u32 offset = 14 + 40 + colours * 4;
    std::vector<u8> out = {'B', 'M'};
    AppendLe(out, offset + stride * height, 4);
    AppendLe(out, 0, 4);
    AppendLe(out, offset, 4);
    AppendLe(out, 40, 4);
    AppendLe(out, width, 4);
    AppendLe(out, topDown ? static_cast<u32>(-static_cast<i32>(height)) : height, 4);
    AppendLe(out, 1, 2);
    AppendLe(out, bitCount, 2);
    AppendLe(out, 0, 4); // BI_RGB
    AppendLe(out, stride * height, 4);
    AppendLe(out, 2835, 4);
    AppendLe(out, 2835, 4);
    AppendLe(out, colours, 4);
    AppendLe(out, 0, 4);
    for (u32 i = 0; i < colours; ++i)
        AppendLe(out, 0x00204080u * (i + 1), 4);
    for (u32 y = 0; y < height; ++y) {
        for (u32 x = 0; x < stride; ++x)
            out.push_back(static_cast<u8>(bitCount == 8 ? (x + y) % colours : x * 40 + y * 90));
    }
    return out;
}

// jpeg with a small profile of RGB (a header and no tags) in three APP2 segments, written out of
// the order of their numbers, so that the reader of a JPEG's profile has segments to gather.
std::vector<u8> WithIccSegments(const std::vector<u8>& jpeg) {
    constexpr size_t kSize = 256, kPiece = 100;
    std::vector<u8> profile(kSize, 0);
    profile[2] = kSize >> 8;
    std::memcpy(&profile[16], "RGB XYZ ", 8);
    std::memcpy(&profile[36], "acsp", 4);
    std::vector<u8> out(jpeg.begin(), jpeg.begin() + 2);
    for (const u8 number : {2, 1, 3}) {
        const size_t begin = (number - 1u) * kPiece;
        const size_t size = std::min(kPiece, kSize - begin);
        const size_t length = 2 + 12 + 2 + size;
        const char signature[] = "ICC_PROFILE";
        out.insert(out.end(), {0xFF, 0xE2, static_cast<u8>(length >> 8), static_cast<u8>(length)});
        out.insert(out.end(), signature, signature + sizeof signature);
        out.insert(out.end(), {number, 3});
        out.insert(out.end(), profile.begin() + static_cast<std::ptrdiff_t>(begin),
                   profile.begin() + static_cast<std::ptrdiff_t>(begin + size));
    }
    out.insert(out.end(), jpeg.begin() + 2, jpeg.end());
    return out;
}

void WriteImages(const fs::path& folder) {
    const CDibPtr dib = SmallImage();
    std::vector<u8> bytes;
    if (Failed(EncodePng(*dib, true, bytes)))
        throw std::runtime_error("PNG");
    Write(folder / "small.png", bytes);
    if (Failed(EncodeJpeg(*dib, 75, bytes)))
        throw std::runtime_error("JPEG");
    Write(folder / "small.jpg", bytes);
    Write(folder / "profiled.jpg", WithIccSegments(bytes));
    if (Failed(EncodeBmp(*dib, true, bytes)))
        throw std::runtime_error("BMP 32");
    Write(folder / "small32.bmp", bytes);
    if (Failed(EncodeBmp(*dib, false, bytes)))
        throw std::runtime_error("BMP 24");
    Write(folder / "opaque32.bmp", bytes);
    Write(folder / "small24.bmp", HandMadeBmp(24, false));
    Write(folder / "small8.bmp", HandMadeBmp(8, false));
    Write(folder / "topdown8.bmp", HandMadeBmp(8, true));

    const vips::VImage gray = vips::VImage::black(5, 4) + 77;
    VipsBlob* gif = gray.cast(VIPS_FORMAT_UCHAR).gifsave_buffer();
    const u8* gifBytes = static_cast<const u8*>(VIPS_AREA(gif)->data);
    Write(folder / "small.gif", std::vector<u8>(gifBytes, gifBytes + VIPS_AREA(gif)->length));
    vips_area_unref(VIPS_AREA(gif));
}

// Each image of `images` behind the three bytes of settings that the conversion target reads
// first (image/fuzz/convert_fuzzer.cpp): PNG as it is; JPEG into a custom box; PNG into a named
// size with transparent corners kept; JPEG reduced, lengths as shares, rows taken for a preview.
void WriteConversions(const fs::path& images, const fs::path& folder) {
    constexpr u8 kSettings[][3] = {
        {0x00, 0xFF, 0x20}, {0x11, 0x5A, 0x40}, {0x26, 0xF3, 0x08}, {0xD9, 0x0F, 0x90}};
    for (const fs::directory_entry& entry : fs::directory_iterator(images)) {
        std::ifstream file(entry.path(), std::ios::binary);
        const std::vector<u8> image((std::istreambuf_iterator<char>(file)),
                                    std::istreambuf_iterator<char>());
        for (size_t i = 0; i < std::size(kSettings); ++i) {
            std::vector<u8> input(std::begin(kSettings[i]), std::end(kSettings[i]));
            input.insert(input.end(), image.begin(), image.end());
            Write(folder / (std::to_string(i) + "-" + entry.path().filename().string()), input);
        }
    }
}

void WriteRegistryExports(const fs::path& folder) {
    const std::wstring key = L"Software\\Harrowmere\\Lunavex32\\Setting";
    CRegTree tree;
    tree.SetValue(key, L"SubFolder", {1, Utf16LeFromWide(std::wstring(L"round\0", 6))});
    tree.SetValue(key, L"Radius", {4, {0x2C, 0x01, 0x00, 0x00}});
    tree.SetValue(key, L"Big", {11, {1, 2, 3, 4, 5, 6, 7, 8}});
    tree.SetValue(key, L"Raw", {3, {0xDE, 0xAD, 0xBE, 0xEF}});
    tree.SetValue(key, L"Where", {2, Utf16LeFromWide(std::wstring(L"%HOME%\\x\0", 9))});
    tree.SetValue(key + L"\\Window", L"", {1, Utf16LeFromWide(std::wstring(L"\u753b\0", 2))});
    Write(folder / "settings-utf16.reg", FormatRegistryExport(tree));

    Write(folder / "settings-utf8.reg",
          Bytes("Windows Registry Editor Version 5.00\r\n\r\n"
                "[HKEY_CURRENT_USER\\Software\\A]\r\n"
                "\"Name\"=\"a \\\"quoted\\\" \\\\ text\"\r\n"
                "\"Count\"=dword:0000002a\r\n"
                "\"List\"=hex(7):61,00,00,00,\\\r\n  62,00,00,00,00,00\r\n"
                "\"Gone\"=-\r\n"
                "@=\"default\"\r\n\r\n"
                "[-HKEY_CURRENT_USER\\Software\\B]\r\n"));
}

void WriteIdListBlocks(const fs::path& folder) {
    Write(folder / "one-file.bin", BuildShellIdListArray({"file:///tmp/a.png"}));
    Write(folder / "mixed.bin",
          BuildShellIdListArray({"file:///home/u/%E7%94%BB%20x.jpg", "trash:/b.png",
                                 "file://localhost/tmp/c%FF.bmp", "file://other/d.gif"}));
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: lvx_make_fuzz_seeds FOLDER\n");
        return 2;
    }
    if (!EnsureVipsStarted()) {
        std::fprintf(stderr, "lvx_make_fuzz_seeds: libvips does not start\n");
        return 1;
    }
    try {
        const fs::path top(argv[1]);
        for (const char* name : {"decode", "convert", "registry_export", "shell_idlist"})
            fs::create_directories(top / name);
        WriteImages(top / "decode");
        WriteConversions(top / "decode", top / "convert");
        WriteRegistryExports(top / "registry_export");
        WriteIdListBlocks(top / "shell_idlist");
    } catch (const std::exception& e) {
        std::fprintf(stderr, "lvx_make_fuzz_seeds: %s\n", e.what());
        return 1;
    }
    return 0;
}
