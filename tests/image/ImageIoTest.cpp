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

HResult Decode(const std::vector<u8>& bytes, CDibPtr& out) {
    return DecodeImage(bytes.data(), bytes.size(), out);
}

} // namespace

TEST(ImageIo, JpegAndEveryFormOfPngDecodeToTheirExactPixels) {
    CTempDir dir;
    const std::string path = dir.File("scene.jpg");
    const std::vector<u8> jpeg = EncodedWithVips(TestPictureRgb(61, 47), 61, 47, 3, ".jpg[Q=85]");
    WriteBytes(path, jpeg);

    CDibPtr dib;
    ASSERT_EQ(LoadPath(dib, path), hr::kOk);
    ASSERT_TRUE(dib && IsDib32(*dib)); // 32 bits, uncompressed
    const BitmapInfoHeader& h = *dib->Header();
    EXPECT_EQ(h.biSize, 40u);
    EXPECT_EQ(h.biWidth, 61);
    EXPECT_EQ(h.biHeight, 47); // bottom-up
    EXPECT_EQ(h.biPlanes, 1);

    const vips::VImage reference = vips::VImage::new_from_buffer(jpeg.data(), jpeg.size(), "");
    for (i32 y = 0; y < 47; ++y) {
        for (i32 x = 0; x < 61; ++x) {
            const std::vector<double> ref = reference.getpoint(x, y);
            ASSERT_EQ(PixelOf(*dib, x, y), (Bgra{u8(ref[2]), u8(ref[1]), u8(ref[0]), 255}))
                << "at " << x << ", " << y;
        }
    }

    // Straight alpha (colours under partial and zero alpha survive), palette transparency, grey and
    // 16 bits, to exact pixels.
    const std::vector<u8> palette = {255, 0, 0, 0, 255, 0, 0, 0, 255, 9, 9, 9};
    const std::vector<u8> levels = {0, 1, 77, 128, 200, 255};
    std::vector<u8> rgb, grey, rgb16;
    std::vector<Bgra> greys;
    for (u8 v : levels) {
        rgb.insert(rgb.end(), {v, v, v});
        grey.push_back(v);
        rgb16.insert(rgb16.end(), {v, v, v, v, v, v}); // v * 257, big-endian
        greys.push_back({v, v, v, 255});
    }
    const struct {
        const char* what;
        std::vector<u8> bytes;
        std::vector<Bgra> pixels;
    } cases[] = {
        {"RGBA",
         MakePng(3, 2, 6, 8,
                 {{255, 0, 0, 255, 0, 255, 0, 128, 0, 0, 255, 0},
                  {10, 20, 30, 1, 200, 100, 50, 254, 77, 88, 99, 64}}),
         {{0, 0, 255, 255},
          {0, 255, 0, 128},
          {255, 0, 0, 0},
          {30, 20, 10, 1},
          {50, 100, 200, 254},
          {99, 88, 77, 64}}},
        {"palette, index 3 without a tRNS entry",
         MakePng(4, 1, 3, 8, {{0, 1, 2, 3}}, {{"PLTE", palette}, {"tRNS", {255, 128, 0}}}),
         {{0, 0, 255, 255}, {0, 255, 0, 128}, {255, 0, 0, 0}, {9, 9, 9, 255}}},
        {"RGB", MakePng(6, 1, 2, 8, {rgb}), greys},
        {"grey", MakePng(6, 1, 0, 8, {grey}), greys},
        {"16-bit RGB", MakePng(6, 1, 2, 16, {rgb16}), greys},
    };
    for (const auto& c : cases) {
        CDibPtr dib;
        ASSERT_EQ(Decode(c.bytes, dib), hr::kOk) << c.what;
        EXPECT_EQ(PixelsOf(*dib), c.pixels) << c.what;
    }
    // Row 0 (the top) is the last row in memory.
    ASSERT_EQ(Decode(cases[0].bytes, dib), hr::kOk);
    EXPECT_EQ(dib->Bits()[dib->Stride() + 2], 255);
}

// Empty, no image, cut in its rows, a damaged checksum; and a header of 70000 x 70000, above the
// pixel limit and, without it, 19.6 GB of 32-bit pixels.
TEST(ImageIo, FilesThatCannotBeDecodedFail) {
    const std::string text = "just some words, not a picture\n";
    std::vector<u8> jpeg = EncodedWithVips(TestPictureRgb(200, 150), 200, 150, 3, ".jpg");
    jpeg.resize(jpeg.size() / 2);
    std::vector<u8> png = MakePng(2, 1, 2, 8, {{1, 2, 3, 4, 5, 6}});
    png[png.size() - 12 - 4] ^= 0x5A; // the IDAT's checksum, the last 4 bytes before IEND
    for (const std::vector<u8>& bytes :
         {std::vector<u8>(), std::vector<u8>(text.begin(), text.end()), jpeg, png}) {
        CDibPtr dib;
        EXPECT_EQ(Decode(bytes, dib), hr::kNotImpl) << bytes.size();
        EXPECT_FALSE(dib);
    }
    const std::vector<u8> wide = MakePng(70000, 70000, 2, 8, {{0, 0, 0}});
    CDibPtr dib;
    Size declared;
    EXPECT_EQ(DecodeImage(wide.data(), wide.size(), dib, CDecodeLimits{}, &declared),
              hr::kImageTooLarge);
    EXPECT_EQ(declared, (Size{70000, 70000}));
    EXPECT_EQ(
        DecodeImage(wide.data(), wide.size(), dib, CDecodeLimits{UINT64_MAX, kDefaultMaxScans}),
        hr::kOutOfMemory);
    EXPECT_FALSE(dib);
}

// Win32 codes of the system's failures; what is no ordinary file, and a file over 4 GiB, are
// refused before a byte is read.
TEST(ImageIo, FileSystemFailuresGiveTheirWin32CodesAndAStopAbortsTheRead) {
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
    // 4 GiB exactly, sparse: refusing it must not read (or allocate) it.
    const std::string big = dir.File("big.png");
    const int fd = ::open(big.c_str(), O_CREAT | O_WRONLY, 0644);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::ftruncate(fd, off_t{4} << 30), 0);
    ::close(fd);
    EXPECT_EQ(LoadPath(dib, big), hr::kOutOfMemory);
    EXPECT_FALSE(dib);

    // A stop between chunks aborts the read.
    WriteBytes(dir.File("a.png"), MakePng(1, 1, 2, 8, {{1, 2, 3}}));
    CFileBytes bytes;
    CStopAlways stop;
    EXPECT_EQ(ReadFileToBuffer(bytes, W(dir.File("a.png")), &stop), 0x800703E3u);
    EXPECT_FALSE(bytes.data);

    ASSERT_EQ(ReadFileToBuffer(bytes, W(dir.File("a.png"))), hr::kOk);
    EXPECT_EQ(bytes.size, ReadBytes(dir.File("a.png")).size());
}

// 300 dots per inch as a PNG's pHYs and as JPEG density (libvips counts pixels per millimetre).
TEST(ImageIo, ResolutionIsStoredInPixelsPerMetre) {
    for (const std::vector<u8>& bytes :
         {MakePng(1, 1, 2, 8, {{1, 1, 1}}, {PhysChunk(11811)}),
          EncodedWithVips(TestPictureRgb(8, 8), 8, 8, 3, ".jpg", {}, 300)}) {
        CDibPtr dib;
        ASSERT_EQ(Decode(bytes, dib), hr::kOk);
        EXPECT_EQ(dib->Header()->biXPelsPerMeter, 11811);
        EXPECT_EQ(dib->Header()->biYPelsPerMeter, 11811);
    }
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
