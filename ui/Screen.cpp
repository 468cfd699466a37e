// The drawing surface: fills, copies and blends between surfaces, and images drawn with scaling
// and alpha.
#include "ui/Screen.h"

#include <cmath>
#include <cstring>

#include <QColor>
#include <QPainter>
#include <QtGlobal>

#include "image/Draw.h"

// A 32-bit pixel of a CDib is the bytes blue, green, red, alpha: on a little-endian machine that
// is exactly one pixel of QImage's ARGB32 formats, so rows move between the two by memcpy.
#if Q_BYTE_ORDER != Q_LITTLE_ENDIAN
#error "The surface relies on BGRA bytes being QImage's ARGB32 pixels"
#endif

namespace {

// Opaque black: what a freshly made off-screen buffer holds before anything is drawn on it.
constexpr QRgb kOpaqueBlack = 0xFF000000u;

QColor ColorFromRef(ColorRef color) {
    return QColor(static_cast<int>(color & 0xFF), static_cast<int>((color >> 8) & 0xFF),
                  static_cast<int>((color >> 16) & 0xFF));
}

// The change of size from source to destination: 0 none, 1 more pixels, -1 otherwise.
i32 SizeChange(const Rect& destination, const Rect& source) {
    if (destination.Width() == source.Width() && destination.Height() == source.Height())
        return 0;
    const i64 dstArea = static_cast<i64>(destination.Width()) * destination.Height();
    const i64 srcArea = static_cast<i64>(source.Width()) * source.Height();
    return dstArea > srcArea ? 1 : -1;
}

// A premultiplied image of the rows of a bottom-up 32-bit CDib, top row first.
QImage TopDownImage(const CDib& dib) {
    QImage image(dib.Width(), dib.Height(), QImage::Format_ARGB32_Premultiplied);
    if (image.isNull())
        return image;
    const size_t rowBytes = static_cast<size_t>(dib.Width()) * 4;
    for (i32 y = 0; y < dib.Height(); ++y)
        std::memcpy(image.scanLine(y), dib.PixelAt(0, y), rowBytes);
    return image;
}

} // namespace

Rect ToDevicePixels(const Rect& r, double ratio) {
    if (ratio == 1.0)
        return r;
    auto scaled = [ratio](i32 v) { return static_cast<i32>(std::lround(v * ratio)); };
    return Rect{scaled(r.left), scaled(r.top), scaled(r.right), scaled(r.bottom)};
}

i32 InterpolationFor(i32 quality, i32 change) {
    if (quality >= 2)
        return interp::kHighQualityBicubic;
    if (quality == 1)
        return change == 1 ? interp::kHighQualityBilinear : interp::kDefault;
    return interp::kNearestNeighbor;
}

CDCScreen::~CDCScreen() {
    Release();
}

HResult CDCScreen::Create(const CScreen& reference, const Rect& rect) {
    Release();
    owned_ = true;
    rect_ = rect;
    ratio_ = reference.PixelRatio();
    if (rect.IsEmpty())
        return hr::kFail;
    buffer_ =
        std::make_unique<QImage>(rect.Width(), rect.Height(), QImage::Format_ARGB32_Premultiplied);
    if (buffer_->isNull()) {
        buffer_.reset();
        return hr::kFail;
    }
    buffer_->fill(kOpaqueBlack);
    image_ = buffer_.get();
    BeginOwnPainter();
    return IsValid() ? hr::kOk : hr::kFail;
}

void CDCScreen::Attach(QPainter* painter, const Rect& rect) {
    Release();
    rect_ = rect;
    if (!painter || !painter->isActive())
        return;
    painter_ = painter;
    QPaintDevice* device = painter->device();
    ratio_ = device ? device->devicePixelRatioF() : 1.0;
    // The pixels can be read back only when caller coordinates are image pixels once our own
    // origin is applied: a plain painter on an image of device pixel ratio 1.
    if (device && device->devType() == QInternal::Image &&
        painter->combinedTransform().isIdentity() && ratio_ == 1.0)
        image_ = static_cast<QImage*>(device);
    painter_->save();
    restoreState_ = true;
    if (ratio_ != 1.0) {
        rect_ = ToDevicePixels(rect, ratio_);
        painter_->scale(1.0 / ratio_, 1.0 / ratio_);
    }
    painter_->translate(-rect_.left, -rect_.top);
}

