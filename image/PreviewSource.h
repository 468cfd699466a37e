// CPreviewSource: what a window keeps of an image to show it converted in two panes, the whole
// result fitted to one and a corner of it at real size in the other, at a cost that follows the
// panes and not the image.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "foundation/Types.h"
#include "image/DecodeLimits.h"
#include "image/Dib.h"
#include "image/OutputChoice.h"
#include "image/PaneAnchor.h"
#include "image/RoundSettings.h"
#include "image/RowSink.h"

// Built once from a decoded source: a copy reduced for the whole pane, and the corners of the
// source at falling scales (the source's own, a half, a quarter, ...), each corner kCornerSide
// pixels square, while the four corners of a scale lie apart; from the first scale at which they
// would meet, the whole image at that scale and at every further half, until one fits in a
// corner's room. Each kept pixel is the average of the pixels it covers, the colours weighted by
// their alpha; a corner's squares are counted from its own corner of the image, a whole scale's
// from the top left. A corner of the result at real size is then resampled from the finest scale
// that covers it, with the rounding and the fade of the full-size result and its background, so
// that it shows what the conversion writes there. Read only once built: any thread.
class CPreviewSource : public CRowSink {
public:
    // The side of a corner kept at each scale: room for a corner pane of up to 380 logical pixels
    // on a screen of twice the scale, whose pane takes its image in device pixels, and the reach
    // of the resampling kernel.
    static constexpr i32 kCornerSide = 768;
    // The longer side of the copy kept for the whole pane.
    static constexpr i32 kWholeSide = 1024;

    CPreviewSource();
    CPreviewSource(const CPreviewSource&) = delete;
    CPreviewSource& operator=(const CPreviewSource&) = delete;
    ~CPreviewSource() override;

    // 0x80070057 for a source that is not a 32-bit image, 0x8007000E when memory runs out.
    HResult Build(const CDib& source);
    // The same from rows as a conversion reads them: Begin, every row through Row, then End,
    // which fails with 0x80004005 when rows are missing and with 0x8007000E when memory ran out.
    // A source decoded at a reduced size gives its finest scale at that reduction.
    void Begin(Size rows, i32 reduction, Size declared, i32 bands) override;
    void Row(const u8* pixels) override;
    void TakeColourProfile(std::vector<u8> profile) override;
    // The orientation of the source's tag: the rows are kept as stored, and a result for an
    // output that asks for the upright picture (OutputChoice::upright) is turned upright.
    void TakeOrientation(u32 orientation) override;
    HResult End();
    // The file that the rows came from, after End, before the copy is shared with another thread;
    // it replaces the one given before.
    // A corner pane that asks for more detail than a copy decoded at a reduced size holds reads
    // its corner from the file at full resolution, once for each corner of the file, the first
    // time that it is shown; a file that cannot be read that way (it changed or went) leaves
    // the pane enlarged from the copy.
    void SetSourceFile(const std::wstring& path, const CDecodeLimits& limits);
    // The size of the source as the output shows it: upright when the output asks for that.
    Size SourceSize(const OutputChoice& output = {}) const;
    // The profile of the source's colour space, empty for sRGB. The rendered images carry it.
    const std::vector<u8>& ColourProfile() const { return profile_; }

    // The result is the source shrunk to `fitted` (FittedSize of the shrink, image/Shrink.h, which
    // the caller works out once for both panes), with the corners and edges of `round` and the
    // alpha and background of `output`.

    // The whole result, fitted to `size` (the caller fits the result's shape into the pane), in
    // `out`. The corners and the fade are those of the full-size result, scaled with it.
    // strid::kRoundFailed when the pixels could not be made; 0 with `out` empty for a source
    // without pixels or a size of no area.
    u32 RenderWhole(const RoundSettings& round, const OutputChoice& output, Size fitted, Size size,
                    CDibPtr& out) const;

    // The corner of the result at `anchor` (one of the corners of paneanchor::, not kWhole) at
    // real size, at most `size` (the part of the result that a pane of that size shows), in
    // `out`. Failures as RenderWhole.
    u32 RenderCorner(const RoundSettings& round, const OutputChoice& output, Size fitted,
                     u32 anchor, Size size, CDibPtr& out) const;

private:
    // A row as the kept scales hold it (blue, green, red, alpha) with its least alpha.
    void TakeRow(const u8* bgra, u8 leastAlpha);

    // The turn of the results for this output: the source's orientation or none.
    u32 Turn(const OutputChoice& output) const;

    struct Impl;
    std::unique_ptr<Impl> impl_;
    std::vector<u8> profile_;
    u32 orientation_ = 1;
};
