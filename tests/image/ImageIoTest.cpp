// Tests of reading image files whole and decoding them and the built-in resource into the
// 32-bit buffer.
#include "image/ImageIo.h"

#include <cstring>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "image/Decode.h"
#include "image/reference/WholeConversion.h"
#include "support/ImageFiles.h"
#include "support/PixelTestUtil.h"

using namespace testutil;

namespace {

class CStopAlways : public CTerminable {
public:
    bool IsTerminated() const override { return true; }
};

HResult LoadPath(CDibPtr& out, const std::string& path) {
    return LoadImageFile(out, W(path));
}

} // namespace

TEST(ImageIo, OpaqueJpegLoadsAsTheDecodedPixelsWithFullAlpha) {
    CTempDir dir;
    const std::string path = dir.File("scene.jpg");
    WriteBytes(path, EncodedWithVips(TestPictureRgb(61, 47), 61, 47, 3, ".jpg[Q=85]"));

    CDibPtr dib;
    ASSERT_EQ(LoadPath(dib, path), hr::kOk);
    ASSERT_TRUE(dib && IsDib32(*dib));
    const BitmapInfoHeader& h = *dib->Header();
    EXPECT_EQ(h.biSize, 40u);
    EXPECT_EQ(h.biWidth, 61);
    EXPECT_EQ(h.biHeight, 47); // bottom-up
    EXPECT_EQ(h.biPlanes, 1);
    EXPECT_EQ(h.biBitCount, 32);
    EXPECT_EQ(h.biCompression, 0u);

    i32 w = 0, hgt = 0;
    const std::vector<u8> reference = DecodeWithVips(path, w, hgt);
    for (i32 y = 0; y < 47; ++y) {
        for (i32 x = 0; x < 61; ++x) {
            const u8* ref = &reference[(static_cast<size_t>(y) * 61 + x) * 4];
            ASSERT_EQ(PixelOf(*dib, x, y), (Bgra{ref[2], ref[1], ref[0], 255}))
                << "at " << x << ", " << y;
        }
    }
}

TEST(ImageIo, PngKeepsColourAndAlphaOfEveryPixel) {
    // Colours under partial and zero alpha must survive unchanged: alpha is straight.
    const std::vector<std::vector<u8>> rows = {
        {255, 0, 0, 255, 0, 255, 0, 128, 0, 0, 255, 0},
        {10, 20, 30, 1, 200, 100, 50, 254, 77, 88, 99, 64},
    };
    CTempDir dir;
    // The content decides, not the name.
    const std::string path = dir.File("really-a-png.jpg");
    WriteBytes(path, MakePng(3, 2, 6, 8, rows));

    CDibPtr dib;
    ASSERT_EQ(LoadPath(dib, path), hr::kOk);
    ASSERT_EQ(dib->Width(), 3);
    ASSERT_EQ(dib->Height(), 2);
    for (i32 y = 0; y < 2; ++y) {
        for (i32 x = 0; x < 3; ++x) {
            const u8* rgba = &rows[y][x * 4];
            EXPECT_EQ(PixelOf(*dib, x, y), (Bgra{rgba[2], rgba[1], rgba[0], rgba[3]}))
                << "at " << x << ", " << y;
        }
    }
    // Row 0 (the top) is the last row in memory.
    EXPECT_EQ(dib->Bits()[dib->Stride() + 2], 255);
}

TEST(ImageIo, PaletteTransparencyBecomesAlpha) {
    const std::vector<u8> palette = {255, 0, 0, 0, 255, 0, 0, 0, 255, 9, 9, 9};
    const std::vector<u8> alphas = {255, 128, 0}; // index 3 has no entry: opaque
    CTempDir dir;
    const std::string path = dir.File("palette.png");
    WriteBytes(path, MakePng(4, 1, 3, 8, {{0, 1, 2, 3}}, {{"PLTE", palette}, {"tRNS", alphas}}));

    CDibPtr dib;
    ASSERT_EQ(LoadPath(dib, path), hr::kOk);
    EXPECT_EQ(PixelOf(*dib, 0, 0), (Bgra{0, 0, 255, 255}));
    EXPECT_EQ(PixelOf(*dib, 1, 0), (Bgra{0, 255, 0, 128}));
    EXPECT_EQ(PixelOf(*dib, 2, 0).a, 0);
    EXPECT_EQ(PixelOf(*dib, 3, 0), (Bgra{9, 9, 9, 255}));

    // A GIF with a transparent index.
    WriteBytes(dir.File("palette.gif"), MakeGif(4, 1, palette, 2, {0, 1, 2, 3}));
    CDibPtr gif;
    ASSERT_EQ(LoadPath(gif, dir.File("palette.gif")), hr::kOk);
    EXPECT_EQ(PixelOf(*gif, 0, 0), (Bgra{0, 0, 255, 255}));
    EXPECT_EQ(PixelOf(*gif, 1, 0), (Bgra{0, 255, 0, 255}));
    EXPECT_EQ(PixelOf(*gif, 2, 0).a, 0);
    EXPECT_EQ(PixelOf(*gif, 3, 0), (Bgra{9, 9, 9, 255}));
}

