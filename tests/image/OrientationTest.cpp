// Tests of the orientation tag: each of the eight values gives an upright output with no tag left,
// fitted and rounded as the upright picture, in the file and in the preview, whatever the format
// that carries the tag; HEIF is turned by its own decoder only.
#include "image/Orientation.h"

#include <gtest/gtest.h>
#include <libheif/heif.h>

#include <algorithm>
#include <string>

#include "image/Decode.h"
#include "image/PaneAnchor.h"
#include "image/PreviewSource.h"
#include "image/StreamConvert.h"
#include "image/VipsStart.h"
#include "support/PixelTestUtil.h"

namespace {

using testutil::Bgra;

// The upright picture: four plain quadrants, so that any turn or mirror shows and survives a
// lossy encoder: red top left, green top right, blue bottom left, white bottom right.
constexpr Size kUpright{64, 48};
constexpr Bgra kQuadrants[4] = {
    {20, 20, 230, 255}, {20, 230, 20, 255}, {230, 20, 20, 255}, {240, 240, 240, 255}};

Bgra QuadrantAt(i32 x, i32 y, Size size) {
    return kQuadrants[(x >= size.cx / 2 ? 1 : 0) + (y >= size.cy / 2 ? 2 : 0)];
}

// Where each value puts the stored picture's first row and first column in the picture as it is
// meant to be seen: 1 top, left; 2 top, right; 3 bottom, right; 4 bottom, left; 5 left, top;
// 6 right, top; 7 right, bottom; 8 left, bottom.
enum Side { kTop, kBottom, kLeft, kRight };
constexpr Side kFirstRow[9] = {kTop, kTop, kTop, kBottom, kBottom, kLeft, kRight, kRight, kLeft};
constexpr Side kFirstColumn[9] = {kLeft, kLeft, kRight,  kRight, kLeft,
                                  kTop,  kTop,  kBottom, kBottom};

// The upright place of the stored pixel in column i of row j, in an upright picture of `upright`.
void UprightPlace(u32 tag, Size upright, i32 i, i32 j, i32& x, i32& y) {
    auto along = [](Side side, i32 distance, i32 extent) {
        return side == kBottom || side == kRight ? extent - 1 - distance : distance;
    };
    const bool rowAcross = kFirstRow[tag] == kTop || kFirstRow[tag] == kBottom;
    if (rowAcross) {
        y = along(kFirstRow[tag], j, upright.cy);
        x = along(kFirstColumn[tag], i, upright.cx);
    } else {
        x = along(kFirstRow[tag], j, upright.cx);
        y = along(kFirstColumn[tag], i, upright.cy);
    }
}

// The minimal EXIF block of a tag: "Exif", a little-endian TIFF header and one directory entry.
std::vector<u8> ExifWithOrientation(u32 tag) {
    return {'E', 'x',  'i',  'f', 0,
            0,   'I',  'I',  42,  0,
            8,   0,    0,    0,   1,
            0,   0x12, 0x01, 3,   0,
            1,   0,    0,    0,   static_cast<u8>(tag),
            0,   0,    0,    0,   0,
            0,   0};
}

// The stored rows of the upright picture under a tag, as 8-bit RGB of the stored `size`.
std::vector<u8> StoredRgb(u32 tag, Size upright, Size& size) {
    size = tag >= 5 ? Size{upright.cy, upright.cx} : upright;
    std::vector<u8> rgb;
    for (i32 j = 0; j < size.cy; ++j) {
        for (i32 i = 0; i < size.cx; ++i) {
            i32 x = 0, y = 0;
            UprightPlace(tag, upright, i, j, x, y);
            const Bgra c = QuadrantAt(x, y, upright);
            rgb.insert(rgb.end(), {c.r, c.g, c.b});
        }
    }
    return rgb;
}

// The stored picture of a tag, encoded with the tag by libvips with the saver's options.
std::vector<u8> Stored(u32 tag, const char* suffix, Size upright = kUpright) {
    EnsureVipsStarted();
    Size size;
    std::vector<u8> rgb = StoredRgb(tag, upright, size);
    vips::VImage image =
        vips::VImage::new_from_memory(rgb.data(), rgb.size(), size.cx, size.cy, 3,
                                      VIPS_FORMAT_UCHAR)
            .copy(vips::VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
    const std::vector<u8> exif = ExifWithOrientation(tag);
    vips_image_set_blob_copy(image.get_image(), VIPS_META_EXIF_NAME, exif.data(), exif.size());
    vips_image_set_int(image.get_image(), VIPS_META_ORIENTATION, static_cast<int>(tag));
    void* bytes = nullptr;
    size_t length = 0;
    image.write_to_buffer(suffix, &bytes, &length);
    std::vector<u8> encoded(static_cast<u8*>(bytes), static_cast<u8*>(bytes) + length);
    g_free(bytes);
    return encoded;
}

// The stored picture of a tag as an AVIF whose rotation and mirror boxes carry the tag, written by
// libheif itself, with the same tag in an EXIF block beside them.
std::vector<u8> StoredAvifWithBoxes(u32 tag) {
    Size size;
    const std::vector<u8> rgb = StoredRgb(tag, kUpright, size);
    heif_image* image = nullptr;
    heif_image_create(size.cx, size.cy, heif_colorspace_RGB, heif_chroma_interleaved_RGB, &image);
    heif_image_add_plane(image, heif_channel_interleaved, size.cx, size.cy, 8);
    int stride = 0;
    u8* plane = heif_image_get_plane(image, heif_channel_interleaved, &stride);
    for (i32 y = 0; y < size.cy; ++y)
        std::copy_n(rgb.data() + y * size.cx * 3, size.cx * 3, plane + y * stride);
    heif_context* context = heif_context_alloc();
    heif_encoder* encoder = nullptr;
    heif_context_get_encoder_for_format(context, heif_compression_AV1, &encoder);
    heif_encoder_set_lossy_quality(encoder, 95);
    heif_encoding_options* options = heif_encoding_options_alloc();
    options->image_orientation = static_cast<heif_orientation>(tag);
    heif_image_handle* handle = nullptr;
    heif_context_encode_image(context, image, encoder, options, &handle);
    const std::vector<u8> exif = ExifWithOrientation(tag);
    heif_context_add_exif_metadata(context, handle, exif.data() + 6,
                                   static_cast<int>(exif.size()) - 6);
    std::vector<u8> file;
    heif_writer writer{1, [](heif_context*, const void* data, size_t length, void* out) {
                           auto* bytes = static_cast<const u8*>(data);
                           static_cast<std::vector<u8>*>(out)->assign(bytes, bytes + length);
                           return heif_error{heif_error_Ok, heif_suberror_Unspecified, ""};
                       }};
    heif_context_write(context, &writer, &file);
    heif_image_handle_release(handle);
    heif_encoding_options_free(options);
    heif_encoder_release(encoder);
    heif_context_free(context);
    heif_image_release(image);
    return file;
}

// A shrink into 32 x 32, the top left corner rounded, nothing faded, the alpha kept.
struct Conversion {
    ShrinkSettings shrink{shrinktype::kNamed, 32, 32};
    RoundSettings round{
        .corners = cornerbit::kTopLeft, .edges = 0, .radius = {lengthunit::kPixels, 80, 0}};
    OutputChoice output{.keepAlpha = true};
};

// The four quadrants' middles and the four corners' alpha of an upright result of `size`.
void ExpectUpright(const CDib& image, Size size, int tolerance, const std::string& label) {
    ASSERT_EQ(image.Width(), size.cx) << label;
    ASSERT_EQ(image.Height(), size.cy) << label;
    for (i32 qy : {size.cy / 4, size.cy * 3 / 4})
        for (i32 qx : {size.cx / 4, size.cx * 3 / 4})
            EXPECT_TRUE(testutil::Near(testutil::PixelOf(image, qx, qy), QuadrantAt(qx, qy, size),
                                       tolerance))
                << label << " at " << qx << ", " << qy;
    EXPECT_EQ(testutil::AlphaOf(image, 0, 0), 0) << label << ": the top left corner is round";
    EXPECT_EQ(testutil::AlphaOf(image, size.cx - 1, 0), 255) << label;
    EXPECT_EQ(testutil::AlphaOf(image, 0, size.cy - 1), 255) << label;
    EXPECT_EQ(testutil::AlphaOf(image, size.cx - 1, size.cy - 1), 255) << label;
}

TEST(Orientation, EveryTagGivesAnUprightOutputWithNoTagLeftInFileAndPreview) {
    const struct {
        const char* suffix;
        int tolerance;
    } formats[] = {
        {".png", 2}, {".jpg[Q=98,strip=false]", 12}, {".webp[lossless]", 2}, {".tif", 2}};
    const Conversion c;
    const Size fitted{32, 24};
    for (const auto& format : formats) {
        for (u32 tag = 1; tag <= 8; ++tag) {
            const std::string label = std::string(format.suffix) + " tag " + std::to_string(tag);
            const std::vector<u8> stored = Stored(tag, format.suffix);
            CPreviewSource preview;
            StreamOptions options;
            options.sourceRows = &preview;
            std::vector<u8> out;
            StreamFailure failure;
            ASSERT_EQ(ConvertStream(stored.data(), stored.size(), {}, c.shrink, c.round, c.output,
                                    options, out, failure),
                      hr::kOk)
                << label;
            CDibPtr image;
            ASSERT_EQ(DecodeImage(out.data(), out.size(), image), hr::kOk) << label;
            ExpectUpright(*image, fitted, format.tolerance, label);
            vips::VImage written = vips::VImage::new_from_buffer(out.data(), out.size(), "");
            EXPECT_EQ(written.get_typeof(VIPS_META_EXIF_NAME), 0u) << label;
            EXPECT_EQ(written.get_typeof(VIPS_META_ORIENTATION), 0u) << label;

            // The preview shows the same upright result, whole and at its top left corner.
            if (Failed(preview.End())) {
                ASSERT_EQ(ReadRows(stored.data(), stored.size(), {}, preview), hr::kOk) << label;
                ASSERT_EQ(preview.End(), hr::kOk) << label;
            }
            ASSERT_EQ(preview.SourceSize(c.output), kUpright) << label;
            CDibPtr whole, corner;
            ASSERT_EQ(preview.RenderWhole(c.round, c.output, fitted, fitted, whole), 0u) << label;
            ExpectUpright(*whole, fitted, format.tolerance, label + " whole pane");
            ASSERT_EQ(preview.RenderCorner(c.round, c.output, fitted, paneanchor::kTopLeft,
                                           Size{16, 12}, corner),
                      0u);
            EXPECT_EQ(testutil::AlphaOf(*corner, 0, 0), 0) << label;
            EXPECT_TRUE(
                testutil::Near(testutil::PixelOf(*corner, 12, 8), kQuadrants[0], format.tolerance))
                << label << " corner pane";
        }
    }
}

TEST(Orientation, TheStoredChoiceKeepsTheStoredSidesAndHeifIsTurnedOnce) {
    // A quarter turn kept as stored: the sides stay those of the file, and its first pixel is the
    // upright picture's top right.
    Conversion c;
    c.output.upright = false;
    const std::vector<u8> stored = Stored(orientation::kQuarterRight, ".png");
    std::vector<u8> out;
    StreamFailure failure;
    ASSERT_EQ(ConvertStream(stored.data(), stored.size(), {}, c.shrink, c.round, c.output, {}, out,
                            failure),
              hr::kOk);
    CDibPtr image;
    ASSERT_EQ(DecodeImage(out.data(), out.size(), image), hr::kOk);
    ASSERT_EQ(image->Width(), 24);
    ASSERT_EQ(image->Height(), 32);
    EXPECT_TRUE(testutil::Near(testutil::PixelOf(*image, 6, 8), kQuadrants[1], 2));

    // HEIF's decoder applies the file's own rotation box; the EXIF tag beside it is never applied
    // again, whichever orientation is chosen.
    ASSERT_TRUE(EnsureHeifLoader());
    const std::vector<u8> heif = StoredAvifWithBoxes(orientation::kQuarterRight);
    const std::string box = "irot";
    ASSERT_NE(std::search(heif.begin(), heif.end(), box.begin(), box.end()), heif.end());
    for (bool upright : {true, false}) {
        c.output.upright = upright;
        ASSERT_EQ(ConvertStream(heif.data(), heif.size(), {}, c.shrink, c.round, c.output, {}, out,
                                failure),
                  hr::kOk);
        ASSERT_EQ(DecodeImage(out.data(), out.size(), image), hr::kOk);
        ExpectUpright(*image, Size{32, 24}, 12, upright ? "HEIF upright" : "HEIF stored");
    }
}

TEST(Orientation, AQuarterTurnHoldsTheShrunkPictureWithinTheMemoryBudget) {
    // Without a shrink, a turned picture of 3 MiB is held whole: the least budget that its decoder
    // passes leaves less than a MiB beside it, so the file is refused at the load, while the same
    // file as stored streams through.
    Conversion c;
    c.shrink.shrinkType = shrinktype::kNone;
    const std::vector<u8> stored = Stored(orientation::kQuarterLeft, ".png", Size{1024, 1024});
    CDecodeLimits limits;
    std::vector<u8> out;
    StreamFailure failure;
    ASSERT_EQ(ConvertStream(stored.data(), stored.size(), limits, c.shrink, c.round, c.output, {},
                            out, failure),
              hr::kOk);
    CDecodeCost needs;
    ASSERT_EQ(EstimateDecodeCostOf(stored.data(), stored.size(), limits, needs), hr::kOk);
    EXPECT_EQ(needs.memory, failure.cost.memory + 1024 * 1024 * 4) << "the batch counts it too";
    limits.maxMemoryMb = static_cast<u32>(failure.cost.MemoryMb());
    EXPECT_EQ(ConvertStream(stored.data(), stored.size(), limits, c.shrink, c.round, c.output, {},
                            out, failure),
              hr::kOverMemoryBudget);
    EXPECT_EQ(failure.stage, StreamFailure::kLoad);
    EXPECT_GT(failure.cost.MemoryMb(), limits.maxMemoryMb) << "the message names the whole need";
    c.output.upright = false;
    EXPECT_EQ(ConvertStream(stored.data(), stored.size(), limits, c.shrink, c.round, c.output, {},
                            out, failure),
              hr::kOk);
}

} // namespace
