// Image files and folders made by the batch tests themselves.
#pragma once

#include <unistd.h>

#include <filesystem>
#include <functional>
#include <string>

#include "foundation/Paths.h"
#include "image/Dib.h"
#include "image/ImageSaver.h"

namespace testfiles {

// A fresh folder below the system's temporary folder, unique to this process and name.
inline std::filesystem::path FreshDir(const std::string& name) {
    auto dir =
        std::filesystem::temp_directory_path() / ("lvx-batch-" + std::to_string(::getpid())) / name;
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir);
    return dir;
}

inline std::wstring W(const std::filesystem::path& path) {
    return FromFileSystemPath(path.string());
}

// A 32-bit image whose pixel (x, y) (y from the top) is given as {b, g, r, a} by paint.
inline CDibPtr MakeImage(i32 w, i32 h, const std::function<void(i32, i32, u8*)>& paint) {
    CDibPtr dib(new CDib);
    dib->Create32(w, h);
    dib->AllocBits();
    for (i32 y = 0; y < h; ++y) {
        for (i32 x = 0; x < w; ++x)
            paint(x, y, dib->PixelAt(x, y));
    }
    return dib;
}

// An opaque image of one colour.
inline CDibPtr Solid(i32 w, i32 h, u8 b, u8 g, u8 r) {
    return MakeImage(w, h, [=](i32, i32, u8* p) {
        p[0] = b;
        p[1] = g;
        p[2] = r;
        p[3] = 255;
    });
}

// Writes the image through our own encoder ("image/png", "image/jpeg" or "image/bmp").
inline bool Write(const CDib& dib, const std::wstring& mime, const std::filesystem::path& path) {
    Gdiplus::CImageSaver saver;
    return Succeeded(saver.SelectEncoder(mime)) && Succeeded(saver.SaveDib(dib, true, W(path)));
}

} // namespace testfiles