TEST(ImageIo, GreySixteenBitAndRgbGiveTheSameBuffer) {
    const std::vector<u8> levels = {0, 1, 77, 128, 200, 255};
    std::vector<u8> rgb, grey, rgb16;
    for (u8 v : levels) {
        rgb.insert(rgb.end(), {v, v, v});
        grey.push_back(v);
        for (int c = 0; c < 3; ++c)
            rgb16.insert(rgb16.end(), {v, v}); // v * 257, big-endian
    }
    CTempDir dir;
    WriteBytes(dir.File("rgb.png"), MakePng(6, 1, 2, 8, {rgb}));
    WriteBytes(dir.File("grey.png"), MakePng(6, 1, 0, 8, {grey}));
    WriteBytes(dir.File("rgb16.png"), MakePng(6, 1, 2, 16, {rgb16}));

    CDibPtr fromRgb, fromGrey, from16;
    ASSERT_EQ(LoadPath(fromRgb, dir.File("rgb.png")), hr::kOk);
    ASSERT_EQ(LoadPath(fromGrey, dir.File("grey.png")), hr::kOk);
    ASSERT_EQ(LoadPath(from16, dir.File("rgb16.png")), hr::kOk);
    for (i32 x = 0; x < 6; ++x)
        EXPECT_EQ(PixelOf(*fromRgb, x, 0), (Bgra{levels[x], levels[x], levels[x], 255}));
    EXPECT_TRUE(PixelsNear(*fromGrey, *fromRgb, 0));
    EXPECT_TRUE(PixelsNear(*from16, *fromRgb, 0));
}

TEST(ImageIo, FilesThatCannotBeDecodedFail) {
    CTempDir dir;
    CDibPtr dib;

    WriteBytes(dir.File("empty.png"), {});
    EXPECT_EQ(LoadPath(dib, dir.File("empty.png")), hr::kNotImpl);

    const std::string text = "just some words, not a picture\n";
    WriteBytes(dir.File("words.jpg"), std::vector<u8>(text.begin(), text.end()));
    EXPECT_EQ(LoadPath(dib, dir.File("words.jpg")), hr::kNotImpl);

    std::vector<u8> jpeg = EncodedWithVips(TestPictureRgb(200, 150), 200, 150, 3, ".jpg");
    jpeg.resize(jpeg.size() / 2);
    WriteBytes(dir.File("truncated.jpg"), jpeg);
    EXPECT_EQ(LoadPath(dib, dir.File("truncated.jpg")), hr::kNotImpl);

    std::vector<u8> png = MakePng(2, 1, 2, 8, {{1, 2, 3, 4, 5, 6}});
    const size_t idatCrc = png.size() - 12 - 4; // the last 4 bytes before IEND
    png[idatCrc] ^= 0x5A;
    WriteBytes(dir.File("crc.png"), png);
    EXPECT_EQ(LoadPath(dib, dir.File("crc.png")), hr::kNotImpl);

    EXPECT_FALSE(dib);
}

