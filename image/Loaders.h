// CLoader: the libvips loaders that the program lets run, one of them opened on a buffer, and
// what their failures mean.
#pragma once

#include <atomic>
#include <cstddef>
#include <string>

#include <vips/vips8>

#include "foundation/Types.h"

// An open buffer loader: the operation is kept until the pixels are decoded, so that a failure
// reported through it is seen. Any thread, one loader each.
class CLoader {
public:
    CLoader() = default;
    CLoader(const CLoader&) = delete;
    CLoader& operator=(const CLoader&) = delete;
    ~CLoader();

    // The operation name of the loader that claims the buffer ("jpegload_buffer", ...), when it
    // is one of those that the program reads (JPEG, PNG, GIF, TIFF, WebP, HEIF/AVIF); null
    // otherwise. libvips answers with the loader's type name, which is turned into the operation's
    // nickname here. A buffer that no loader claims may be HEIF or AVIF: then the HEIF module is
    // loaded and asked too. After EnsureVipsStarted.
    static const char* For(const u8* data, size_t size);
    // Whether `loader` (a name that For gave, or null) is the JPEG loader: the one whose decoder
    // can reduce while it decodes, and whose scans and profile segments are read from the bytes.
    static bool IsJpeg(const char* loader);

    // Whether a failure reported by libvips or one of the libraries under it was a failed
    // allocation. They report it only as text: libvips' own "out of memory", libpng's
    // "insufficient memory", libwebp's "out of memory" status, and GLib's "Error creating
    // thread", which is what a thread's stack that no longer fits in the address space gives.
    static bool IsOutOfMemoryText(std::string text);
    // The code of a failure to decode that libvips' error text describes: 0x8007000E when memory
    // ran out, 0x80004001 otherwise. Clears the text.
    static HResult DecodeFailure();

    // Runs the named loader outside the operation cache, so that no cached operation keeps a
    // pointer into the caller's buffer after the decode. Only the header is read here; pixels
    // are decoded on demand, row by row. The loaders' defaults give the first page or frame and
    // apply no orientation tag. Null with the libvips error set on failure.
    VipsImage* Open(const char* loader, const u8* data, size_t size, int shrink = 1);

    // True when the loader reported a damaged file while the pixels were read.
    bool Invalidated() const { return invalidated_; }

private:
    VipsOperation* op_ = nullptr;
    std::atomic<bool> invalidated_{false};
};
