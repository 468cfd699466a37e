// Which of libvips' loaders run, how one is opened, and what their failures mean.
#include "image/Loaders.h"

#include <algorithm>
#include <cctype>
#include <cstring>

#include "image/VipsStart.h"

namespace {

// The libvips loaders that the decoders use: the formats that the program reads, all of them
// among libvips' trusted loaders. Anything else that libvips would recognise (SVG, PDF, JPEG 2000,
// JPEG XL, Radiance, ImageMagick) is treated as no image at all.
constexpr const char* kAllowedLoaders[] = {"jpegload_buffer", "pngload_buffer",  "gifload_buffer",
                                           "tiffload_buffer", "webpload_buffer", "heifload_buffer"};

// A loader that reports a damaged file while its pixels are decoded invalidates its operation;
// the flag catches that even where the pixel pipeline itself finishes.
void OnLoaderInvalidated(VipsOperation*, void* flag) {
    static_cast<std::atomic<bool>*>(flag)->store(true);
}

} // namespace

const char* CLoader::For(const u8* data, size_t size) {
    const char* typeName = vips_foreign_find_load_buffer(data, size);
    if (!typeName && EnsureHeifLoader())
        typeName = vips_foreign_find_load_buffer(data, size);
    if (!typeName)
        return nullptr;
    const char* nickname = vips_nickname_find(g_type_from_name(typeName));
    if (!nickname)
        return nullptr;
    for (const char* allowed : kAllowedLoaders) {
        if (std::strcmp(nickname, allowed) == 0)
            return allowed;
    }
    return nullptr;
}

bool CLoader::IsJpeg(const char* loader) {
    return loader && std::strcmp(loader, "jpegload_buffer") == 0;
}

bool CLoader::IsOutOfMemoryText(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text.find("out of memory") != std::string::npos ||
           text.find("insufficient memory") != std::string::npos ||
           text.find("memory error") != std::string::npos ||
           text.find("error creating thread") != std::string::npos;
}

HResult CLoader::DecodeFailure() {
    const bool memory = IsOutOfMemoryText(vips_error_buffer());
    vips_error_clear();
    return memory ? hr::kOutOfMemory : hr::kNotImpl;
}

CLoader::~CLoader() {
    if (!op_)
        return;
    vips_object_unref_outputs(VIPS_OBJECT(op_));
    g_object_unref(op_);
}

VipsImage* CLoader::Open(const char* loader, const u8* data, size_t size, int shrink) {
    op_ = vips_operation_new(loader);
    if (!op_)
        return nullptr;
    g_signal_connect(op_, "invalidate", G_CALLBACK(OnLoaderInvalidated), &invalidated_);
    VipsBlob* blob = vips_blob_new(nullptr, data, size);
    // Truncated or damaged data fails the load instead of giving a half-grey picture.
    const int setFailed =
        vips_object_set(VIPS_OBJECT(op_), "buffer", blob, "access", VIPS_ACCESS_SEQUENTIAL,
                        "fail_on", VIPS_FAIL_ON_ERROR, nullptr);
    vips_area_unref(VIPS_AREA(blob));
    if (!setFailed && shrink > 1)
        vips_object_set(VIPS_OBJECT(op_), "shrink", shrink, nullptr);
    VipsImage* image = nullptr;
    if (!setFailed && !vips_object_build(VIPS_OBJECT(op_)))
        g_object_get(op_, "out", &image, nullptr);
    return image;
}
