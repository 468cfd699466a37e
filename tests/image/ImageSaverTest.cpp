// Tests of saving a CDib to a file: the exact BMP, pixels and quality, resolution, failures.
#include "image/ImageSaver.h"

#include <cstring>

#include "image/ImageIo.h"
#include "support/ChildProcess.h"
#include "support/IccProfiles.h"
#include "support/ImageFiles.h"
#include "support/PixelTestUtil.h"

using namespace testutil;
using Gdiplus::CEncodeParams;
using Gdiplus::CImageSaver;

namespace {

u32 Le32(const std::vector<u8>& b, size_t at) {
    return b[at] | (b[at + 1] << 8) | (b[at + 2] << 16) | (static_cast<u32>(b[at + 3]) << 24);
}

u16 Le16(const std::vector<u8>& b, size_t at) {
    return static_cast<u16>(b[at] | (b[at + 1] << 8));
}

CDibPtr Translucent(i32 w, i32 h) {
    return MakeDib(w, h, [](i32 x, i32 y) {
        return Bgra{static_cast<u8>(x * 50), static_cast<u8>(y * 60), 99,
                    static_cast<u8>(x == 0 ? 0 : 40 * x + y)};
    });
}

} // namespace

TEST(ImageSaver, BmpIsTheBufferBehindAFileHeader) {
    CTempDir dir;
    CDibPtr dib = Translucent(3, 2);
    CImageSaver saver;
    ASSERT_EQ(saver.SelectEncoder(L"image/bmp"), hr::kOk);
    ASSERT_EQ(saver.SaveDib(*dib, true, W(dir.File("a.bmp"))), hr::kOk);
    const std::vector<u8> bmp = ReadBytes(dir.File("a.bmp"));
    ASSERT_EQ(bmp.size(), 14u + 40u + 24u);
    EXPECT_EQ(bmp[0], 'B');
    EXPECT_EQ(bmp[1], 'M');
    EXPECT_EQ(Le32(bmp, 2), 78u);  // file size
    EXPECT_EQ(Le32(bmp, 6), 0u);   // reserved
    EXPECT_EQ(Le32(bmp, 10), 54u); // offset of the bits
    EXPECT_EQ(Le32(bmp, 14), 40u);
    EXPECT_EQ(Le32(bmp, 18), 3u);
    EXPECT_EQ(Le32(bmp, 22), 2u); // positive height: bottom-up
    EXPECT_EQ(Le16(bmp, 26), 1);
    EXPECT_EQ(Le16(bmp, 28), 32);
    EXPECT_EQ(Le32(bmp, 30), 0u); // BI_RGB
    EXPECT_EQ(Le32(bmp, 34), 24u);
    EXPECT_EQ(std::memcmp(bmp.data() + 54, dib->Bits(), 24), 0);

    ASSERT_EQ(saver.SaveDib(*dib, false, W(dir.File("b.bmp"))), hr::kOk);
    const std::vector<u8> opaque = ReadBytes(dir.File("b.bmp"));
    ASSERT_EQ(opaque.size(), bmp.size());
    for (size_t i = 54; i < opaque.size(); ++i)
        EXPECT_EQ(opaque[i], (i - 54) % 4 == 3 ? 255 : bmp[i]) << "byte " << i;
}

TEST(ImageSaver, PngKeepsEveryPixelOrWritesThemOpaque) {
    CTempDir dir;
    CDibPtr dib = Translucent(5, 4);
    CImageSaver saver;
    ASSERT_EQ(saver.SelectEncoder(L"image/png"), hr::kOk);
    ASSERT_EQ(saver.SaveDib(*dib, true, W(dir.File("a.png"))), hr::kOk);
    CDibPtr back;
    ASSERT_EQ(LoadImageFile(back, W(dir.File("a.png"))), hr::kOk);
    EXPECT_TRUE(PixelsNear(*back, *dib, 0));

    ASSERT_EQ(saver.SaveDib(*dib, false, W(dir.File("b.png"))), hr::kOk);
    CDibPtr opaque;
    ASSERT_EQ(LoadImageFile(opaque, W(dir.File("b.png"))), hr::kOk);
    for (i32 y = 0; y < 4; ++y) {
        for (i32 x = 0; x < 5; ++x) {
            Bgra expected = PixelOf(*dib, x, y);
            expected.a = 255;
            EXPECT_EQ(PixelOf(*opaque, x, y), expected);
        }
    }
}

