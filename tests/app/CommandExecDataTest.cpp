// Tests of the drop command: the checks before anything on disk changes, the overwrite question,
// a whole run to its end, and a worker that cannot start, which leaves every old output in place.
#include "app/CommandExecData.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QWindow>

#include "resources/StringIds.h"
#include "support/BatchViewFixture.h"

namespace {

using namespace testutil;

namespace fs = std::filesystem;

using CommandExecDataTest = BatchViewFixture;

TEST_F(CommandExecDataTest, ARefusalStopsTheDropBeforeAnythingChanges) {
    // The sub-folder typed into the view counts: a link to "." makes the output of a PNG its own
    // source, refused before any deletion (the texts are the plan's, tested there).
    auto a = Png(dir, "a.png", 200);
    const std::string before = ReadText(a);
    fs::create_directory_symlink(".", dir / "same");
    SetControlText(view->Control(lvx::ctl::kSubFolder), L"same", false);
    Drop({a});
    ASSERT_EQ(msg.boxes.size(), 1u);
    EXPECT_EQ(msg.boxes[0].text.rfind(L"出力先が元のファイルと同じになるため中止しました", 0), 0u);
    EXPECT_EQ(msg.boxes[0].flags, 16u);
    EXPECT_EQ(ReadText(a), before);
    EXPECT_FALSE(view->TimerRunning());

    // Two sources with one old output: refused before any overwrite question.
    SetControlText(view->Control(lvx::ctl::kSubFolder), L"out", false);
    auto bmp = dir / "a.bmp";
    ASSERT_TRUE(testutil::SaveImage(*testutil::Solid(8, 6, 0, 0, 0), L"image/bmp", bmp));
    fs::create_directories(dir / "out");
    WriteText(dir / "out" / "a.png", "old output");
    msg.boxes.clear();
    msg.answers = {1};
    Drop({a, bmp});
    ASSERT_EQ(msg.boxes.size(), 1u) << "no overwrite question comes before the refusal";
    EXPECT_EQ(msg.boxes[0].flags, 16u);
    EXPECT_EQ(msg.boxes[0].text.rfind(L"次のファイルは同じ出力ファイルになるため中止しました", 0),
              0u);
    EXPECT_EQ(ReadText(dir / "out" / "a.png"), "old output");
    EXPECT_FALSE(view->TimerRunning());
    EXPECT_EQ(view->Batch().FileCount(), 0) << "no task was made";
    EXPECT_TRUE(view->Control(lvx::ctl::kShrink)->isEnabled());
}

// More than 100 files out of folders are converted only once the user has seen the counts.
TEST_F(CommandExecDataTest, ALargeRunOutOfFoldersIsAskedAboutFirst) {
    fs::create_directories(dir / "many" / "deep");
    for (int i = 0; i < 101; ++i)
        Png(dir / "many" / (i % 2 ? "deep" : ""), ("p" + std::to_string(i) + ".png").c_str(), 9);
    WriteText(dir / "many" / "notes.txt", "x");
    msg.answers = {2};
    Drop({dir / "many"});
    ASSERT_EQ(msg.boxes.size(), 1u);
    EXPECT_EQ(msg.boxes[0].text,
              L"2 個のフォルダーにある画像ファイル 101 個を変換します (画像ではない"
              L"ファイル 1 個は変換しません)。\n\n続けますか？");
    EXPECT_FALSE(view->TimerRunning());
    EXPECT_FALSE(fs::exists(dir / "many" / "out"));
    msg.answers = {1};
    Drop({dir / "many"});
    EXPECT_TRUE(view->TimerRunning());
    EXPECT_EQ(view->Batch().FileCount(), 101);
    ASSERT_TRUE(RunToEnd());
    EXPECT_TRUE(fs::is_regular_file(dir / "many" / "deep" / "out" / "p1.png"));
    EXPECT_EQ(ControlText(lvx::ctl::kStatus),
              L"101 ファイルの処理が全て終了しました (画像ではないファイル 1 個は対象外)");
}

TEST_F(CommandExecDataTest, TwoFilesRunToTheEndAndAnOverwriteNeedsConsentAndAWorker) {
    auto a = Png(dir, "a.png", 200);
    auto b = Png(dir, "b.png", 100);

    TheSetting().maxMemoryMb = 7;
    Drop({a, b});
    EXPECT_TRUE(view->TimerRunning());
    // lunavex-batch's engine and budget, below normal priority.
    EXPECT_EQ(view->Batch().Options().jobs, 0u) << "one worker per processor";
    EXPECT_EQ(view->Batch().Options().memoryBudget, std::optional<u64>(7 << 20));
    EXPECT_TRUE(view->Batch().Options().belowNormalPriority);
    std::wstring started;
    FormatResString(started, strid::kBatchProgress, {0, 2});
    EXPECT_EQ(ControlText(lvx::ctl::kStatus), started) << "at once, before any file ends";
    EXPECT_TRUE(view->Control(lvx::ctl::kStop)->isEnabled());
    EXPECT_FALSE(view->Control(lvx::ctl::kShrink)->isEnabled());
    ASSERT_TRUE(RunToEnd());
    EXPECT_TRUE(msg.boxes.empty());
    EXPECT_TRUE(fs::is_regular_file(dir / "out" / "a.png"));
    EXPECT_TRUE(fs::is_regular_file(dir / "out" / "b.png"));
    // What each tick shows on the way (progress, status, panes) is the batch tick's test.
    EXPECT_EQ(ControlText(lvx::ctl::kStatus), L"2 ファイルの処理が全て終了しました");
    EXPECT_EQ(TheSetting().outputPath, W(dir / "out") + L"/");
    ASSERT_TRUE(view->lastSource) << "the panes show the newest file";
    EXPECT_NE(view->lastSource, view->samplePreview);

    // Both outputs exist now: one question names them, and Cancel leaves everything as it was.
    WriteText(dir / "out" / "a.png", "old a");
    WriteText(dir / "out" / "b.png", "old b");
    msg.answers = {2};
    Drop({a, b});
    ASSERT_EQ(msg.boxes.size(), 1u);
    EXPECT_EQ(msg.boxes[0].flags, 49u);
    EXPECT_NE(msg.boxes[0].text.find(W(dir / "out" / "a.png") + L"\r\n" + W(dir / "out" / "b.png")),
              std::wstring::npos);
    EXPECT_FALSE(view->TimerRunning());
    EXPECT_EQ(ReadText(dir / "out" / "a.png"), "old a");
    EXPECT_EQ(ReadText(dir / "out" / "b.png"), "old b");
    EXPECT_TRUE(view->Control(lvx::ctl::kShrink)->isEnabled());
    EXPECT_FALSE(view->Control(lvx::ctl::kStop)->isEnabled());
    EXPECT_EQ(ControlText(lvx::ctl::kStatus), L"2 ファイルの処理が全て終了しました");

    // A worker that cannot start: OK ends with a message, and no old output is deleted.
    msg.boxes.clear();
    view->Batch().RefuseWorkers(true);
    msg.answers = {1};
    Drop({a, b});
    ASSERT_EQ(msg.boxes.size(), 2u);
    EXPECT_EQ(msg.boxes[0].flags, 49u) << "the overwrite question, answered OK";
    EXPECT_EQ(msg.boxes[1].text,
              L"変換処理のスレッドを開始できなかったため、ファイルは変換されていません");
    EXPECT_EQ(msg.boxes[1].flags, 16u);
    EXPECT_FALSE(view->TimerRunning());
    EXPECT_EQ(ControlText(lvx::ctl::kStatus), L"処理を中断しました");
    EXPECT_EQ(ReadText(dir / "out" / "a.png"), "old a");
    EXPECT_EQ(ReadText(dir / "out" / "b.png"), "old b");
    view->Batch().RefuseWorkers(false);

    // OK writes them anew: each new file takes the place of its old one.
    msg.boxes.clear();
    msg.answers = {1};
    Drop({a, b});
    ASSERT_EQ(msg.boxes.size(), 1u);
    ASSERT_TRUE(RunToEnd());
    EXPECT_EQ(msg.boxes.size(), 1u);
    EXPECT_NE(ReadText(dir / "out" / "a.png"), "old a");
    EXPECT_EQ(ReadText(dir / "out" / "b.png").substr(1, 3), "PNG");
}

// A drag as the platform delivers it, enter then drop to the window's QWindow, which hands them to
// the widget under the point; whether the enter and the drop were taken, and the drop's action.
struct DragAnswer {
    bool entered = false;
    bool dropped = false;
    Qt::DropAction action = Qt::IgnoreAction;
};

DragAnswer DragAndDrop(QWidget* window, QWidget* over, const QMimeData& data) {
    QWindow* handle = window->windowHandle();
    const QPoint at = over->mapTo(window, over->rect().center());
    // The source offers a move as well; the answer is a copy.
    const Qt::DropActions offered = Qt::MoveAction | Qt::CopyAction;
    DragAnswer answer;
    QDragEnterEvent enter(at, offered, &data, Qt::LeftButton, Qt::NoModifier);
    enter.setDropAction(Qt::MoveAction);
    QCoreApplication::sendEvent(handle, &enter);
    answer.entered = enter.isAccepted();
    QDropEvent drop(at, offered, &data, Qt::LeftButton, Qt::NoModifier);
    drop.setDropAction(Qt::MoveAction);
    QCoreApplication::sendEvent(handle, &drop);
    answer.dropped = drop.isAccepted();
    answer.action = drop.dropAction();
    return answer;
}

// Files dropped on any control of the view start the batch from the posted command. A text or an
// empty list is taken too, so that its drop arrives and the command shows why there is nothing to
// convert; the next drag of files replaces that failure.
TEST_F(CommandExecDataTest, ADropOnAnyControlStartsTheBatchOrShowsWhyNot) {
    auto a = Png(dir, "a.png", 200);
    Png(dir, "b\xE9.png", 50);
    // The URI list as a file manager sends it: a name that is not UTF-8 percent-encoded byte by
    // byte.
    QMimeData files;
    files.setData("text/uri-list",
                  QByteArray::fromStdString("file://" + a.string() + "\r\nfile://" + dir.string() +
                                            "/b%E9.png\r\n"));
    files.setText(files.urls()[0].toString()); // file managers offer the address as text too
    QMimeData text;
    text.setText(QStringLiteral("plain words"));
    QMimeData empty;
    empty.setUrls({});
    const CHistoryList historyBefore = TheSetting().subFolders;
    const struct {
        const QMimeData* data;
        i32 control;
        std::wstring box; // the start of the box's text; empty: the batch runs
    } cases[] = {{&text, lvx::ctl::kStatus, L"ドロップされたものはファイルではないため"},
                 {&files, lvx::ctl::kRadius, L""},
                 {&empty, lvx::ctl::kStatus, L"ドロップされたものはファイルではないため"},
                 {&files, lvx::ctl::kSubFolder, L""}};
    for (const auto& c : cases) {
        msg.boxes.clear();
        fs::remove_all(dir / "out");
        const std::wstring before = ControlText(c.control);
        const DragAnswer answer = DragAndDrop(frame_->Window(), view->Control(c.control), *c.data);
        EXPECT_TRUE(answer.entered) << c.control << ": refused at enter, no drop would arrive";
        EXPECT_TRUE(answer.dropped) << c.control;
        EXPECT_TRUE(msg.boxes.empty()) << "the message comes from the posted command";
        EXPECT_FALSE(view->TimerRunning()) << "the command is posted, not run inside the drop";
        if (!c.box.empty()) {
            ASSERT_TRUE(QTest::qWaitFor([this] { return !msg.boxes.empty(); }, 10000));
            ASSERT_EQ(msg.boxes.size(), 1u);
            EXPECT_EQ(msg.boxes[0].text.rfind(c.box, 0), 0u) << msg.boxes[0].text;
            EXPECT_EQ(msg.boxes[0].flags, 16u);
            EXPECT_FALSE(msg.boxes[0].waited) << "the next drop is taken while it shows";
            EXPECT_FALSE(view->TimerRunning());
            EXPECT_FALSE(table_->execData->CanExecute());
            continue;
        }
        EXPECT_EQ(answer.action, Qt::CopyAction) << "never a move, whatever the source offers";
        EXPECT_EQ(ControlText(c.control), before) << "the drop typed nothing into " << c.control;
        ASSERT_TRUE(QTest::qWaitFor([this] { return view->TimerRunning(); }, 10000)) << c.control;
        ASSERT_TRUE(RunToEnd());
        EXPECT_TRUE(msg.boxes.empty());
        EXPECT_TRUE(fs::is_regular_file(dir / "out" / "a.png")) << c.control;
        EXPECT_TRUE(fs::is_regular_file(dir / "out" / "b\xE9.png")) << c.control;
        EXPECT_EQ(ControlText(c.control), before) << c.control;
    }
    EXPECT_EQ(TheSetting().subFolders, historyBefore) << "no address in the sub-folder history";
}

} // namespace
