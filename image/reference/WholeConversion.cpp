// The whole-image road: shrink, round and fade, background and encoder on a whole CDib.
#include "image/reference/WholeConversion.h"

#include "image/Background.h"
#include "image/Blur.h"
#include "image/Decode.h"
#include "image/Draw.h"
#include "image/ImageIo.h"
#include "image/Round.h"
#include "image/Shrink.h"
#include "image/reference/WholeEncoders.h"
#include "resources/StringIds.h"

HResult ResizeImage(CDibPtr& result, const Rect& dst, const CDib& source, const Rect& src) {
    if (!IsDib32(source))
        return hr::kNotEnoughMemory;
    BitmapInfoHeader header = *source.Header();
    header.biWidth = dst.right - dst.left;
    header.biHeight = dst.bottom - dst.top;
    header.biBitCount = 32;
    header.biCompression = 0;
    header.biSizeImage = 0;
    CDibPtr target(new CDib);
    if (!target->CreateFromHeader(&header))
        return hr::kNotEnoughMemory;
    // A target of no area has no bits to allocate; the draw below refuses it.
    if (target->GetSizeImage() > 0) {
        if (!target->AllocBits())
            return hr::kNotEnoughMemory;
        target->ClearBits();
    }
    if (!DrawImageRect(source, src, *target, dst, interp::kHighQuality))
        return hr::kNotImpl;
    target->SetColourProfile(source.ColourProfile());
    result = target;
    return hr::kOk;
}

HResult RoundImage(CDibPtr& result, const CDib& source, bool topLeft, bool bottomLeft,
                   bool bottomRight, bool topRight, double radiusX, double radiusY) {
    const HResult copied = CopyDib32(result, source);
    if (Failed(copied))
        return copied;
    return RoundCorners(*result, topLeft, bottomLeft, bottomRight, topRight, radiusX, radiusY);
}

HResult BlurImage(CDibPtr& result, const CDib& source, bool topLeft, bool bottomLeft,
                  bool bottomRight, bool topRight, double width, bool left, bool top, bool right,
                  bool bottom, double radiusX, double radiusY) {
    const HResult copied = CopyDib32(result, source);
    if (Failed(copied))
        return copied;
    return BlurEdges(*result, topLeft, bottomLeft, bottomRight, topRight, left, top, right, bottom,
                     radiusX, radiusY, width);
}

CDibPtr ShrinkWhole(const CDibPtr& source, const ShrinkSettings& shrink, WholeFailure& failure) {
    const Size size{source ? source->Width() : 0, source ? source->Height() : 0};
    Size fitted;
    failure = WholeFailure{FittedSize(shrink, size, fitted), 0};
    if (failure.errorId != 0)
        return {};
    if (fitted.cx == size.cx && fitted.cy == size.cy)
        return source;
    CDibPtr resized;
    const HResult code = ResizeImage(resized, Rect{0, 0, fitted.cx, fitted.cy}, *source,
                                     Rect{0, 0, size.cx, size.cy});
    if (Failed(code)) {
        failure = WholeFailure{strid::kResizeFailed, code};
        return {};
    }
    return resized;
}

CDibPtr RoundWhole(const CDib& source, const RoundSettings& round, WholeFailure& failure) {
    const CornerFlags c = CornerFlagsOf(round.corners);
    const EdgeFlags e = EdgeFlagsOf(round.edges);
    const double r = ResolveLength(round.radius, source.Width(), source.Height());
    const double width = ResolveLength(round.blurWidth, source.Width(), source.Height());
    CDibPtr rounded;
    HResult code =
        RoundImage(rounded, source, c.topLeft, c.bottomLeft, c.bottomRight, c.topRight, r, r);
    if (Failed(code)) {
        failure = WholeFailure{strid::kRoundFailed, code};
        return {};
    }
    // The rounded copy is this call's own, so it is faded in place.
    code = BlurEdges(*rounded, c.topLeft, c.bottomLeft, c.bottomRight, c.topRight, e.left, e.top,
                     e.right, e.bottom, r, r, width);
    if (Failed(code)) {
        failure = WholeFailure{strid::kBlurFailed, code};
        return {};
    }
    failure = WholeFailure();
    return rounded;
}

CDibPtr ConvertWhole(const CDibPtr& source, const ShrinkSettings& shrink,
                     const RoundSettings& round, const OutputChoice& output,
                     WholeFailure* failure) {
    WholeFailure own;
    WholeFailure& f = failure ? *failure : own;
    const CDibPtr shrunk = ShrinkWhole(source, shrink, f);
    if (!shrunk)
        return {};
    const CDibPtr rounded = RoundWhole(*shrunk, round, f);
    if (!rounded || output.keepAlpha)
        return rounded;
    CDibPtr filled;
    const HResult code = FillBackground(filled, *rounded, output.backgroundColor);
    if (Failed(code)) {
        f = WholeFailure{strid::kBackgroundFailed, code};
        return {};
    }
    return filled;
}

HResult ConvertWholeFile(const u8* data, size_t size, const ShrinkSettings& shrink,
                         const RoundSettings& round, const OutputChoice& output,
                         std::vector<u8>& out) {
    CDibPtr image;
    const HResult code = DecodeImage(data, size, image);
    if (Failed(code))
        return code;
    const CDibPtr result = ConvertWhole(image, shrink, round, output);
    return result ? EncodeWhole(*result, output, out) : hr::kFail;
}

HResult LoadImageFile(CDibPtr& out, const std::wstring& path) {
    CFileBytes bytes;
    const HResult code = ReadFileToBuffer(bytes, path);
    return Failed(code) ? code : DecodeImage(bytes.data.get(), bytes.size, out);
}
