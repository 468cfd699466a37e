// One corner of an image file at full resolution.
#include "image/SourceCorner.h"

#include <algorithm>
#include <new>

#include "image/DecodeStream.h"
#include "image/ImageIo.h"
#include "image/PaneAnchor.h"
#include "image/VipsStart.h"

using vips::VError;
using vips::VImage;

HResult ReadSourceCorner(const std::wstring& path, const CDecodeLimits& limits, Size expected,
                         u32 anchor, i32 side, VImage& out) {
    out = VImage();
    if (!EnsureVipsStarted())
        return hr::kFail;
    // The bytes live until the square is copied out of the pipeline that reads them.
    CFileBytes file;
    HResult code = ReadFileToBuffer(file, path);
    if (Failed(code))
        return code;
    try {
        CDecodeStream stream;
        code = stream.Open(file.data.get(), file.size, limits);
        if (Failed(code))
            return code;
        const VImage rgba = stream.Rgba();
        if (rgba.width() != expected.cx || rgba.height() != expected.cy)
            return hr::kFail;
        const i32 w = std::min(side, rgba.width());
        const i32 h = std::min(side, rgba.height());
        const bool right = anchor == paneanchor::kBottomRight || anchor == paneanchor::kTopRight;
        const bool bottom = anchor == paneanchor::kBottomLeft || anchor == paneanchor::kBottomRight;
        const VImage square =
            rgba.crop(right ? rgba.width() - w : 0, bottom ? rgba.height() - h : 0, w, h);
        const VImage bgra =
            VImage::bandjoin({square[2], square[1], square[0], square[3]}).copy_memory();
        vips_error_clear();
        if (stream.Damaged())
            return hr::kFail;
        out = bgra;
        return hr::kOk;
    } catch (const VError&) {
        vips_error_clear();
        return hr::kFail;
    } catch (const std::bad_alloc&) {
        return hr::kOutOfMemory;
    }
}
