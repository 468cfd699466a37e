// CScreen: the drawing surface that widgets paint on; CDCScreen over a QPainter or an image.
#pragma once

#include <memory>

#include <QImage>
#include <QPainter>
#include <QRect>

#include "foundation/Types.h"
#include "image/Dib.h"

// A COLORREF: 0x00BBGGRR.
using ColorRef = u32;

// The interpolation with which an image is scaled on to a surface, by the quality asked for and
// the change of size: 0 same size, 1 enlarging, -1 otherwise.
i32 InterpolationFor(i32 quality, i32 change);

inline QRect ToQRect(const Rect& r) {
    return QRect(r.left, r.top, r.Width(), r.Height());
}

// A rectangle of logical pixels in device pixels, at `ratio` device pixels to a logical one: each
// side is rounded on its own, so that rectangles that touch keep touching.
Rect ToDevicePixels(const Rect& r, double ratio);

// A drawing surface. Every operation takes rectangles in the caller's coordinates: a surface
// maps its own rectangle's top-left corner to the first pixel of what it draws on. Its
// coordinates are device pixels; a widget turns its rectangle, in the logical pixels of its
// window, into them with PixelRatio, so that an image drawn at its own size is one image pixel to
// one device pixel at any scale. Main thread only.
class CScreen {
public:
    virtual ~CScreen() = default;

    // The surface has something to draw on.
    virtual bool IsValid() const = 0;
    virtual const Rect* GetRect() const = 0;
    // Device pixels to one logical pixel of the window that the surface paints (1 off screen).
    virtual double PixelRatio() const = 0;
    // The pixels behind the surface, for reading them back; null when they cannot be read (a
    // surface over a window's painter).
    virtual const QImage* GetImage() const = 0;
    // Plain copy of the rectangle from `source`, same coordinates on both sides.
    virtual bool CopyFrom(const CScreen& source, const Rect& rect) = 0;
    // The rectangle of `source` over this surface with constant alpha. Only the constant alpha is
    // meant: the surfaces that widgets blend back are filled before anything is drawn on them,
    // so they are opaque (a source with transparent pixels would also blend by those).
    virtual bool BlendFrom(const CScreen& source, const Rect& rect, u8 alpha) = 0;
    // Draws the `source` rectangle of `image` (y from the top of the image) scaled to
    // `destination`, with its per-pixel alpha and the constant `alpha`. False without a
    // header or bits, or when scaling fails; true without drawing for empty rectangles or alpha 0.
    virtual bool DrawDib(const Rect& destination, const CDib& image, const Rect& source, u8 alpha,
                         i32 quality) = 0;
    virtual void FillRect(ColorRef color, const Rect& rect) = 0;
};

// A surface over a painter: one that a caller hands in (the window's paint), or one of its own
// over an image, attached or made here as an off-screen buffer. Lives for one paint.
class CDCScreen : public CScreen {
public:
    CDCScreen() = default;
    CDCScreen(const CDCScreen&) = delete;
    CDCScreen& operator=(const CDCScreen&) = delete;
    ~CDCScreen() override;

    // An off-screen buffer of the rectangle's size in premultiplied ARGB, opaque black at first,
    // whose coordinates are the rectangle's. The reference surface is the one that it will be
    // blended back to; the buffer always has the same pixel form and takes its pixel ratio.
    // hr::kFail for an empty rectangle or when memory runs out.
    HResult Create(const CScreen& reference, const Rect& rect);
    // Takes a painter that stays the caller's; its state is put back by Release. The rectangle is
    // in the painter's own coordinates; on a device of more than one pixel to a logical one
    // (a scaled screen) the surface's coordinates, its rectangle included, are device pixels.
    void Attach(QPainter* painter, const Rect& rect);
    // Paints on an image that stays the caller's.
    void Attach(QImage* image, const Rect& rect);
    // Ends the painting, frees an owned buffer and zeroes the rectangle.
    void Release();

    bool IsValid() const override { return painter_ != nullptr; }
    const Rect* GetRect() const override { return &rect_; }
    double PixelRatio() const override { return ratio_; }
    const QImage* GetImage() const override { return image_; }
    bool CopyFrom(const CScreen& source, const Rect& rect) override;
    bool BlendFrom(const CScreen& source, const Rect& rect, u8 alpha) override;
    bool DrawDib(const Rect& destination, const CDib& image, const Rect& source, u8 alpha,
                 i32 quality) override;
    void FillRect(ColorRef color, const Rect& rect) override;

private:
    void BeginOwnPainter();
    bool DrawFrom(const CScreen& source, const Rect& rect, bool blend, u8 alpha);

    bool owned_ = false; // the buffer was made here
    Rect rect_;
    double ratio_ = 1.0;
    std::unique_ptr<QImage> buffer_;
    std::unique_ptr<QPainter> ownPainter_;
    QImage* image_ = nullptr;     // what the painter draws on, when it is an image
    QPainter* painter_ = nullptr; // own or attached
    bool restoreState_ = false;   // an attached painter whose state was saved
};
