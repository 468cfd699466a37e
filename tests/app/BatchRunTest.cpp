// Tests of lunavex-batch: options, the checks before anything changes, outputs and exit codes.
#include "app/BatchRun.h"

#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <sstream>

#include "app/BatchOptions.h"
#include "batch/Setting.h"
#include "foundation/Utf8.h"
#include "support/Files.h"
#include "support/PixelTestUtil.h"

using namespace testutil;

namespace {

class BatchRunTest : public ::testing::Test {
protected:
    lvx::BatchOptions Parse(std::vector<std::string> args) {
        lvx::BatchOptions options;
        std::wstring error;
        EXPECT_TRUE(lvx::ParseBatchOptions(args, options, error)) << Utf8FromWide(error);
        return options;
    }

    int Run(const lvx::BatchOptions& options, const CSetting& settings) {
        out.str("");
        err.str("");
        return lvx::RunBatch(options, settings, out, err);
    }

    std::ostringstream out, err;
    testutil::CTempDir temp;
    const std::filesystem::path dir = temp.Path();
};

TEST_F(BatchRunTest, OptionsOverrideSettingsForTheRun) {
    auto o = Parse({"--shrink=800x600",
                    "--radius",
                    "5%",
                    "--blur=2.5px",
                    "--corners=tl,br",
                    "--edges=none",
                    "--background=#FF8000",
                    "--transparent",
                    "--format=png",
                    "--quality=55",
                    "--subfolder=web",
                    "--max-pixels",
                    "4294967295",
                    "--max-memory=2000",
                    "--jobs=3",
                    "--orientation=stored",
                    "--metadata=keep-without-location",
                    "--keep-dates",
                    "a.jpg",
                    "--",
                    "--b.jpg"});
    CSetting s;
    lvx::ApplyBatchOptions(o, s);
    EXPECT_EQ(s.shrink, (ShrinkSettings{.shrinkType = 1, .customWidth = 800, .customHeight = 600}));
    // 5 % is 50 thousandths; the pixel number stays.
    EXPECT_EQ(s.round, (RoundSettings{0x0080FF, true, 1 | 4, 0, {1, 100, 50}, {0, 25, 10}}));
    EXPECT_EQ(s.saveType, 1u);
    EXPECT_EQ(s.jpegQuality, 55u);
    EXPECT_EQ(s.subFolders.front(), L"web");
    EXPECT_EQ(s.maxPixels, 4294967295u);
    EXPECT_EQ(s.maxMemoryMb, 2000u);
    EXPECT_TRUE(s.keepStoredOrientation);
    EXPECT_EQ(s.metadata, metadatakept::kWithoutLocation);
    EXPECT_TRUE(s.keepDates);
    EXPECT_EQ(o.jobs, 3u);
    EXPECT_EQ(o.files, (std::vector<std::wstring>{L"a.jpg", L"--b.jpg"}));
    EXPECT_EQ(Parse({}).jobs, 0u) << "one per processor unless asked";

    auto named =
        Parse({"--shrink=640", "--format", "jpg", "--orientation=auto", "--metadata=keep"});
    CSetting t;
    t.keepStoredOrientation = true;
    lvx::ApplyBatchOptions(named, t);
    EXPECT_EQ(t.shrink, (ShrinkSettings{.shrinkType = 2, .shrinkWidth = 640, .shrinkHeight = 640}));
    EXPECT_EQ(t.saveType, 2u);
    EXPECT_FALSE(t.keepStoredOrientation);
    EXPECT_EQ(t.metadata, metadatakept::kAll);
    EXPECT_FALSE(t.keepDates);
    for (auto [format, saveType] :
         {std::pair{"webp", savetype::kWebp}, {"avif", savetype::kAvif}}) {
        lvx::ApplyBatchOptions(Parse({std::string("--format=") + format}), t);
        EXPECT_EQ(t.saveType, saveType);
    }

    std::map<std::string, std::wstring> errors;
    for (const char* bad : {"--quality=101",     "--radius=-1",       "--radius=.5",
                            "--corners=top",     "--background=FFF",  "--format=gif",
                            "--shrink=0",        "--frobnicate",      "-x",
                            "--quality",         "--jobs=0",          "--jobs=1.5",
                            "--jobs=all",        "--jobs=257",        "--subfolder=",
                            "--subfolder=../up", "--max-memory=0",    "--max-pixels=0",
                            "--max-pixels=1.5",  "--max-pixels=many", "--max-pixels=4294967296",
                            "--max-pixels=-5",   "--orientation=up",  "--metadata=all"}) {
        lvx::BatchOptions options;
        EXPECT_FALSE(lvx::ParseBatchOptions({bad}, options, errors[bad])) << bad;
        EXPECT_FALSE(errors[bad].empty());
        if (std::string(bad).starts_with("--max-pixels")) {
            EXPECT_EQ(errors[bad], L"オプションの値が不正です: " + WideFromUtf8(bad));
        }
    }
    EXPECT_EQ(errors["--frobnicate"], L"不明なオプションです: --frobnicate");
    // A sub-folder says why it is refused (every reason is the plan's test).
    EXPECT_EQ(
        errors["--subfolder=../up"],
        L"オプションの値が不正です: --subfolder=../up\nサブフォルダー名に、空の名前、「.」、「..」"
        L"は使えません (「/」の前後や連続した「//」を含みます)\n\n../up");
}

TEST_F(BatchRunTest, ProducesWhatTheTaskProducesAndRefusesToReplaceOutputs) {
    // A name that is not UTF-8 is converted, and listed on standard output, under its own bytes.
    ASSERT_TRUE(SaveImage(*Solid(64, 48, 200, 100, 50), L"image/jpeg", dir / "on\xE9.jpg"));
    ASSERT_TRUE(SaveImage(*Solid(30, 50, 10, 20, 30), L"image/png", dir / "two.png"));
    CSetting settings; // defaults: JPEG quality 80 into "round", radius 10, blur 1
    auto options = Parse({(dir / "on\xE9.jpg").string(), (dir / "two.png").string()});
    ASSERT_EQ(Run(options, settings), lvx::exitcode::kConverted) << err.str();
    EXPECT_EQ(out.str(), (dir / "round" / "on\xE9.jpg").string() + "\n" +
                             (dir / "round" / "two.jpg").string() + "\n");

    // A second run without --overwrite lists the outputs and changes nothing.
    auto before = std::filesystem::last_write_time(dir / "round" / "on\xE9.jpg");
    EXPECT_EQ(Run(options, settings), lvx::exitcode::kRefused);
    EXPECT_EQ(out.str(), "");
    EXPECT_NE(err.str().find(Utf8FromWide(L"置き換えるには --overwrite")), std::string::npos);
    EXPECT_NE(err.str().find((dir / "round" / "two.jpg").string()), std::string::npos);
    EXPECT_EQ(std::filesystem::last_write_time(dir / "round" / "on\xE9.jpg"), before);

    options.overwrite = true;
    EXPECT_EQ(Run(options, settings), lvx::exitcode::kConverted);
}

TEST_F(BatchRunTest, ChecksComeBeforeAnyChange) {
    ASSERT_TRUE(SaveImage(*Solid(8, 8, 1, 2, 3), L"image/png", dir / "a.png"));
    CSetting settings;

    EXPECT_EQ(Run(Parse({}), settings), lvx::exitcode::kUsage);
    EXPECT_EQ(err.str(), Utf8FromWide(L"変換するファイルが指定されていません\n"));

    // A refusal of the plan (each tested with the plan) stops the run before any folder is made.
    // Messages show the byte of a name that is not UTF-8 as \xE9.
    EXPECT_EQ(Run(Parse({(dir / "a.png").string(), (dir / "gone\xE9.png").string()}), settings),
              lvx::exitcode::kRefused);
    EXPECT_EQ(err.str(),
              Utf8FromWide(L"ファイルが見つかりません\n\n" + W(dir) + L"/gone\\xE9.png\n"));
    EXPECT_FALSE(std::filesystem::exists(dir / "round"));
}

// A folder converts its images, says how many files it left alone, and gives the outputs their
// sources' times when asked; a folder without images is refused before anything changes.
TEST_F(BatchRunTest, AFolderConvertsItsImagesAndTheirDatesStayWhenAsked) {
    std::filesystem::create_directories(dir / "f" / "sub");
    ASSERT_TRUE(SaveImage(*Solid(8, 8, 1, 2, 3), L"image/png", dir / "f" / "sub" / "a.png"));
    WriteText(dir / "f" / "notes.txt", "x");
    const auto old = std::filesystem::file_time_type::clock::now() - std::chrono::hours(9000);
    std::filesystem::last_write_time(dir / "f" / "sub" / "a.png", old);
    CSetting settings;
    const lvx::BatchOptions options = Parse({"--keep-dates", (dir / "f").string()});
    lvx::ApplyBatchOptions(options, settings);
    ASSERT_EQ(Run(options, settings), lvx::exitcode::kConverted) << err.str();
    EXPECT_EQ(out.str(), (dir / "f" / "sub" / "round" / "a.jpg").string() + "\n");
    EXPECT_EQ(err.str(),
              Utf8FromWide(L"フォルダーの中の画像ではないファイル 1 個は変換しません\n"));
    EXPECT_EQ(std::filesystem::last_write_time(dir / "f" / "sub" / "round" / "a.jpg"), old);

    std::filesystem::create_directories(dir / "empty");
    EXPECT_EQ(Run(Parse({(dir / "empty").string()}), settings), lvx::exitcode::kRefused);
    EXPECT_EQ(err.str(), Utf8FromWide(L"フォルダーの中に変換できる画像ファイルがありません\n\n" +
                                      W(dir / "empty") + L"\n"));
}

// The pixel limit of the command line reaches every task; on many workers the files before the
// first failure are written and listed in their order, and none after it.
TEST_F(BatchRunTest, ThePixelLimitOfTheCommandLineReachesEveryTask) {
    std::vector<std::string> args = {"--jobs=16", "--max-pixels=63"};
    for (auto [name, width] : {std::pair{"s.png", 7}, {"a.png", 8}, {"z.png", 7}}) {
        args.push_back((dir / name).string());
        ASSERT_TRUE(
            SaveImage(*Solid(width, width == 7 ? 9 : 8, 1, 2, 3), L"image/png", dir / name));
    }
    // The program applies the options to its settings before the run, as here.
    const lvx::BatchOptions tight = Parse(args);
    CSetting settings;
    lvx::ApplyBatchOptions(tight, settings);
    EXPECT_EQ(Run(tight, settings), lvx::exitcode::kTaskFailed);
    EXPECT_EQ(out.str(), (dir / "round" / "s.jpg").string() + "\n");
    EXPECT_NE(err.str().find(Utf8FromWide(L": 8 × 8 ピクセル (上限は 63 ピクセル)")),
              std::string::npos)
        << err.str();
    EXPECT_TRUE(err.str().ends_with("\n\n" + (dir / "a.png").string() + "\n")) << err.str();
    EXPECT_EQ(FileNames(dir / "round"), std::vector<std::string>{"s.jpg"});
    const lvx::BatchOptions enough = Parse({"--max-pixels=64", (dir / "a.png").string()});
    lvx::ApplyBatchOptions(enough, settings);
    EXPECT_EQ(Run(enough, settings), lvx::exitcode::kConverted);
    EXPECT_TRUE(std::filesystem::exists(dir / "round" / "a.jpg"));
}

} // namespace