TEST(ImageSaver, JpegQualityIsPassedAsGiven) {
    CTempDir dir;
    CDibPtr dib = MakeDib(64, 48, [](i32 x, i32 y) {
        return Bgra{static_cast<u8>(x * 4), static_cast<u8>(y * 5), static_cast<u8>((x ^ y) * 4),
                    255};
    });
    std::vector<size_t> sizes;
    for (u32 quality : {0u, 100u}) {
        CImageSaver saver;
        ASSERT_EQ(saver.SelectEncoder(L"image/jpeg"), hr::kOk);
        ASSERT_EQ(saver.params.AddLongParam(Gdiplus::EncoderQuality, 4, quality), 0);
        const std::string path = dir.File(Numbered("q", quality, ".jpg"));
        ASSERT_EQ(saver.SaveDib(*dib, true, W(path)), hr::kOk) << "quality " << quality;
        sizes.push_back(ReadBytes(path).size());
        CDibPtr back;
        ASSERT_EQ(LoadImageFile(back, W(path)), hr::kOk);
        EXPECT_EQ(back->Width(), 64);
        EXPECT_EQ(PixelOf(*back, 10, 10).a, 255);
        if (quality == 100) {
            EXPECT_TRUE(PixelsNear(*back, *dib, 12));
        }
    }
    EXPECT_LT(sizes[0] * 2, sizes[1]);
}

TEST(ImageSaver, SavedFilesDoNotCarryTheSourceResolution) {
    CTempDir dir;
    WriteBytes(dir.File("300.png"),
               MakePng(2, 2, 2, 8, {{1, 2, 3, 4, 5, 6}, {7, 8, 9, 1, 2, 3}}, {PhysChunk(11811)}));
    CDibPtr source;
    ASSERT_EQ(LoadImageFile(source, W(dir.File("300.png"))), hr::kOk);
    ASSERT_EQ(source->Header()->biXPelsPerMeter, 11811);

    for (const char* mime : {"image/png", "image/jpeg", "image/bmp"}) {
        CImageSaver saver;
        ASSERT_EQ(saver.SelectEncoder(W(mime)), hr::kOk);
        const std::string path = dir.File(std::string("out-") + (mime + 6));
        ASSERT_EQ(saver.SaveDib(*source, true, W(path)), hr::kOk);
        CDibPtr back;
        ASSERT_EQ(LoadImageFile(back, W(path)), hr::kOk) << mime;
        EXPECT_NE(back->Header()->biXPelsPerMeter, 11811) << mime;
        EXPECT_NE(back->Header()->biYPelsPerMeter, 11811) << mime;
    }
}

TEST(ImageSaver, FailedWritesLeaveNothingBehind) {
    CTempDir dir;
    CDibPtr dib = Translucent(3, 3);
    CImageSaver saver;
    ASSERT_EQ(saver.SelectEncoder(L"image/png"), hr::kOk);

    EXPECT_EQ(saver.SaveDib(*dib, true, W(dir.File("no-such-folder/a.png"))), 0x80070002u);

    // A folder stands where the file should go: the move fails and the temporary file goes.
    std::filesystem::create_directory(dir.Path() / "taken.png");
    EXPECT_TRUE(Failed(saver.SaveDib(*dib, true, W(dir.File("taken.png")))));
    EXPECT_EQ(FileNames(dir.Path()), std::vector<std::string>{"taken.png"});

    CDib notLoaded;
    EXPECT_EQ(saver.SaveDib(notLoaded, true, W(dir.File("x.png"))), 0x80004005u);
}

