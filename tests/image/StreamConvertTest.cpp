// Tests of the streamed conversion: its files against those of the whole-image steps, its
// failures by stage, and the quality of a JPEG decoded at a reduced size.
#include "image/StreamConvert.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "image/Decode.h"
#include "image/IccProfileEmbed.h"
#include "image/VipsStart.h"
#include "image/reference/WholeConversion.h"
#include "resources/StringIds.h"
#include "support/AddressSpaceLimit.h"
#include "support/DeclaredBombs.h"
#include "support/IccProfiles.h"
#include "support/ImageFiles.h"
#include "support/PixelTestUtil.h"
#include "tools/Scene.h"

namespace {

using namespace testutil;

struct Source {
    const char* name;
    std::vector<u8> bytes;
};

// The RGB pixels with the alpha that alphaOf gives the pixel of each index.
template <typename AlphaOf> std::vector<u8> WithAlpha(const std::vector<u8>& rgb, AlphaOf alphaOf) {
    std::vector<u8> rgba;
    for (size_t i = 0; i < rgb.size(); i += 3) {
        rgba.insert(rgba.end(), rgb.begin() + static_cast<std::ptrdiff_t>(i),
                    rgb.begin() + static_cast<std::ptrdiff_t>(i) + 3);
        rgba.push_back(alphaOf(i / 3));
    }
    return rgba;
}

// The RGBA pixels as an uncompressed BMP: the green band through a palette of greys at 8 bits, bit
// fields with the alpha mask at 32. Each bit count's own decoding is BmpReaderTest's.
std::vector<u8> AsBmp(const std::vector<u8>& rgba, i32 width, i32 height, u16 bits, bool topDown) {
    BmpParts parts{.headerSize = bits == 32 ? 56u : 40u,
                   .width = width,
                   .height = topDown ? -height : height,
                   .bitCount = bits,
                   .compression = bits == 32 ? kBmpBitfields : kBmpRgb,
                   .masks = {0xFF0000, 0xFF00, 0xFF, 0xFF000000}};
    for (u32 grey = 0; bits == 8 && grey < 256; ++grey)
        parts.palette.insert(parts.palette.end(), {u8(grey), u8(grey), u8(grey), 0});
    const size_t stride = (static_cast<size_t>(width) * bits + 31) / 32 * 4;
    for (i32 row = 0; row < height; ++row) {
        std::vector<u8> line(stride);
        const u8* px =
            rgba.data() + static_cast<size_t>(topDown ? row : height - 1 - row) * width * 4;
        for (size_t x = 0; x < static_cast<size_t>(width); ++x, px += 4) {
            if (bits == 8)
                line[x] = px[1];
            else
                std::copy_n(std::initializer_list<u8>{px[2], px[1], px[0], px[3]}.begin(), 4,
                            &line[x * 4]);
        }
        parts.pixels.insert(parts.pixels.end(), line.begin(), line.end());
    }
    return MakeBmp(parts);
}

// The test picture as a JPEG, PNGs and BMPs top-down and bottom-up; with `profiled`, in Adobe RGB
// (1998) with its profile, as a photographer's camera or editor writes it.
std::vector<Source> Sources(bool profiled = false) {
    const i32 w = 211;
    const i32 h = 143;
    const std::vector<u8> rgb = TestPictureRgb(w, h);
    if (profiled) {
        const std::vector<u8> rgba =
            WithAlpha(rgb, [](size_t pixel) { return static_cast<u8>(255 - pixel * 11 % 200); });
        const std::vector<u8> profile = AdobeRgbProfile();
        return {{"adobe rgb jpeg", EncodedWithVips(rgb, w, h, 3, ".jpg[Q=95]", profile)},
                {"adobe rgb png", EncodedWithVips(rgb, w, h, 3, ".png", profile)},
                {"adobe rgb png rgba", EncodedWithVips(rgba, w, h, 4, ".png", profile)}};
    }
    const std::vector<u8> rgba =
        WithAlpha(rgb, [](size_t pixel) { return static_cast<u8>(pixel * 37 % 256); });
    std::vector<u8> grey;
    for (size_t i = 0; i < rgb.size(); i += 3)
        grey.push_back(rgb[i + 1]);
    return {{"jpeg", EncodedWithVips(rgb, w, h, 3, ".jpg")},
            {"png rgb", EncodedWithVips(rgb, w, h, 3, ".png")},
            {"png rgba", EncodedWithVips(rgba, w, h, 4, ".png")},
            {"png grey", EncodedWithVips(grey, w, h, 1, ".png")},
            {"bmp 8 bits top-down", AsBmp(rgba, w, h, 8, true)},
            {"bmp 32 bits with alpha", AsBmp(rgba, w, h, 32, false)}};
}

// Decodes an encoded output for a pixel comparison.
CDibPtr Pixels(const std::vector<u8>& encoded) {
    CDibPtr image;
    EXPECT_EQ(DecodeImage(encoded.data(), encoded.size(), image), 0u);
    return image;
}

// Converts the source streamed and whole; both must succeed, the streamed one without a failure
// stage and with the source's declared size.
::testing::AssertionResult BothWays(const Source& source, const ShrinkSettings& shrink,
                                    const RoundSettings& round, const OutputChoice& output,
                                    std::vector<u8>& streamed, std::vector<u8>& whole,
                                    const StreamOptions& options = {}) {
    StreamFailure failure;
    const HResult code = ConvertStream(source.bytes.data(), source.bytes.size(), {}, shrink, round,
                                       output, options, streamed, failure);
    if (code != 0 || failure.stage != StreamFailure::kNone || failure.declared.cx != 211)
        return ::testing::AssertionFailure()
               << source.name << ": streamed code " << code << ", stage " << failure.stage;
    if (ConvertWholeFile(source.bytes.data(), source.bytes.size(), shrink, round, output, whole) !=
        0)
        return ::testing::AssertionFailure() << source.name << ": the whole-image road failed";
    return ::testing::AssertionSuccess();
}

// Without a shrink the files are those of the whole-image reference byte for byte, and a source
// without a profile gives an output without one; with a shrink the pixels are within a level.
TEST(StreamConvertTest, TheFilesAreThoseOfTheWholeImageRoad) {
    std::vector<Source> sources = Sources();
    const size_t plain = sources.size();
    for (Source& profiled : Sources(true))
        sources.push_back(std::move(profiled));
    for (size_t i = 0; i < sources.size(); ++i) {
        const Source& source = sources[i];
        for (int settings = 0; settings < 4; ++settings) {
            RoundSettings round;
            round.corners = settings == 1 ? 5 : 15;
            round.edges = settings == 2 ? 10 : 15;
            round.radius = settings == 3 ? LengthValue{lengthunit::kShortEdgeShare, 0, 250}
                                         : LengthValue{lengthunit::kPixels, 100, 0};
            round.blurWidth = settings == 3 ? LengthValue{lengthunit::kShortEdgeShare, 0, 80}
                                            : LengthValue{lengthunit::kPixels, 37, 0};
            for (int kind = 0; kind < 3; ++kind) {
                const OutputChoice output{.format =
                                              kind == 0 ? OutputFormat::kJpeg : OutputFormat::kPng,
                                          .keepAlpha = kind == 2,
                                          .backgroundColor = 0x00336699};
                std::vector<u8> streamed;
                std::vector<u8> whole;
                ASSERT_TRUE(BothWays(source, {}, round, output, streamed, whole));
                EXPECT_FALSE(streamed.empty());
                EXPECT_TRUE(streamed == whole)
                    << source.name << " settings " << settings << " kind " << kind;
                EXPECT_TRUE(i >= plain || IccProfileOf(streamed).empty()) << source.name;
                // A JPEG, written without metadata, states no resolution: it reads back as 72
                // dots per inch, not the source's.
                if (kind == 0 && settings == 0) {
                    const CDibPtr back = Pixels(streamed);
                    EXPECT_EQ(back->Header()->biXPelsPerMeter, 2835) << source.name;
                    EXPECT_EQ(back->Header()->biYPelsPerMeter, 2835) << source.name;
                }
            }
        }
        // A shrink, into a PNG, so that the comparison sees the pixels themselves.
        for (bool transparent : {false, true}) {
            if (i >= plain)
                break;
            const ShrinkSettings shrink{.shrinkType = 1, .customWidth = 97, .customHeight = 1000};
            std::vector<u8> streamed;
            std::vector<u8> whole;
            ASSERT_TRUE(BothWays(source, shrink, {}, {.keepAlpha = transparent}, streamed, whole));
            CDibPtr a = Pixels(streamed);
            CDibPtr b = Pixels(whole);
            ASSERT_TRUE(a && b);
            EXPECT_EQ(a->Width(), 97);
            EXPECT_EQ(a->Height(), 66);
            // A PNG states the resolution of a new bitmap, 96 dots per inch, not the source's.
            EXPECT_EQ(a->Header()->biXPelsPerMeter, 3780);
            EXPECT_EQ(a->Header()->biYPelsPerMeter, 3780);
            EXPECT_TRUE(PixelsNear(*a, *b, 1)) << source.name;
        }
    }
}

TEST(StreamConvertTest, FailuresNameTheirStage) {
    const std::vector<u8> jpeg = Sources()[0].bytes;
    ShrinkSettings shrink;
    const RoundSettings round;
    const OutputChoice output;
    std::vector<u8> out;
    StreamFailure failure;

    const std::vector<u8> words = {'n', 'o', ' ', 'i', 'm', 'a', 'g', 'e'};
    EXPECT_EQ(
        ConvertStream(words.data(), words.size(), {}, shrink, round, output, {}, out, failure),
        hr::kNotImpl);
    EXPECT_EQ(failure.stage, StreamFailure::kLoad);

    // Cut in the middle of its rows: the header reads, the rows do not.
    const std::vector<u8> cut(jpeg.begin(),
                              jpeg.begin() + static_cast<std::ptrdiff_t>(jpeg.size() / 2));
    EXPECT_EQ(ConvertStream(cut.data(), cut.size(), {}, shrink, round, output, {}, out, failure),
              hr::kNotImpl);
    EXPECT_EQ(failure.stage, StreamFailure::kLoad);
    EXPECT_EQ(failure.declared.cx, 211);
    EXPECT_TRUE(out.empty());

    CDecodeLimits small;
    small.maxPixels = 211 * 143 - 1;
    EXPECT_EQ(
        ConvertStream(jpeg.data(), jpeg.size(), small, shrink, round, output, {}, out, failure),
        hr::kImageTooLarge);
    EXPECT_EQ(failure.stage, StreamFailure::kLoad);
    EXPECT_EQ(failure.declared.cy, 143);

    // Each refusal of the shrink is ShrinkTest's.
    shrink.shrinkType = 1;
    shrink.customWidth = 0;
    EXPECT_TRUE(Failed(
        ConvertStream(jpeg.data(), jpeg.size(), {}, shrink, round, output, {}, out, failure)));
    EXPECT_EQ(failure.stage, StreamFailure::kShrink);
    EXPECT_EQ(failure.errorId, strid::kShrinkSizeNotPositive);
}

TEST(StreamConvertTest, AJpegDecodedSmallerStaysAboveFortyDecibels) {
    // A photograph-like picture: sky, hills, trees, ripples on water and fine grain.
    const std::vector<u8> jpeg = EncodedWithVips(PaintScene(1603, 1201), 1603, 1201, 3, ".jpg");
    // Fits that the decoder halves (458 is 3.5 times smaller, the least factor that it halves)
    // or quarters (a twelfth), and two that it leaves whole: at 534, 3 times smaller, a half size
    // would fall below 40 dB on this picture.
    for (i32 box : {458, 400, 267, 199, 100, 534, 900}) {
        const ShrinkSettings shrink{.shrinkType = 1, .customWidth = box, .customHeight = box};
        std::vector<u8> full;
        std::vector<u8> reduced;
        StreamFailure failure;
        ASSERT_EQ(ConvertStream(jpeg.data(), jpeg.size(), {}, shrink, {}, {}, {}, full, failure),
                  0u);
        ASSERT_EQ(ConvertStream(jpeg.data(), jpeg.size(), {}, shrink, {}, {},
                                {.reduceWhileDecoding = true}, reduced, failure),
                  0u);
        CDibPtr a = Pixels(full);
        CDibPtr b = Pixels(reduced);
        ASSERT_TRUE(a && b);
        ASSERT_EQ(a->Width(), b->Width());
        ASSERT_EQ(a->Height(), b->Height());
        // 40 decibels of peak signal to noise over the colour bytes.
        EXPECT_LE(DifferenceOf(*a, *b, 3).meanSquare, 255.0 * 255.0 / 1e4) << box;
        EXPECT_EQ(full == reduced, box == 534 || box == 900) << box;
    }
}

// Keeps what a sink is given.
struct RowRecorder : CRowSink {
    Size rows;
    i32 reduction = 0;
    Size declared;
    i32 bands = 0;
    std::vector<u8> profile{1}; // until the conversion names the rows' colour space
    std::vector<std::vector<u8>> got;
    void Begin(Size r, i32 reduce, Size d, i32 b) override {
        rows = r;
        reduction = reduce;
        declared = d;
        bands = b;
        got.clear();
    }
    void TakeColourProfile(std::vector<u8> p) override { profile = std::move(p); }
    void Row(const u8* pixels) override {
        got.emplace_back(pixels, pixels + static_cast<size_t>(rows.cx) * bands);
    }
};

// The rows that a conversion reads reach its sink once each and in order, whatever its threads
// do; ReadRows gives the same rows, which are the decoded image's.
TEST(StreamConvertTest, TheSourceRowsReachTheSinkOnceEachAndInOrder) {
    // Tall enough for many strips on several threads; every row differs from the next.
    const i32 w = 300;
    const i32 h = 2000;
    std::vector<u8> rgba(static_cast<size_t>(w) * h * 4);
    for (i32 y = 0; y < h; ++y)
        for (i32 x = 0; x < w; ++x) {
            u8* p = &rgba[(static_cast<size_t>(y) * w + x) * 4];
            p[0] = static_cast<u8>(y);
            p[1] = static_cast<u8>(y >> 8);
            p[2] = static_cast<u8>(x);
            p[3] = static_cast<u8>(255 - (x + y) % 7);
        }
    const std::vector<u8> png = EncodedWithVips(rgba, w, h, 4, ".png");
    CDibPtr decoded = Pixels(png);
    ASSERT_TRUE(decoded);
    RowRecorder again;
    ASSERT_EQ(ReadRows(png.data(), png.size(), {}, again), 0u);
    ASSERT_EQ(again.got.size(), static_cast<size_t>(h));
    EXPECT_EQ(again.reduction, 1);
    EXPECT_EQ(again.bands, 4);
    EXPECT_TRUE(again.profile.empty()); // a source without a profile is in sRGB
    for (i32 y = 0; y < h; ++y) {
        const u8* bgra = decoded->PixelAt(0, y);
        EXPECT_EQ(again.got[y][0], bgra[2]) << y;
        EXPECT_EQ(again.got[y][1], bgra[1]) << y;
        EXPECT_EQ(again.got[y][4 * (w - 1) + 3], bgra[4 * (w - 1) + 3]) << y;
    }
    for (i32 box : {0, 1000, 77}) {
        const ShrinkSettings shrink{
            .shrinkType = box ? 1u : 0u, .customWidth = box, .customHeight = box};
        RowRecorder sink;
        std::vector<u8> out;
        StreamFailure failure;
        ASSERT_EQ(ConvertStream(png.data(), png.size(), {}, shrink, {}, {}, {.sourceRows = &sink},
                                out, failure),
                  0u);
        EXPECT_EQ(sink.rows.cx, w);
        EXPECT_EQ(sink.rows.cy, h);
        EXPECT_EQ(sink.declared.cy, h);
        EXPECT_TRUE(sink.got == again.got) << box;
        EXPECT_TRUE(sink.profile.empty());
    }
}

// A pixel of encoded bytes turned from their profile to sRGB, as a colour-managed viewer shows it.
std::vector<double> ShownAsSrgb(const std::vector<u8>& bytes, int x, int y) {
    vips::VImage image = vips::VImage::new_from_buffer(bytes.data(), bytes.size(), "");
    return image.icc_transform("srgb", vips::VImage::option()->set("embedded", true))
        .extract_band(0, vips::VImage::option()->set("n", 3))
        .getpoint(x, y);
}

} // namespace

