// Tests of the metadata that outputs keep: the orientation set to 1, the thumbnail and, when asked,
// every byte of the location gone, in EXIF of either byte order and in XMP's two forms of a
// property, and what each format's output carries for each choice.
#include "image/MetadataEdit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include <vips/vips8>

#include "image/AvifEncoder.h"
#include "image/StreamConvert.h"
#include "image/VipsStart.h"

namespace {

// An EXIF block: IFD0 with the orientation 6, a make of 8 bytes (kept outside the entry) and the
// GPS pointer; the GPS directory with a latitude of three rationals; IFD1 with a thumbnail of
// eight bytes. Numbers in the byte order that `little` names.
struct ExifBlock {
    std::vector<u8> bytes;
    bool little;

    void Put(u32 value, int size) {
        for (int i = 0; i < size; ++i) {
            const int shift = 8 * (little ? i : size - 1 - i);
            bytes.push_back(static_cast<u8>(value >> shift));
        }
    }
    void Entry(u16 tag, u16 type, u32 count, u32 value) {
        Put(tag, 2);
        Put(type, 2);
        Put(count, 4);
        Put(type == 3 && count == 1 ? value << (little ? 0 : 16) : value, 4);
    }

    explicit ExifBlock(bool l) : little(l) {
        bytes = {static_cast<u8>(l ? 'I' : 'M'), static_cast<u8>(l ? 'I' : 'M')};
        Put(42, 2);
        Put(8, 4);
        // IFD0 at 8: three entries, next IFD at 100.
        Put(3, 2);
        Entry(0x0112, 3, 1, 6);
        Entry(0x010F, 2, 8, 50);
        Entry(0x8825, 4, 1, 58);
        Put(100, 4);
        bytes.insert(bytes.end(), {'C', 'a', 'm', 'e', 'r', 'a', '1', 0}); // 50
        // GPS IFD at 58: one entry, the latitude at 76.
        Put(1, 2);
        Entry(0x0002, 5, 3, 76);
        Put(0, 4);
        for (u32 part : {35u, 1u, 41u, 1u, 7u, 1u}) // 76: 35 deg 41 min 7 sec
            Put(part, 4);
        // IFD1 at 100: the thumbnail's offset and length, the thumbnail at 130.
        bytes.resize(100);
        Put(2, 2);
        Entry(0x0201, 4, 1, 130);
        Entry(0x0202, 4, 1, 8);
        Put(0, 4);
        bytes.insert(bytes.end(), {0xFF, 0xD8, 0xAA, 0xBB, 0xCC, 0xDD, 0xFF, 0xD9});
    }
};

bool Holds(const std::vector<u8>& bytes, std::vector<u8> part) {
    return std::search(bytes.begin(), bytes.end(), part.begin(), part.end()) != bytes.end();
}

TEST(MetadataEdit, ExifKeepsItsTagsButTheTurnTheThumbnailAndWhenAskedTheLocation) {
    for (bool little : {true, false}) {
        for (bool dropLocation : {false, true}) {
            ExifBlock block(little);
            // The block is laid out as its comment says: the next directory is where it lies.
            ASSERT_EQ(block.bytes.size(), 138u);
            std::vector<u8> edited = block.bytes;
            ASSERT_TRUE(EditExif(edited, dropLocation));
            ASSERT_EQ(edited.size(), block.bytes.size());
            ExifBlock expected(little);
            expected.bytes.resize(8);
            expected.Put(dropLocation ? 2 : 3, 2);
            expected.Entry(0x0112, 3, 1, 1);
            expected.Entry(0x010F, 2, 8, 50);
            if (!dropLocation)
                expected.Entry(0x8825, 4, 1, 58);
            expected.Put(0, 4);
            EXPECT_TRUE(std::equal(expected.bytes.begin(), expected.bytes.end(), edited.begin()))
                << "little " << little << ", drop " << dropLocation;
            EXPECT_TRUE(Holds(edited, {'C', 'a', 'm', 'e', 'r', 'a', '1'}));
            EXPECT_FALSE(Holds(edited, {0xAA, 0xBB, 0xCC, 0xDD})) << "the thumbnail is gone";
            // The latitude's numbers: present unless dropped, then every byte of them zero.
            EXPECT_EQ(
                std::any_of(edited.begin() + 58, edited.begin() + 100, [](u8 b) { return b; }),
                !dropLocation);
        }
    }
    // A block that is no TIFF, or whose directory runs past its end, stays as it is.
    std::vector<u8> bad = {'I', 'I', 43, 0, 8, 0, 0, 0};
    EXPECT_FALSE(EditExif(bad, true));
    ExifBlock cut(true);
    cut.bytes.resize(40);
    const std::vector<u8> before = cut.bytes;
    EXPECT_FALSE(EditExif(cut.bytes, true));
    EXPECT_EQ(cut.bytes, before);
}

TEST(MetadataEdit, XmpLosesItsLocationInEitherFormAndTurnsUpright) {
    const std::string packet =
        R"(<rdf:Description tiff:Orientation="6" exif:GPSLatitude="35,41.1N" dc:format="image/jpeg")"
        R"( photoshop:City='Tokyo'><exif:GPSAltitude>40/1</exif:GPSAltitude>)"
        R"(<Iptc4xmpExt:LocationCreated rdf:parseType="Resource"><x>1</x></Iptc4xmpExt:LocationCreated>)"
        R"(<exif:GPSVersionID/><dc:creator>A</dc:creator></rdf:Description>)";
    std::string kept = packet;
    EditXmp(kept, false);
    EXPECT_EQ(kept.find(R"(tiff:Orientation="1")"), packet.find(R"(tiff:Orientation="6")"));
    EXPECT_EQ(kept.size(), packet.size());
    std::string dropped = packet;
    EditXmp(dropped, true);
    EXPECT_EQ(dropped, R"(<rdf:Description tiff:Orientation="1" dc:format="image/jpeg">)"
                       R"(<dc:creator>A</dc:creator></rdf:Description>)");
    std::string element = "<tiff:Orientation> 8 </tiff:Orientation>";
    EditXmp(element, false);
    EXPECT_EQ(element, "<tiff:Orientation>1</tiff:Orientation>");
}

TEST(MetadataEdit, EachFormatCarriesWhatTheChoiceKeeps) {
    ASSERT_TRUE(EnsureHeifLoader());
    std::vector<u8> exif = {'E', 'x', 'i', 'f', 0, 0};
    const std::vector<u8> block = ExifBlock(true).bytes;
    exif.insert(exif.end(), block.begin(), block.end());
    const std::string xmp =
        R"(<x:xmpmeta xmlns:x="adobe:ns:meta/"><rdf:RDF><rdf:Description )"
        R"(exif:GPSLatitude="35,41.1N" dc:format="image/jpeg"/></rdf:RDF></x:xmpmeta>)";
    vips::VImage picture = vips::VImage::black(32, 24, vips::VImage::option()->set("bands", 3));
    vips_image_set_blob_copy(picture.get_image(), VIPS_META_EXIF_NAME, exif.data(), exif.size());
    vips_image_set_blob_copy(picture.get_image(), VIPS_META_XMP_NAME, xmp.data(), xmp.size());
    void* bytes = nullptr;
    size_t size = 0;
    picture.cast(VIPS_FORMAT_UCHAR).write_to_buffer(".jpg", &bytes, &size);
    const std::vector<u8> source(static_cast<u8*>(bytes), static_cast<u8*>(bytes) + size);
    g_free(bytes);
    for (OutputFormat format :
         {OutputFormat::kJpeg, OutputFormat::kPng, OutputFormat::kWebp, OutputFormat::kAvif}) {
        if (format == OutputFormat::kAvif && !CanWriteAvif())
            continue;
        for (u32 kept : {metadatakept::kNone, metadatakept::kWithoutLocation, metadatakept::kAll}) {
            const OutputChoice output{.format = format, .metadata = kept};
            std::vector<u8> out;
            StreamFailure failure;
            ASSERT_EQ(ConvertStream(source.data(), source.size(), {}, {},
                                    {.corners = 0, .edges = 0}, output, {}, out, failure),
                      hr::kOk);
            const vips::VImage written = vips::VImage::new_from_buffer(out.data(), out.size(), "");
            const std::string label =
                std::to_string(static_cast<int>(format)) + " keeps " + std::to_string(kept);
            auto has = [&](const char* field) { return written.get_typeof(field) != 0; };
            EXPECT_EQ(has("exif-ifd0-Make"), kept != metadatakept::kNone) << label;
            EXPECT_EQ(has("exif-ifd3-GPSLatitude"), kept == metadatakept::kAll) << label;
            EXPECT_FALSE(has("exif-ifd1-JPEGInterchangeFormat")) << label;
            std::string readXmp;
            if (has(VIPS_META_XMP_NAME)) {
                size_t length = 0;
                const void* data = written.get_blob(VIPS_META_XMP_NAME, &length);
                readXmp.assign(static_cast<const char*>(data), length);
            }
            EXPECT_EQ(readXmp.find("dc:format") != std::string::npos, kept != metadatakept::kNone)
                << label;
            EXPECT_EQ(readXmp.find("GPS") != std::string::npos, kept == metadatakept::kAll)
                << label;
        }
    }
}

} // namespace
