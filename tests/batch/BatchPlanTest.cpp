// Tests of the batch plan: the outputs of a batch and every refusal before anything changes.
#include "batch/BatchPlan.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>

#include "batch/Setting.h"
#include "foundation/Exception.h"
#include "foundation/ResString.h"
#include "support/Files.h"
#include "support/PixelTestUtil.h"

using namespace testutil;
namespace fs = std::filesystem;

namespace {

class BatchPlanTest : public ::testing::Test {
protected:
    fs::path Image(const std::string& name) {
        const fs::path path = dir / name;
        EXPECT_TRUE(SaveImage(*Solid(8, 6, 1, 2, 3), L"image/png", path));
        return path;
    }

    // The text of the refusal, or "" when the plan was made.
    std::wstring Refusal(const std::vector<fs::path>& sources) {
        std::vector<std::wstring> paths;
        for (const fs::path& source : sources)
            paths.push_back(W(source));
        try {
            planned = lvx::PlanBatch(paths, settings, nullptr);
        } catch (const my::CException& e) {
            planned.clear();
            return e.text;
        }
        return L"";
    }

    // Every file below the folder with its size: what a refusal must leave as it was.
    std::map<std::string, uintmax_t> Snapshot() const {
        std::map<std::string, uintmax_t> files;
        for (const auto& entry : fs::recursive_directory_iterator(dir))
            files[entry.path().string()] = entry.is_regular_file() ? entry.file_size() : 0;
        return files;
    }

