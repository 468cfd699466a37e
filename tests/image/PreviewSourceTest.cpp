// Tests of the preview's copy of an image: its corners against the same corners of the whole
// conversion, exactly without a shrink and within a few levels with one, and the whole pane.
#include "image/PreviewSource.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "image/Draw.h"
#include "image/Shrink.h"
#include "image/StreamConvert.h"
#include "image/reference/WholeConversion.h"
#include "image/reference/WholeEncoders.h"
#include "support/Files.h"
#include "support/IccProfiles.h"
#include "support/PixelTestUtil.h"
#include "tools/Scene.h"

namespace {

using namespace testutil;

CDibPtr Picture(i32 width, i32 height, bool withAlpha) {
    const std::vector<u8> rgb = PaintScene(width, height, 3);
    return MakeDib(width, height, [&](i32 x, i32 y) {
        const u8* p = rgb.data() + (static_cast<size_t>(y) * width + x) * 3;
        return Bgra{p[2], p[1], p[0], withAlpha ? static_cast<u8>(128 + (x + y) % 128) : u8{255}};
    });
}

// The size of the preview's source under the shrink, as the window works it out for its panes.
Size Fitted(const CPreviewSource& preview, const ShrinkSettings& shrink) {
    Size fitted;
    EXPECT_EQ(FittedSize(shrink, preview.SourceSize(), fitted), 0u);
    return fitted;
}

ShrinkSettings Box(i32 side) {
    return {.shrinkType = shrinktype::kCustom, .customWidth = side, .customHeight = side};
}

// The part of `whole` that a pane of `size` shows at `anchor`.
CDibPtr CornerOf(const CDib& whole, u32 anchor, Size size) {
    const i32 w = std::min(size.cx, whole.Width());
    const i32 h = std::min(size.cy, whole.Height());
    const i32 left = anchor == 3 || anchor == 4 ? whole.Width() - w : 0;
    const i32 top = anchor == 2 || anchor == 3 ? whole.Height() - h : 0;
    return MakeDib(w, h, [&](i32 x, i32 y) { return PixelOf(whole, left + x, top + y); });
}

// Each corner pane against the same corner of the whole conversion, and the whole pane against
// the result scaled to it. Without a shrink a corner is exact, cut from the source when that is
// larger than a kept corner and from the kept whole when small. With one, a part's sampling grid
// lies within a quarter pixel of the whole image's and the kept scales are box averages.
TEST(PreviewSourceTest, CornersAndTheWholeStayWithTheConversion) {
    const RoundSettings exact{.radius = LengthValue{lengthunit::kPixels, 370, 0},
                              .blurWidth = LengthValue{lengthunit::kPixels, 55, 0}};
    const RoundSettings shrunk{.radius = LengthValue{lengthunit::kShortEdgeShare, 0, 100},
                               .blurWidth = LengthValue{lengthunit::kPixels, 30, 0}};
    const struct {
        Size size;
        i32 box;
    } cases[] = {{{1500, 900}, 0},    {{300, 200}, 0},     {{3000, 2000}, 1600},
                 {{3000, 2000}, 700}, {{3000, 2000}, 400}, {{3000, 2000}, 150}};
    for (const auto& c : cases) {
        // Without a shrink: opaque and translucent sources, each kept opaque and transparent.
        for (int variant = 0; variant < (c.box ? 1 : 4); ++variant) {
            const ShrinkSettings shrink = c.box ? Box(c.box) : ShrinkSettings();
            const RoundSettings& round = c.box ? shrunk : exact;
            const OutputChoice output{.keepAlpha = variant >= 2,
                                      .backgroundColor = c.box ? 0xFFFFFFu : 0x00203040u};
            CDibPtr source = Picture(c.size.cx, c.size.cy, variant % 2 == 1);
            CPreviewSource preview;
            ASSERT_EQ(preview.Build(*source), 0u);
            EXPECT_EQ(preview.SourceSize(), c.size);
            const Size fitted = Fitted(preview, shrink);
            CDibPtr whole = ConvertWhole(source, shrink, round, output);
            ASSERT_TRUE(whole);
            for (u32 anchor = 1; anchor <= 4; ++anchor) {
                CDibPtr corner;
                ASSERT_EQ(
                    preview.RenderCorner(round, output, fitted, anchor, Size{236, 263}, corner),
                    0u);
                ASSERT_TRUE(corner);
                CDibPtr expected = CornerOf(*whole, anchor, Size{236, 263});
                ASSERT_EQ(corner->Width(), expected->Width());
                ASSERT_EQ(corner->Height(), expected->Height());
                const PixelDifference d = DifferenceOf(*corner, *expected);
                EXPECT_LE(d.largest, c.box ? 64 : 0)
                    << c.size.cx << " " << c.box << " anchor " << anchor << " variant " << variant;
                EXPECT_LT(d.mean, 1.5) << c.box << " anchor " << anchor;
            }
            if (c.box == 0)
                continue;
            const Size pane{std::min(200, whole->Width()), std::min(133, whole->Height())};
            CDibPtr shown;
            ASSERT_EQ(preview.RenderWhole(round, output, fitted, pane, shown), 0u);
            CDib scaled;
            ASSERT_EQ(DrawImageIntoDib(*whole, Rect{0, 0, whole->Width(), whole->Height()}, scaled,
                                       pane, interp::kHighQuality),
                      0u);
            EXPECT_LT(DifferenceOf(*shown, scaled).mean, 1.5) << c.box;
        }
    }
}

// The window renders after every change from one preview source: whatever came before, each
// render equals that of a source that renders it first, and an image handed out earlier (which a
// pane still shows) is never drawn on again.
TEST(PreviewSourceTest, EachRenderIsTheSameWhateverCameBefore) {
    CDibPtr source = Picture(1500, 900, true);
    CPreviewSource used;
    ASSERT_EQ(used.Build(*source), 0u);
    const struct {
        i32 box, radius;
        u32 corners, edges;
        bool transparent;
    } changes[] = {{0, 30, 15, 0, false}, {0, 60, 15, 0, false},  {0, 60, 2, 5, true},
                   {700, 60, 2, 5, true}, {700, 20, 8, 0, false}, {0, 20, 8, 0, false}};
    CDibPtr firstWhole;
    CDibPtr firstCorner;
    std::vector<u8> firstWholeBytes;
    for (const auto& change : changes) {
        const Size fitted = Fitted(used, change.box > 0 ? Box(change.box) : ShrinkSettings());
        const RoundSettings round{.corners = change.corners,
                                  .edges = change.edges,
                                  .radius = LengthValue{lengthunit::kPixels, change.radius, 0},
                                  .blurWidth = LengthValue{lengthunit::kPixels, 25, 0}};
        const OutputChoice output{.keepAlpha = change.transparent, .backgroundColor = 0x00102030};
        const u32 anchor = change.corners == 8 ? 4u : change.corners == 2 ? 2u : 1u;
        CPreviewSource fresh;
        ASSERT_EQ(fresh.Build(*source), 0u);
        CDibPtr whole, corner, freshWhole, freshCorner;
        ASSERT_EQ(used.RenderWhole(round, output, fitted, Size{240, 144}, whole), 0u);
        ASSERT_EQ(used.RenderCorner(round, output, fitted, anchor, Size{200, 220}, corner), 0u);
        ASSERT_EQ(fresh.RenderWhole(round, output, fitted, Size{240, 144}, freshWhole), 0u);
        ASSERT_EQ(fresh.RenderCorner(round, output, fitted, anchor, Size{200, 220}, freshCorner),
                  0u);
        EXPECT_TRUE(PixelsNear(*whole, *freshWhole, 0)) << change.box << " " << change.radius;
        EXPECT_TRUE(PixelsNear(*corner, *freshCorner, 0)) << change.box << " " << change.radius;
        if (!firstWhole) {
            firstWhole = whole;
            firstCorner = corner;
            firstWholeBytes.assign(whole->Bits(), whole->Bits() + whole->GetSizeImage());
        }
    }
    EXPECT_NE(firstWhole, firstCorner);
    EXPECT_EQ(std::vector<u8>(firstWhole->Bits(), firstWhole->Bits() + firstWhole->GetSizeImage()),
              firstWholeBytes);
}

// The panes show a source in its own colour space: what the preview renders carries the source's
// profile, whichever way the preview was made, and a source without one renders without one.
TEST(PreviewSourceTest, TheRendersCarryTheSourcesColourProfile) {
    const std::vector<u8> profile = AdobeRgbProfile();
    const RoundSettings round{.radius = LengthValue{lengthunit::kPixels, 30, 0}};
    for (bool transparent : {false, true}) {
        const OutputChoice output{.keepAlpha = transparent};
        CDibPtr source = Picture(700, 500, transparent);
        source->SetColourProfile(profile);
        CPreviewSource built;
        ASSERT_EQ(built.Build(*source), 0u);
        EXPECT_EQ(built.ColourProfile(), profile);
        // From rows, as a streamed conversion hands them over with the file's profile.
        std::vector<u8> png;
        ASSERT_EQ(EncodePng(*source, true, png), 0u);
        CPreviewSource streamed;
        ASSERT_EQ(ReadRows(png.data(), png.size(), {}, streamed), 0u);
        ASSERT_EQ(streamed.End(), 0u);
        for (const CPreviewSource* preview : {&built, &streamed}) {
            CDibPtr whole;
            CDibPtr corner;
            const Size fitted = Fitted(*preview, Box(200));
            ASSERT_EQ(preview->RenderWhole(round, output, fitted, Size{150, 107}, whole), 0u);
            ASSERT_EQ(preview->RenderCorner(round, output, fitted, 1, Size{100, 100}, corner), 0u);
            ASSERT_TRUE(whole && corner);
            EXPECT_EQ(whole->ColourProfile(), profile) << transparent;
            EXPECT_EQ(corner->ColourProfile(), profile) << transparent;
        }
        // A new source starts without the last one's profile.
        streamed.Begin(Size{4, 4}, 1, Size{4, 4}, 3);
        const u8 grey[12] = {};
        for (int y = 0; y < 4; ++y)
            streamed.Row(grey);
        ASSERT_EQ(streamed.End(), 0u);
        CDibPtr plain;
        ASSERT_EQ(streamed.RenderWhole(round, output, Size{4, 4}, Size{4, 4}, plain), 0u);
        ASSERT_TRUE(plain);
        EXPECT_TRUE(plain->ColourProfile().empty());
        EXPECT_TRUE(streamed.ColourProfile().empty());
    }
}

// Rows that a streamed conversion halved while decoding a JPEG: the preview keeps the declared
// size, its panes are those of a preview of the full decode, and a magenta block near the bottom
// right of the source shows where the corner pane puts it. With no shrink a corner is exact.
TEST(PreviewSourceTest, RowsHalvedWhileDecodingRenderAsTheFullDecode) {
    struct Halved : CPreviewSource {
        i32 reduction = 0;
        void Begin(Size rows, i32 reduce, Size declared, i32 bands) override {
            reduction = reduce;
            CPreviewSource::Begin(rows, reduce, declared, bands);
        }
    } halved;
    CDibPtr source = Picture(1920, 1440, false);
    for (i32 y = 1344; y < 1392; ++y)
        for (i32 x = 1824; x < 1872; ++x)
            std::copy_n("\xFF\x00\xFF\xFF", 4, source->PixelAt(x, y));
    std::vector<u8> jpeg;
    ASSERT_EQ(EncodeJpeg(*source, 90, jpeg), 0u);
    const RoundSettings round{.radius = LengthValue{lengthunit::kPixels, 30, 0}};
    const OutputChoice output;
    const StreamOptions options{.reduceWhileDecoding = true, .sourceRows = &halved};
    std::vector<u8> out;
    StreamFailure failure;
    // A box of a sixth of the source or less: halved.
    ASSERT_EQ(
        ConvertStream(jpeg.data(), jpeg.size(), {}, Box(200), round, output, options, out, failure),
        0u);
    ASSERT_EQ(halved.End(), 0u);
    CPreviewSource full;
    ASSERT_EQ(ReadRows(jpeg.data(), jpeg.size(), {}, full), 0u);
    ASSERT_EQ(full.End(), 0u);
    EXPECT_EQ(halved.reduction, 2);
    EXPECT_EQ(halved.SourceSize(), (Size{1920, 1440}));
    // The whole pane for anchor 0, else that corner.
    ShrinkSettings shrink;
    auto render = [&](const CPreviewSource& preview, u32 anchor) {
        const Size fitted = Fitted(preview, shrink);
        CDibPtr made;
        EXPECT_EQ(anchor ? preview.RenderCorner(round, output, fitted, anchor, Size{236, 263}, made)
                         : preview.RenderWhole(round, output, fitted, Size{200, 150}, made),
                  0u);
        return made;
    };
    for (i32 box : {200, 900}) {
        shrink = Box(box);
        for (u32 anchor = 0; anchor <= 4; ++anchor) {
            CDibPtr a = render(halved, anchor);
            CDibPtr b = render(full, anchor);
            ASSERT_TRUE(a && b && a->Width() == b->Width() && a->Height() == b->Height());
            // Measured: means of at most 0.26 and no channel more than 5 levels apart.
            const PixelDifference d = DifferenceOf(*a, *b);
            EXPECT_TRUE(d.mean < 1.0 && d.largest <= 16)
                << box << " " << anchor << ": " << d.largest;
        }
        // The block's middle, (1848, 1368) of the source, in the bottom right corner pane.
        CDibPtr corner = render(halved, 3);
        const i32 x = 1848 * box / 1920 - (box - corner->Width());
        const i32 y = 1368 * box / 1920 - (box * 3 / 4 - corner->Height());
        EXPECT_TRUE(Near(PixelOf(*corner, x, y), Bgra{255, 0, 255, 255}, 8)) << box;
    }
    // No shrink asks for more than the halved copy holds: each corner is the file's own pixels,
    // read from it again; a file that cannot be read leaves it enlarged from the copy.
    shrink = ShrinkSettings();
    CTempDir dir;
    WriteBytes(dir / "a.jpg", jpeg);
    for (const char* file : {"a.jpg", "gone.jpg"}) {
        halved.SetSourceFile(W(dir / file), {});
        for (u32 anchor = 1; anchor <= 4; ++anchor) {
            const int largest =
                DifferenceOf(*render(halved, anchor), *render(full, anchor)).largest;
            EXPECT_EQ(largest == 0, file == std::string("a.jpg")) << file << anchor << largest;
        }
    }
}

} // namespace
