// Tests of the batch plan: the outputs of a batch and every refusal before anything changes.
#include "batch/BatchPlan.h"

#include <gtest/gtest.h>

#include <fstream>

#include <map>
#include <sys/stat.h>

#include "batch/Setting.h"
#include "foundation/Exception.h"
#include "foundation/ResString.h"
#include "image/reference/WholeConversion.h"
#include "resources/StringIds.h"
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

    static std::wstring Text(u32 id, const std::wstring& argument) {
        std::wstring text;
        FormatResString(text, id, {argument});
        return text;
    }

    testutil::CTempDir temp;
    const fs::path dir = temp.Path();
    CSetting settings;
    std::vector<lvx::PlannedFile> planned;
};

TEST_F(BatchPlanTest, MakesOneTaskPerSourceInOrderAndSeesWhichOutputsExist) {
    const fs::path a = Image("a.png");
    const fs::path b = Image("b.png");
    testutil::WriteText(dir / "round" / "b.jpg", "old");
    // A source named as a temporary file that a write left: the write's sweep leaves it.
    const fs::path kept = dir / "round" / Leftover(dir / "round", "k.png");
    settings.maxMemoryMb = 123; // the window's batch and lunavex-batch take the limits from here
    settings.shrink = {.shrinkType = 1, .customWidth = 4, .customHeight = 3};
    settings.round.corners = 0;
    EXPECT_EQ(Refusal({a, b, kept}), L"");
    ASSERT_EQ(planned.size(), 3u);
    EXPECT_EQ(planned[0].task->inputPath, W(a));
    EXPECT_EQ(planned[0].task->outputFile, W(dir / "round" / "a.jpg"));
    EXPECT_FALSE(planned[0].outputExists);
    EXPECT_EQ(planned[1].task->outputFile, W(dir / "round" / "b.jpg"));
    EXPECT_TRUE(planned[1].outputExists);
    EXPECT_EQ(planned[1].task->output(), settings.Output()) << "each task has its output";
    EXPECT_EQ(planned[1].task->limits.maxMemoryMb, 123u);
    // Each task converts with the shrink and the round of the settings.
    planned[0].task->Run();
    const std::vector<u8> source = ReadBytes(a);
    std::vector<u8> reference;
    ASSERT_EQ(ConvertWholeFile(source.data(), source.size(), settings.shrink, settings.round,
                               settings.Output(), reference),
              0u);
    EXPECT_EQ(ReadBytes(dir / "round" / "a.jpg"), reference);
    EXPECT_TRUE(fs::exists(kept));
}