    testutil::CTempDir temp;
    const fs::path dir = temp.Path();
    CSetting settings;
    std::vector<lvx::PlannedFile> planned;
};

TEST_F(BatchPlanTest, MakesOneTaskPerSourceInOrderAndSeesWhichOutputsExist) {
    const fs::path a = Image("a.png");
    const fs::path b = Image("b.png");
    fs::create_directories(dir / "round");
    testutil::WriteText(dir / "round" / "b.jpg", "old");
    settings.maxMemoryMb = 123; // the window's batch and lunavex-batch take the limits from here
    EXPECT_EQ(Refusal({a, b}), L"");
    ASSERT_EQ(planned.size(), 2u);
    EXPECT_EQ(planned[0].task->inputPath, W(a));
    EXPECT_EQ(planned[0].task->outputFile, W(dir / "round" / "a.jpg"));
    EXPECT_FALSE(planned[0].outputExists);
    EXPECT_EQ(planned[1].task->outputFile, W(dir / "round" / "b.jpg"));
    EXPECT_TRUE(planned[1].outputExists);
    EXPECT_TRUE(planned[1].task->saver) << "each task has its encoder";
    EXPECT_EQ(planned[1].task->limits.maxMemoryMb, 123u);
}

TEST_F(BatchPlanTest, RefusesEveryOutputThatWouldReplaceASourceAndChangesNothing) {
    const fs::path a = Image("a.png");
    const fs::path c = Image("c.jpg");
    const auto before = Snapshot();

    // "." as the sub-folder: a PNG's output is the source itself, under another spelling.
    settings.saveType = 1;
    settings.subFolders.Add(L".");
    EXPECT_EQ(Refusal({a}), L"出力先が元のファイルと同じになるため中止しました\n\n元のファイル: " +
                                W(a) + L"\n出力ファイル: " + W(dir) + L"/./a.png");

    // A JPEG output that is the next source of the batch would replace it before it is read.
    settings.saveType = 2;
    EXPECT_EQ(Refusal({Image("c.png"), c}),
              L"出力先が、変換する別のファイルと同じになるため中止しました\n\n元のファイル: " +
                  W(dir / "c.png") + L"\n出力先になる変換元のファイル: " + W(c));
    EXPECT_EQ(Refusal({c}).rfind(L"出力先が元のファイルと同じ", 0), 0u);

    // The output folder reached through a link to the source's own folder.
    settings.subFolders.Add(L"link");
    fs::create_directory_symlink(dir, dir / "link");
    settings.saveType = 1;
    EXPECT_EQ(Refusal({a}).rfind(L"出力先が元のファイルと同じ", 0), 0u);
    // The source reached through a link: the output is the file behind it.
    settings.subFolders.Add(L"round");
    fs::create_directories(dir / "round");
    Image("round/d.png");
    fs::create_symlink(dir / "round" / "d.png", dir / "d.png");
    EXPECT_EQ(Refusal({dir / "d.png"}).rfind(L"出力先が元のファイルと同じ", 0), 0u);
    // An output that is another source given by a second spelling of its folder.
    Image("round/e.png");
    EXPECT_EQ(Refusal({Image("e.jpg"), dir / "link" / "round" / "e.png"}),
              L"出力先が、変換する別のファイルと同じになるため中止しました\n\n元のファイル: " +
                  W(dir / "e.jpg") + L"\n出力先になる変換元のファイル: " +
                  W(dir / "link" / "round" / "e.png"));
    fs::remove(dir / "link");
    fs::remove(dir / "d.png");
    fs::remove(dir / "e.jpg");
    fs::remove_all(dir / "round");
    fs::remove(dir / "c.png");
    EXPECT_EQ(Snapshot(), before);
}

TEST_F(BatchPlanTest, RefusesTwoSourcesWithOneOutputAndThingsInTheOutputsWay) {
    const fs::path a = Image("a.png");
    const fs::path b = Image("a.bmp");
    EXPECT_EQ(Refusal({a, b}), L"次のファイルは同じ出力ファイルになるため中止しました\n\n" + W(a) +
                                   L"\n" + W(b) + L"\n\n出力ファイル: " +
                                   W(dir / "round" / "a.jpg"));
    // The same output by two spellings of the source's folder.
    EXPECT_EQ(Refusal({a, dir / "." / "a.png"}).rfind(L"次のファイルは同じ出力ファイル", 0), 0u);

    fs::create_directories(dir / "round" / "a.jpg");
    EXPECT_EQ(Refusal({a}), L"出力先に同じ名前のフォルダーがあるため中止しました\n\n" +
                                W(dir / "round" / "a.jpg"));
    fs::remove_all(dir / "round");
    testutil::WriteText(dir / "round", "a file");
    EXPECT_EQ(Refusal({a}), L"出力先のフォルダーを作れません。同じ名前のファイルがあります\n\n" +
                                W(dir / "round"));
    settings.subFolders.Add(L"round/deeper");
    EXPECT_EQ(Refusal({a}), L"出力先のフォルダーを作れません。同じ名前のファイルがあります\n\n" +
                                W(dir / "round"));

    settings.subFolders.Add(L"out");
    EXPECT_EQ(Refusal({a, dir / "missing.png"}),
              L"ファイルが見つかりません\n\n" + W(dir / "missing.png"));
    EXPECT_EQ(Refusal({dir}), L"ファイルが見つかりません\n\n" + W(dir));
    EXPECT_FALSE(fs::exists(dir / "out"));
}

TEST_F(BatchPlanTest, NamesThatAreNotUtf8KeepTheirBytes) {
    // Latin-1 "photo\xE9" and its UTF-8 look-alike with U+FFFD are two files with two outputs.
    const fs::path latin = Image("photo\xE9.png");
    const fs::path replaced = Image("photo\xEF\xBF\xBD.png");
    ASSERT_EQ(Refusal({latin, replaced}), L"");
    ASSERT_EQ(planned.size(), 2u);
    EXPECT_EQ(ToFileSystemPath(planned[0].task->inputPath), latin.string());
    EXPECT_EQ(ToFileSystemPath(planned[0].task->outputFile),
              (dir / "round" / "photo\xE9.jpg").string());
    EXPECT_EQ(ToFileSystemPath(planned[1].task->outputFile),
              (dir / "round" / "photo\xEF\xBF\xBD.jpg").string());
    planned[0].task->Run();
    EXPECT_EQ(planned[0].task->errorId, 0) << planned[0].task->errorText;
    EXPECT_TRUE(fs::is_regular_file(dir / "round" / "photo\xE9.jpg"));
    EXPECT_FALSE(fs::exists(dir / "round" / "photo\xEF\xBF\xBD.jpg"));
}

} // namespace