TEST(ImageSaver, AnOutputFolderLosesDeadLeftoversAndLinksLeadNowhere) {
    CTempDir dir;
    CDibPtr dib = Translucent(3, 3);
    CImageSaver saver;
    ASSERT_EQ(saver.SelectEncoder(L"image/png"), hr::kOk);
    // What a save killed before its rename left goes; an output name that is a link to a file
    // elsewhere is replaced, not written through.
    std::filesystem::create_directories(dir.Path() / "round");
    Leftover(dir.Path() / "round", "x");
    const std::vector<u8> precious(7, 0x42);
    WriteBytes(dir.File("elsewhere/precious"), precious);
    std::filesystem::create_symlink(dir.Path() / "elsewhere" / "precious",
                                    dir.Path() / "round" / "a.png");

    ASSERT_EQ(saver.SaveDib(*dib, true, W(dir.File("round/a.png"))), hr::kOk);
    EXPECT_FALSE(std::filesystem::is_symlink(dir.Path() / "round" / "a.png"));
    CDibPtr back;
    ASSERT_EQ(LoadImageFile(back, W(dir.File("round/a.png"))), hr::kOk);
    EXPECT_TRUE(PixelsNear(*back, *dib, 0));
    EXPECT_EQ(ReadBytes(dir.File("elsewhere/precious")), precious);
    EXPECT_EQ(FileNames(dir.Path() / "round"), std::vector<std::string>{"a.png"});
}

// An image in Adobe RGB (1998): JPEG and PNG carry its profile with its numbers as they are; a
// bitmap, which has no place for a profile, gets the numbers that sRGB shows the same colours
// with, and its alpha as it was.
TEST(ImageSaver, AColourProfileGoesWithTheNumbersOrTheBitmapTurnsSrgb) {
    CTempDir dir;
    const std::vector<u8> profile = AdobeRgbProfile();
    CDibPtr dib = MakeDib(64, 48, [](i32 x, i32 y) {
        return Bgra{static_cast<u8>(x * 4), static_cast<u8>(y * 5), static_cast<u8>(200 - x - y),
                    static_cast<u8>(x < 8 ? 255 : 100 + y)};
    });
    dib->SetColourProfile(profile);
    const std::vector<u8> numbers(dib->Bits(), dib->Bits() + dib->GetSizeImage());
    CImageSaver saver;
    for (const wchar_t* type : {L"image/png", L"image/jpeg"}) {
        ASSERT_EQ(saver.SelectEncoder(type), hr::kOk);
        const std::string path = dir.File(type[6] == 'p' ? "a.png" : "a.jpg");
        ASSERT_EQ(saver.SaveDib(*dib, true, W(path)), hr::kOk);
        const std::vector<u8> bytes = ReadBytes(path);
        EXPECT_EQ(IccProfileOf(bytes), profile) << path;
        CDibPtr back;
        ASSERT_EQ(LoadImageFile(back, W(path)), hr::kOk);
        EXPECT_EQ(back->ColourProfile(), profile) << path;
        if (type[6] == 'p') {
            EXPECT_TRUE(PixelsNear(*back, *dib, 0));
            continue;
        }
        for (auto [x, y] : {std::pair{4, 4}, {30, 20}, {60, 44}})
            for (int band = 0; band < 3; ++band)
                EXPECT_NEAR(back->PixelAt(x, y)[band], dib->PixelAt(x, y)[band], 8)
                    << x << "," << y;
    }

    ASSERT_EQ(saver.SelectEncoder(L"image/bmp"), hr::kOk);
    ASSERT_EQ(saver.SaveDib(*dib, true, W(dir.File("a.bmp"))), hr::kOk);
    // The bits lie bottom up behind the 54 bytes of the headers.
    const std::vector<u8> bmp = ReadBytes(dir.File("a.bmp"));
    ASSERT_EQ(bmp.size(), 54u + 64 * 48 * 4);
    for (auto [x, y] : {std::pair{0, 0}, {5, 40}, {30, 20}, {63, 47}}) {
        const u8* in = dib->PixelAt(x, y);
        const u8* out = bmp.data() + 54 + (static_cast<size_t>(47 - y) * 64 + x) * 4;
        const std::array<double, 3> shown = AdobeRgbShownAsSrgb(in[2], in[1], in[0]);
        EXPECT_NEAR(out[2], shown[0], 2.0) << x << "," << y;
        EXPECT_NEAR(out[1], shown[1], 2.0) << x << "," << y;
        EXPECT_NEAR(out[0], shown[2], 2.0) << x << "," << y;
        EXPECT_EQ(out[3], in[3]) << x << "," << y;
    }
    // The image itself is left as it was.
    EXPECT_TRUE(std::equal(numbers.begin(), numbers.end(), dib->Bits()));
}