// An Adobe RGB (1998) source. The profile goes whole into an output with room for it (a JPEG
// holds 255 segments of 65519 bytes, a PNG 8000000 bytes), with the source's numbers, so that it
// shows as the source does; else it is left out and the numbers are those it shows in sRGB (as
// they are when the colour engine cannot read it). Both roads agree byte for byte.
TEST(StreamConvertTest, TheSourcesColourProfileGoesIntoTheOutputWithItsNumbersWhereItFits) {
    const std::vector<u8> rgb = TestPictureRgb(211, 143);
    struct Case {
        Source from;
        std::vector<u8> profile;
        bool jpegHolds = true, pngHolds = true, readable = true;
    };
    std::vector<Case> cases;
    for (const Source& source : Sources(true))
        cases.push_back({source, AdobeRgbProfile()});
    const auto jpegWith = [&](const std::vector<u8>& profile) {
        std::vector<u8> jpeg = EncodedWithVips(rgb, 211, 143, 3, ".jpg");
        EXPECT_EQ(EmbedIccInJpeg(jpeg, profile), hr::kOk);
        return jpeg;
    };
    const auto pngWith = [&](const std::vector<u8>& profile) {
        return EncodedWithVips(rgb, 211, 143, 3, ".png", profile);
    };
    // Curves of a type that no reader knows: the colour engine cannot use the profile.
    std::vector<u8> unreadable = AdobeRgbProfile(17 << 20);
    const std::string curve = "curv";
    std::fill_n(std::search(unreadable.begin(), unreadable.end(), curve.begin(), curve.end()), 4,
                'x');
    for (const std::vector<u8>& p : {AdobeRgbProfile(17 << 20), unreadable})
        cases.push_back({{"17 MiB PNG", pngWith(p)}, p, false, false, p != unreadable});
    for (size_t padding : {size_t{255 * 65519 - 1000}, size_t{110 * 65519}}) {
        const std::vector<u8> p = AdobeRgbProfile(padding);
        cases.push_back({{"segments", jpegWith(p)}, p, true, padding < 255 * 65519 - 1000});
    }
    const RoundSettings round{.edges = 0, .radius = LengthValue{lengthunit::kPixels, 20, 0}};
    for (const Case& c : cases) {
        // libvips reads a profile of at most 100 JPEG segments.
        const bool vipsReads = c.profile.size() < 65519 * 100;
        EXPECT_TRUE(!vipsReads || IccProfileOf(c.from.bytes) == c.profile) << c.from.name;
        const CDibPtr in = Pixels(c.from.bytes);
        for (bool jpeg : {false, true}) {
            SCOPED_TRACE(std::string(c.from.name) + " of " + std::to_string(c.profile.size()) +
                         (jpeg ? " to JPEG" : " to PNG"));
            const OutputChoice output{.format = jpeg ? OutputFormat::kJpeg : OutputFormat::kPng,
                                      .quality = 100};
            RowRecorder rows;
            std::vector<u8> out, whole;
            ASSERT_TRUE(BothWays(c.from, {}, round, output, out, whole, {.sourceRows = &rows}));
            EXPECT_EQ(out, whole);
            // The preview's copy of the rows learns the space they are in.
            EXPECT_EQ(rows.profile, c.profile);
            const bool holds = jpeg ? c.jpegHolds : c.pngHolds;
            std::vector<u8> segments = {0xFF, 0xD8};
            EXPECT_EQ(EmbedIccInJpeg(segments, c.profile) == hr::kOk, c.jpegHolds);
            if (jpeg && holds)
                EXPECT_NE(std::search(out.begin(), out.end(), segments.begin() + 2, segments.end()),
                          out.end());
            else
                EXPECT_EQ(IccProfileOf(out), holds ? c.profile : std::vector<u8>());
            // The numbers stay (exactly in a PNG), or turn sRGB where the profile is left out.
            const CDibPtr result = Pixels(out);
            for (auto [x, y] : {std::pair{45, 30}, {120, 70}, {190, 130}}) {
                const u8* source = in->PixelAt(x, y);
                if (source[3] != 255)
                    continue; // laid over the background
                const std::array<double, 3> srgb =
                    AdobeRgbShownAsSrgb(source[2], source[1], source[0]);
                for (int band = 0; band < 3; ++band)
                    EXPECT_NEAR(result->PixelAt(x, y)[band],
                                holds || !c.readable ? source[band] : srgb[2 - band],
                                jpeg    ? 3
                                : holds ? 0
                                        : 2)
                        << x << "," << y << " band " << band;
                // Shown through its profile, the output has the source's true colours.
                const std::vector<double> shown = ShownAsSrgb(out, x, y);
                for (int band = 0; band < 3 && holds && vipsReads; ++band)
                    EXPECT_NEAR(shown[band], srgb[band], 3.0) << x << "," << y;
            }
            // White stays white: the cut corner is the background's own numbers.
            for (int band = 0; band < 3; ++band)
                EXPECT_NEAR(result->PixelAt(0, 0)[band], 255, jpeg ? 2 : 0);
        }
    }
}

// Memory that runs out inside a decoder says so: a child capped 200 MB above what it holds, no
// budget, a progressive CMYK JPEG whose coefficients need 512 MB.
TEST(StreamConvertTest, ADecoderOutOfMemorySaysSo) {
    LVX_SKIP_UNDER_ADDRESS_LIMIT();
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const std::vector<u8> jpeg = EmptyProgressiveJpeg(8000, 8000, 4, 2);
    auto convert = [&] {
        CDecodeLimits roomy;
        roomy.maxMemoryMb = 100000;
        std::vector<u8> out;
        StreamFailure failure;
        CapAddressSpaceAbovePresent(rlim_t{200} << 20);
        const HResult code =
            ConvertStream(jpeg.data(), jpeg.size(), roomy, {}, {}, {}, {}, out, failure);
        std::_Exit(code == hr::kOutOfMemory && failure.stage == StreamFailure::kLoad ? 0 : 1);
    };
    EXPECT_EXIT(convert(), ::testing::ExitedWithCode(0), "");
}
