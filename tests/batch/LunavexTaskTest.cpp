// Tests of one file's road through a real task: the files of the whole-image reference, what the
// task keeps, where its output goes, and every failure with its finished text.
#include "batch/LunavexTask.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <vips/vips8>

#include "batch/Setting.h"
#include "foundation/ControlLookup.h"
#include "foundation/Exception.h"
#include "foundation/ResString.h"
#include "foundation/ResultText.h"
#include "image/Decode.h"
#include "image/ShrinkSettings.h"
#include "image/VipsStart.h"
#include "image/reference/WholeConversion.h"
#include "resources/StringIds.h"
#include "support/DeclaredBombs.h"
#include "support/Files.h"
#include "support/ImageFiles.h"
#include "support/PixelTestUtil.h"
#include "support/Thrown.h"

using namespace testutil;

namespace {

class LunavexTaskTest : public ::testing::Test {
protected:
    // Settings that round every corner by 10 px over green and fade no edge.
    static RoundSettings RoundOverGreen(bool transparent) {
        return {.backgroundColor = 0x00FF00, .transparent = transparent, .corners = 15, .edges = 0};
    }

    // The output that settings of the save type, JPEG quality 95 and `round` choose.
    static OutputChoice OutputOf(u32 saveType, const RoundSettings& round) {
        CSetting settings;
        settings.saveType = saveType;
        settings.jpegQuality = 95;
        settings.round = round;
        return settings.Output();
    }

    // A task on source into output with the save type, keeping the preview, set up and not run.
    static boost::shared_ptr<lvx::CLunavexTask> MakeTask(const std::wstring& source,
                                                         const std::wstring& output, u32 saveType,
                                                         const RoundSettings& round,
                                                         const ShrinkSettings& shrink = {}) {
        boost::shared_ptr<lvx::CLunavexTask> task(new lvx::CLunavexTask);
        task->Init(source, output, nullptr);
        task->SetShrink(shrink);
        task->SetRound(round);
        task->SetOutput(OutputOf(saveType, round));
        task->keepPreview = true;
        return task;
    }

    // The same task, run; a failed one keeps no preview.
    static boost::shared_ptr<lvx::CLunavexTask> RunTask(const std::wstring& source,
                                                        const std::wstring& output, u32 saveType,
                                                        const RoundSettings& round,
                                                        const ShrinkSettings& shrink = {}) {
        auto task = MakeTask(source, output, saveType, round, shrink);
        task->Run();
        EXPECT_EQ(static_cast<bool>(task->preview), task->errorId == 0);
        return task;
    }

    static CDibPtr Load(const std::wstring& path) {
        CDibPtr dib;
        EXPECT_EQ(LoadImageFile(dib, path), 0u) << testing::PrintToString(path);
        return dib;
    }