TEST(ImageIo, FileSystemFailuresGiveTheirWin32Codes) {
    CTempDir dir;
    CDibPtr dib;
    EXPECT_EQ(LoadPath(dib, dir.File("missing.png")), 0x80070002u); // ERROR_FILE_NOT_FOUND
    EXPECT_EQ(LoadPath(dib, dir.Path().string()), 0x8007010Bu);     // a folder: "Is a directory"
    // A named pipe with no writer would block a plain open for ever; it is refused as no
    // ordinary file, and so is a socket, which cannot be opened at all.
    const std::string fifo = dir.File("pipe.png");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_EQ(LoadPath(dib, fifo), hr::kNotOrdinaryFile);
    const std::string socketPath = dir.File("socket.png");
    const int listener = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_GE(listener, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(socketPath.size(), sizeof address.sun_path);
    std::memcpy(address.sun_path, socketPath.c_str(), socketPath.size() + 1);
    ASSERT_EQ(::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(LoadPath(dib, socketPath), hr::kNotOrdinaryFile);
    ::close(listener);
    EXPECT_EQ(LoadPath(dib, "/dev/null"), hr::kNotOrdinaryFile);
    EXPECT_FALSE(dib);
}

TEST(ImageIo, HugeFilesAndImagesAreRefusedBeforeReading) {
    CTempDir dir;
    CDibPtr dib;

    // 4 GiB exactly, sparse: refusing it must not read (or allocate) it.
    const std::string big = dir.File("big.png");
    const int fd = ::open(big.c_str(), O_CREAT | O_WRONLY, 0644);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::ftruncate(fd, off_t{4} << 30), 0);
    ::close(fd);
    EXPECT_EQ(LoadPath(dib, big), hr::kOutOfMemory);

    // A header that declares 70000 x 70000: above the pixel limit, and even without the limit
    // 19.6 GB of 32-bit pixels.
    WriteBytes(dir.File("wide.png"), MakePng(70000, 70000, 2, 8, {{0, 0, 0}}));
    const std::vector<u8> wide = ReadBytes(dir.File("wide.png"));
    Size declared;
    EXPECT_EQ(DecodeImage(wide.data(), wide.size(), dib, CDecodeLimits{}, &declared),
              hr::kImageTooLarge);
    EXPECT_EQ(declared, (Size{70000, 70000}));
    EXPECT_EQ(
        DecodeImage(wide.data(), wide.size(), dib, CDecodeLimits{UINT64_MAX, kDefaultMaxScans}),
        hr::kOutOfMemory);
    EXPECT_FALSE(dib);
}

TEST(ImageIo, StopBetweenChunksAbortsTheRead) {
    CTempDir dir;
    WriteBytes(dir.File("a.png"), MakePng(1, 1, 2, 8, {{1, 2, 3}}));
    CFileBytes bytes;
    CStopAlways stop;
    EXPECT_EQ(ReadFileToBuffer(bytes, W(dir.File("a.png")), &stop), 0x800703E3u);
    EXPECT_FALSE(bytes.data);

    ASSERT_EQ(ReadFileToBuffer(bytes, W(dir.File("a.png"))), hr::kOk);
    EXPECT_EQ(bytes.size, ReadBytes(dir.File("a.png")).size());
}

TEST(ImageIo, ResolutionIsStoredInPixelsPerMetre) {
    CTempDir dir;
    CDibPtr dib;
    WriteBytes(dir.File("300.png"), MakePng(1, 1, 2, 8, {{1, 1, 1}}, {PhysChunk(11811)}));
    ASSERT_EQ(LoadPath(dib, dir.File("300.png")), hr::kOk);
    EXPECT_EQ(dib->Header()->biXPelsPerMeter, 11811);
    EXPECT_EQ(dib->Header()->biYPelsPerMeter, 11811);

    // 300 dpi as JPEG density (libvips counts pixels per millimetre).
    WriteBytes(dir.File("300.jpg"),
               EncodedWithVips(TestPictureRgb(8, 8), 8, 8, 3, ".jpg", {}, 300));
    dib.reset();
    ASSERT_EQ(LoadPath(dib, dir.File("300.jpg")), hr::kOk);
    EXPECT_EQ(dib->Header()->biXPelsPerMeter, 11811);
}

TEST(ImageIo, SampleResourceLoads) {
    CDibPtr dib;
    ASSERT_EQ(LoadImageResource(dib, 138, "IMAGE"), hr::kOk);
    EXPECT_EQ(dib->Width(), 298);
    EXPECT_EQ(dib->Height(), 372);
    EXPECT_EQ(PixelOf(*dib, 0, 0).a, 255);
    EXPECT_EQ(PixelOf(*dib, 297, 371).a, 255);

    CDibPtr none;
    EXPECT_EQ(LoadImageResource(none, 139, "IMAGE"), hr::kFail);
    EXPECT_EQ(LoadImageResource(none, 138, "BITMAP"), hr::kFail);
    EXPECT_FALSE(none);
}
