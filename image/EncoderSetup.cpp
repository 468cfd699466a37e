// Preparing the encoder for a save type: the saver with its MIME type and parameters, and whether
// the chosen format keeps alpha.
#include "image/EncoderSetup.h"

#include <string>

#include "image/OutputAlpha.h"

namespace {

// Steps shared by every format: whether it keeps alpha, a fresh saver, the encoder by MIME type.
HResult StartSaver(const std::wstring& mimeType, u32 saveType,
                   boost::shared_ptr<Gdiplus::CImageSaver>& saver, bool& keepsAlpha) {
    keepsAlpha = FormatKeepsAlpha(saveType);
    saver.reset(new Gdiplus::CImageSaver);
    const HResult code = saver->SelectEncoder(mimeType);
    if (Failed(code)) {
        saver.reset();
    }
    return code;
}

} // namespace

HResult PrepareBmpEncoder(boost::shared_ptr<Gdiplus::CImageSaver>& saver, bool& keepsAlpha) {
    return StartSaver(L"image/bmp", savetype::kBmp, saver, keepsAlpha);
}

HResult PrepareJpegEncoder(u32 quality, boost::shared_ptr<Gdiplus::CImageSaver>& saver,
                           bool& keepsAlpha) {
    const HResult code = StartSaver(L"image/jpeg", savetype::kJpeg, saver, keepsAlpha);
    if (Failed(code)) {
        return code;
    }
    if (saver->params.AddLongParam(Gdiplus::EncoderQuality, Gdiplus::EncoderParameterValueTypeLong,
                                   quality) == -1) {
        return hr::kNotImpl;
    }
    return code;
}

HResult PreparePngEncoder(boost::shared_ptr<Gdiplus::CImageSaver>& saver, bool& keepsAlpha) {
    return StartSaver(L"image/png", savetype::kPng, saver, keepsAlpha);
}

HResult PrepareEncoder(u32 saveType, u32 jpegQuality,
                       boost::shared_ptr<Gdiplus::CImageSaver>& saver, bool& keepsAlpha) {
    switch (saveType) {
    case savetype::kBmp:
        return PrepareBmpEncoder(saver, keepsAlpha);
    case savetype::kJpeg:
        return PrepareJpegEncoder(jpegQuality, saver, keepsAlpha);
    default:
        return PreparePngEncoder(saver, keepsAlpha);
    }
}