TEST_F(BatchPlanTest, RefusesEveryOutputThatWouldReplaceASourceAndChangesNothing) {
    const fs::path a = Image("a.png");
    const fs::path c = Image("c.jpg");
    Image("c.png");
    Image("e.jpg");
    fs::create_directories(dir / "round");
    Image("round/d.png");
    Image("round/e.png");
    fs::create_directory_symlink(dir, dir / "link");
    fs::create_symlink(dir / "round" / "d.png", dir / "d.png");
    const auto before = Snapshot();

    // A sub-folder that is a link to the source's own folder: a PNG's output is the source
    // itself, under another spelling.
    settings.saveType = 1;
    settings.subFolders.Add(L"link");
    EXPECT_EQ(Refusal({a}), L"出力先が元のファイルと同じになるため中止しました\n\n元のファイル: " +
                                W(a) + L"\n出力ファイル: " + W(dir) + L"/link/a.png");

    // A JPEG output that is the next source of the batch would replace it before it is read.
    settings.saveType = 2;
    EXPECT_EQ(Refusal({dir / "c.png", c}),
              L"出力先が、変換する別のファイルと同じになるため中止しました\n\n元のファイル: " +
                  W(dir / "c.png") + L"\n出力先になる変換元のファイル: " + W(c));
    EXPECT_EQ(Refusal({c}).rfind(L"出力先が元のファイルと同じ", 0), 0u);

    settings.saveType = 1;
    // The source reached through a link: the output is the file behind it.
    settings.subFolders.Add(L"round");
    EXPECT_EQ(Refusal({dir / "d.png"}).rfind(L"出力先が元のファイルと同じ", 0), 0u);
    // An output that is another source given by a second spelling of its folder.
    EXPECT_EQ(Refusal({dir / "e.jpg", dir / "link" / "round" / "e.png"}),
              L"出力先が、変換する別のファイルと同じになるため中止しました\n\n元のファイル: " +
                  W(dir / "e.jpg") + L"\n出力先になる変換元のファイル: " +
                  W(dir / "link" / "round" / "e.png"));
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

// Where an output may go: a sub-folder of plain names below the source's folder, for a bare source
// name too (below the working folder); anything else, and any source that is not a readable
// regular file, is refused with its reason before anything is made.
TEST_F(BatchPlanTest, OutputsStayInsideTheSourcesFolderAndOddSourcesAreRefused) {
    const fs::path a = Image("a.png");
    fs::create_directories(dir / "out");
    fs::create_directory_symlink(dir / "out", dir / "away");
    ::mkfifo((dir / "fifo.png").c_str(), 0600);
    fs::create_symlink(dir / "nowhere.png", dir / "dangling.png");
    const fs::path working = fs::current_path();
    fs::current_path(dir);
    const auto before = Snapshot();
    const struct {
        std::wstring subFolder;
        u32 id;
    } folders[] = {
        {W(dir / "out"), strid::kSubFolderNotRelative},
        {L"/", strid::kSubFolderNotRelative},
        {L"..", strid::kSubFolderDotName},
        {L"../out", strid::kSubFolderDotName},
        {L"round/../../out", strid::kSubFolderDotName},
        {L"a//b", strid::kSubFolderDotName},
        {L"./round", strid::kSubFolderDotName},
        {L"round/", strid::kSubFolderDotName},
        {L"a\tb", strid::kSubFolderControlChar},
        {std::wstring(256, L'n'), strid::kSubFolderNameTooLong},
    };
    for (const auto& c : folders) {
        settings.subFolders.Add(c.subFolder);
        EXPECT_EQ(Refusal({a}), Text(c.id, c.subFolder));
        EXPECT_EQ(Refusal({"a.png"}), Text(c.id, c.subFolder));
    }
    // A link among the output folders is never followed, wherever it leads.
    settings.subFolders.Add(L"away/deeper");
    EXPECT_EQ(Refusal({a}), Text(strid::kOutputFolderIsLink, W(dir / "away")));

    settings.subFolders.Add(L"round");
    const struct {
        fs::path source;
        u32 id;
    } sources[] = {{dir / "fifo.png", strid::kSourceNotRegular},
                   {"/dev/null", strid::kSourceNotRegular},
                   {dir / "dangling.png", strid::kSourceDanglingLink}};
    for (const auto& c : sources)
        EXPECT_EQ(Refusal({a, c.source}), Text(c.id, W(c.source)));
    EXPECT_FALSE(fs::exists("/dev/round"));
    EXPECT_EQ(Snapshot(), before);

    EXPECT_EQ(Refusal({"a.png"}), L"");
    ASSERT_EQ(planned.size(), 1u);
    EXPECT_EQ(planned[0].task->outputFile, L"round/a.jpg");
    fs::current_path(working);
}

// The save writes into the folder that the plan saw, reached again without following links: a
// folder swapped for a link to the source's folder, before the conversion or during the save, never
// leads the output over its source.
TEST_F(BatchPlanTest, AnOutputFolderSwappedForALinkNeverLeadsTheSaveElsewhere) {
    const fs::path a = Image("a.png");
    const std::vector<u8> source = ReadBytes(a);
    settings.saveType = 1;
    fs::create_directories(dir / "round");
    WriteText(dir / "round" / "a.png", "old output");
    auto swap = [&] {
        fs::rename(dir / "round", dir / "seen");
        fs::create_directory_symlink(".", dir / "round");
        return true;
    };
    for (const bool duringSave : {false, true}) {
        ASSERT_EQ(Refusal({a}), L"");
        lvx::AllowReplacing(planned);
        lvx::CLunavexTask& task = *planned[0].task;
        if (duringSave)
            task.beforeReplace = swap;
        else
            swap();
        task.Run();
        EXPECT_EQ(ReadBytes(a), source);
        EXPECT_EQ(task.errorId, duringSave ? 0 : static_cast<i32>(strid::kOutputFolderChanged));
        EXPECT_EQ(ReadText(dir / "seen" / "a.png") == "old output", !duringSave);
        fs::remove(dir / "round");
        fs::rename(dir / "seen", dir / "round");
    }
}