void CDCScreen::Attach(QImage* image, const Rect& rect) {
    Release();
    rect_ = rect;
    if (!image || image->isNull())
        return;
    image_ = image;
    BeginOwnPainter();
}

void CDCScreen::Release() {
    if (ownPainter_) {
        ownPainter_->end();
        ownPainter_.reset();
    } else if (painter_ && restoreState_) {
        painter_->restore();
    }
    painter_ = nullptr;
    image_ = nullptr;
    restoreState_ = false;
    buffer_.reset();
    owned_ = false;
    rect_ = Rect{};
    ratio_ = 1.0;
}

void CDCScreen::BeginOwnPainter() {
    ownPainter_ = std::make_unique<QPainter>();
    if (!ownPainter_->begin(image_)) {
        ownPainter_.reset();
        image_ = nullptr;
        return;
    }
    painter_ = ownPainter_.get();
    painter_->translate(-rect_.left, -rect_.top);
}

bool CDCScreen::CopyFrom(const CScreen& source, const Rect& rect) {
    return DrawFrom(source, rect, false, 255);
}

bool CDCScreen::BlendFrom(const CScreen& source, const Rect& rect, u8 alpha) {
    return DrawFrom(source, rect, true, alpha);
}

bool CDCScreen::DrawFrom(const CScreen& source, const Rect& rect, bool blend, u8 alpha) {
    const QImage* from = source.GetImage();
    if (!painter_ || !from)
        return false;
    if (rect.IsEmpty())
        return true;
    const Rect* origin = source.GetRect();
    const QRect target = ToQRect(rect);
    const QRect pixels = target.translated(-origin->left, -origin->top);
    painter_->save();
    painter_->setCompositionMode(blend ? QPainter::CompositionMode_SourceOver
                                       : QPainter::CompositionMode_Source);
    painter_->setOpacity(blend ? alpha / 255.0 : 1.0);
    painter_->drawImage(target, *from, pixels);
    painter_->restore();
    return true;
}

bool CDCScreen::DrawDib(const Rect& destination, const CDib& image, const Rect& source, u8 alpha,
                        i32 quality) {
    if (!image.Header() || !image.Bits())
        return false;
    if (destination.IsEmpty() || source.IsEmpty() || alpha == 0)
        return true;
    if (!painter_)
        return false;
    // The scaled pixels are a private copy at the destination's size: they are premultiplied for
    // drawing while the image itself stays straight.
    const i32 interpolation = InterpolationFor(quality, SizeChange(destination, source));
    CDib scaled;
    const Size size{destination.Width(), destination.Height()};
    if (Failed(ScaleDib(image, source, scaled, size, image.Header()->biBitCount, interpolation)))
        return false;
    if (!IsDib32(scaled))
        return false;
    scaled.PremultiplyAlpha();
    const QImage pixels = TopDownImage(scaled);
    if (pixels.isNull())
        return false;
    painter_->save();
    painter_->setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter_->setOpacity(alpha / 255.0);
    painter_->drawImage(QPoint(destination.left, destination.top), pixels);
    painter_->restore();
    return true;
}

void CDCScreen::FillRect(ColorRef color, const Rect& rect) {
    if (!painter_ || rect.IsEmpty())
        return;
    painter_->save();
    painter_->setCompositionMode(QPainter::CompositionMode_Source);
    painter_->setOpacity(1.0);
    painter_->fillRect(ToQRect(rect), ColorFromRef(color));
    painter_->restore();
}