    testutil::CTempDir temp;
    const std::filesystem::path dir = temp.Path();
};

TEST_F(LunavexTaskTest, ShrinkAndRadiusAsShareOfTheShrunkImage) {
    ASSERT_TRUE(SaveImage(*Solid(800, 600, 10, 20, 30), L"image/png", dir / "big.png"));
    const ShrinkSettings shrink{.shrinkType = 2, .shrinkWidth = 640, .shrinkHeight = 640};
    RoundSettings round = RoundOverGreen(true);
    round.radius =
        LengthValue{1, 100, 50}; // 5 % of the short edge: 24 px after the shrink, 30 before
    auto task = RunTask(W(dir / "big.png"), W(dir / "round" / "big.png"), 1, round, shrink);
    ASSERT_EQ(task->errorId, 0);
    CDibPtr out = Load(W(dir / "round" / "big.png"));
    EXPECT_EQ(out->Width(), 640);
    EXPECT_EQ(out->Height(), 480);
    EXPECT_EQ(out->PixelAt(0, 10)[3], 0);
    EXPECT_EQ(out->PixelAt(0, 24)[3], 255) << "the mask is 24 rows high, not 30";
    EXPECT_LT(out->PixelAt(0, 23)[3], 255);
    EXPECT_EQ(task->outputFolder, W(dir / "round") + L"/");
}

TEST_F(LunavexTaskTest, TheMemoryEstimateCountsWhatAWholePictureEncoderHolds) {
    // A 600 x 800 picture fitted into 640 x 320: 240 x 320 as stored, 427 x 320 if a tag turns it;
    // the tag is not read for the estimate, so the larger counts. The bounds are the least that
    // each encoder was measured to hold a pixel.
    ASSERT_TRUE(SaveImage(*Solid(600, 800, 10, 20, 30), L"image/png", dir / "tall.png"));
    const ShrinkSettings shrink{.shrinkType = 2, .shrinkWidth = 640, .shrinkHeight = 320};
    auto estimate = [&](u32 saveType, bool transparent) {
        return MakeTask(W(dir / "tall.png"), W(dir / "out.png"), saveType,
                        RoundOverGreen(transparent), shrink)
            ->MemoryEstimate();
    };
    const u64 png = estimate(savetype::kPng, true);
    const u64 turned = 427 * 320;
    EXPECT_EQ(estimate(savetype::kJpeg, false), png);
    EXPECT_GE(estimate(savetype::kWebp, false) - png, 3 * turned);
    EXPECT_GE(estimate(savetype::kWebp, true) - png, 17 * turned);
    EXPECT_GE(estimate(savetype::kAvif, true) - png, 21 * turned);
}

TEST_F(LunavexTaskTest, EveryFailureHasItsFinishedText) {
    ASSERT_TRUE(SaveImage(*Solid(8, 8, 1, 2, 3), L"image/png", dir / "ok.png"));
    testutil::WriteText(dir / "notes.txt", "this is no image");
    ASSERT_TRUE(SaveImage(*Solid(64, 64, 1, 2, 3), L"image/jpeg", dir / "cut.jpg"));
    std::filesystem::resize_file(dir / "cut.jpg", std::filesystem::file_size(dir / "cut.jpg") / 2);

    // A text file, a cut JPEG and a file that is gone: a damaged or unsupported file says so, a
    // missing one gives the system's text; the path follows. The sub-folder made first stays.
    const std::wstring damaged = L"ファイルが壊れているか、対応していない形式です";
    for (auto [name, reason] : {std::pair{"notes.txt", damaged},
                                {"cut.jpg", damaged},
                                {"gone.png", ResultText(0x80070002u)}}) {
        auto task = RunTask(W(dir / name), W(dir / "sub" / name) + L".png", 1, RoundSettings{});
        EXPECT_EQ(task->errorId, strid::kLoadFailed);
        EXPECT_EQ(task->errorText,
                  L"画像の読み込みに失敗しました - " + reason + L"\n\n" + W(dir / name));
        EXPECT_TRUE(std::filesystem::is_directory(dir / "sub"));
        EXPECT_FALSE(std::filesystem::exists(dir / "sub" / (std::string(name) + ".png")));
    }

    boost::shared_ptr<lvx::CLunavexTask> task;

    // A file in the way of the folder, at its own name or above it: the text says so.
    testutil::WriteText(dir / "blocker", "x");
    for (const auto& output : {dir / "blocker" / "sub" / "ok.png", dir / "blocker" / "ok.png"}) {
        task = RunTask(W(dir / "ok.png"), W(output), 1, RoundSettings{});
        EXPECT_EQ(task->errorId, strid::kCreateFolderFailed);
        EXPECT_EQ(task->errorText,
                  L"フォルダーの作成に失敗しました - 同じ名前のファイルがあるため、フォルダーを作"
                  L"れません。\n\n" +
                      W(output.parent_path()) + L"/");
    }

    // A folder at the output's path, although the user agreed to replace it: the output path.
    std::filesystem::create_directories(dir / "out" / "ok.png");
    task = MakeTask(W(dir / "ok.png"), W(dir / "out" / "ok.png"), 1, RoundSettings{});
    task->replaceExisting = true;
    task->Run();
    EXPECT_EQ(task->errorId, strid::kSaveFailed);
    EXPECT_EQ(task->errorText.rfind(L"画像の保存に失敗しました - ", 0), 0u);
    EXPECT_EQ(task->errorText.substr(task->errorText.size() - W(dir / "out" / "ok.png").size() - 2),
              L"\n\n" + W(dir / "out" / "ok.png"));

    // Shrink to a size of 0 (each refusal's id is StreamConvertTest's): nothing is saved.
    const ShrinkSettings zero{.shrinkType = 1, .customWidth = 0};
    task = RunTask(W(dir / "ok.png"), W(dir / "z" / "ok.png"), 1, RoundSettings{}, zero);
    EXPECT_EQ(task->errorId, strid::kShrinkSizeNotPositive);
    EXPECT_EQ(task->errorText, L"縮小サイズが 0 以下です\n\n" + W(dir / "ok.png"));
    EXPECT_FALSE(std::filesystem::exists(dir / "z" / "ok.png"));
}

// Files that declare more than the limits allow are refused from their header, each limit with
// its own text, which names the figures in groups of three and the option that raises the limit.
TEST_F(LunavexTaskTest, RefusedSourcesNameWhatRefusedThem) {
    const struct {
        const char* name;
        std::vector<u8> bytes;
        i32 id;
        std::wstring message;
    } cases[] = {
        {"huge.bmp", EmptyRleBmp(30000, 20000), strid::kLoadFailedTooLarge,
         ResultText(hr::kImageTooLarge) +
             L": 30,000 × 20,000 ピクセル (上限は 268,402,689 ピクセル)"},
        {"rle.bmp", EmptyRleBmp(16383, 16383), strid::kLoadFailedOverMemory,
         L"復号に必要なメモリーが上限を超えます: 16,383 × 16,383 ピクセルで約 1,080 MB が必要、"
         L"上限は 1,000 MB です (--max-memory、または設定の MaxMemory で変えられます)"},
        {"work.jpg", EmptyProgressiveJpeg(10000, 10000, 3, 946), strid::kLoadFailedOverWork,
         L"JPEG ファイルのスキャンの処理量が上限を超えます: 10,000 × 10,000 ピクセルを 946 スキャ"
         L"ン、上限は 268,402,689 ピクセルの 20 回分です (--max-pixels、または設定の MaxPixels で"
         L"変えられます)"},
        {"scans.jpg", EmptyProgressiveJpeg(8, 8, 3, kDefaultMaxScans + 1),
         strid::kLoadFailedTooManyScans,
         ResultText(hr::kTooManyScans) + L" (上限は 1,000 スキャン)"},
    };
    for (const auto& c : cases) {
        WriteBytes(dir / c.name, c.bytes);
        auto task = RunTask(W(dir / c.name), W(dir / "out" / c.name), 1, RoundSettings{});
        EXPECT_EQ(task->errorId, c.id) << c.name;
        EXPECT_EQ(task->errorText,
                  L"画像の読み込みに失敗しました - " + c.message + L"\n\n" + W(dir / c.name));
    }
}

// The task writes the reference's file byte for byte, its preview is the one of the whole decoded
// image, and kept encoded bytes are written only when told to. Each output choice against the
// reference is StreamConvertTest's; a phone's HEIC photo reaches the streamed road here.
TEST_F(LunavexTaskTest, TheTaskWritesTheReferencesFileAndKeepsWhatItIsAskedTo) {
    auto picture = MakeDib(120, 90, [](i32 x, i32 y) {
        return Bgra{static_cast<u8>(x * 2), static_cast<u8>(y * 3), static_cast<u8>((x ^ y) * 5),
                    static_cast<u8>(x < 60 ? 255 : 128 + y)};
    });
    ASSERT_TRUE(SaveImage(*picture, L"image/png", dir / "alpha.png"));
    // HEIC (HEVC), made here by libvips' own encoder (AVIF decodes by the same loader: CodecTest).
    ASSERT_TRUE(EnsureHeifLoader());
    vips::VImage::black(120, 90, vips::VImage::option()->set("bands", 3))
        .linear({1.0, 1.0, 1.0}, {200.0, 120.0, 40.0})
        .cast(VIPS_FORMAT_UCHAR)
        .heifsave((dir / "phone.heic").c_str(),
                  vips::VImage::option()->set("compression", VIPS_FOREIGN_HEIF_COMPRESSION_HEVC));
    const struct {
        const char* source;
        u32 saveType;
        bool transparent;
    } cases[] = {{"alpha.png", 1, true}, {"phone.heic", 2, false}};
    for (const auto& [source, saveType, transparent] : cases) {
        const std::string bytes = ReadText(dir / source);
        CDibPtr decoded;
        ASSERT_EQ(DecodeImage(reinterpret_cast<const u8*>(bytes.data()), bytes.size(), decoded),
                  0u);
        CPreviewSource whole;
        ASSERT_EQ(whole.Build(*decoded), 0u);
        RoundSettings round = RoundOverGreen(transparent);
        round.edges = 5;
        const OutputChoice output = OutputOf(saveType, round);
        auto task = RunTask(W(dir / source), W(dir / "out" / source), saveType, round);
        ASSERT_EQ(task->errorId, 0) << source;
        std::vector<u8> reference;
        ASSERT_EQ(ConvertWholeFile(reinterpret_cast<const u8*>(bytes.data()), bytes.size(), {},
                                   round, output, reference),
                  0u);
        EXPECT_TRUE(ReadText(dir / "out" / source) ==
                    std::string(reference.begin(), reference.end()))
            << source;
        for (const Size fitted : {Size{120, 90}, Size{50, 38}}) {
            CDibPtr cornerA, cornerB, wholeA, wholeB;
            ASSERT_EQ(task->preview->RenderCorner(round, output, fitted, 3, {70, 40}, cornerA), 0u);
            ASSERT_EQ(whole.RenderCorner(round, output, fitted, 3, {70, 40}, cornerB), 0u);
            ASSERT_EQ(task->preview->RenderWhole(round, output, fitted, {60, 45}, wholeA), 0u);
            ASSERT_EQ(whole.RenderWhole(round, output, fitted, {60, 45}, wholeB), 0u);
            EXPECT_TRUE(testutil::PixelsNear(*cornerA, *cornerB, 0)) << source;
            EXPECT_TRUE(testutil::PixelsNear(*wholeA, *wholeB, 0)) << source;
        }
    }

    // Kept encoded, as the window's tasks are: nothing on disk until SaveEncoded writes the same
    // file, and the preview made at once.
    RoundSettings round = RoundOverGreen(true);
    round.edges = 5;
    auto kept = MakeTask(W(dir / "alpha.png"), W(dir / "kept" / "alpha.png"), 1, round);
    kept->keeps = lvx::TaskKeeps::kEncoded;
    kept->Run();
    ASSERT_EQ(kept->errorId, 0);
    EXPECT_TRUE(kept->preview);
    EXPECT_FALSE(std::filesystem::exists(dir / "kept" / "alpha.png"));
    const std::vector<u8> encoded = kept->encoded;
    kept->SaveEncoded();
    EXPECT_TRUE(kept->encoded.empty());
    EXPECT_TRUE(ReadText(dir / "kept" / "alpha.png") ==
                std::string(encoded.begin(), encoded.end()));
    EXPECT_TRUE(ReadText(dir / "kept" / "alpha.png") == ReadText(dir / "out" / "alpha.png"));
}

// An output that appeared after the check stays as it is without the user's consent to replace it
// (a replacing with consent is BatchPlanTest's and CommandExecDataTest's).
TEST_F(LunavexTaskTest, AnOutputThatAppearedMeanwhileStaysWithoutConsent) {
    ASSERT_TRUE(SaveImage(*Solid(12, 10, 1, 2, 3), L"image/png", dir / "a.png"));
    ASSERT_TRUE(SaveImage(*Solid(12, 10, 9, 8, 7), L"image/png", dir / "b.png"));
    const auto output = dir / "out" / "same.png";
    auto first = RunTask(W(dir / "a.png"), W(output), 1, {});
    ASSERT_EQ(first->errorId, 0) << testing::PrintToString(first->errorText);
    const auto firstBytes = ReadText(output);
    auto second = RunTask(W(dir / "b.png"), W(output), 1, {});
    EXPECT_EQ(second->errorId, strid::kOutputAppeared);
    EXPECT_EQ(second->errorText,
              L"確認した後に出力ファイルが作られていたため、置き換えずに中止しました\n\n" +
                  W(output));
    EXPECT_EQ(ReadText(output), firstBytes);
}

TEST_F(LunavexTaskTest, OutputPathsFollowTheSourceName) {
    CSetting settings;
    std::wstring out;
    // No sub-folder named: "trim" (the outputs below a named one are the plan's test).
    settings.saveType = 1;
    settings.subFolders.Resize(0);
    lvx::MakeOutputPath(out, L"/pics/x.gif", settings);
    EXPECT_EQ(out, L"/pics/trim/x.png");

    SetCtrlResolver([](i32 id) { return reinterpret_cast<CtrlHandle>(static_cast<intptr_t>(id)); });
    settings.subFolders.Add(L"");
    const auto e = testutil::Thrown<my::CCtrlException>(
        [&] { lvx::MakeOutputPath(out, L"/pics/x.png", settings); });
    EXPECT_EQ(e.id, strid::kEmptySubFolder);
    EXPECT_EQ(e.text, L"サブフォルダ名が空です");
    EXPECT_EQ(e.ctrl, reinterpret_cast<CtrlHandle>(static_cast<intptr_t>(165)));
    SetCtrlResolver(nullptr);
    settings.subFolders.Add(L"round");
    const auto e2 = testutil::Thrown([&] { lvx::MakeOutputPath(out, L"/pics/", settings); });
    EXPECT_EQ(e2.id, strid::kBadFilePath);
    EXPECT_EQ(e2.text, L"ファイルパスが不正です\n\n/pics/");
}

} // namespace
