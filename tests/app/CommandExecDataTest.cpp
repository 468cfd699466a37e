// Tests of the drop command: the checks before anything on disk changes, the overwrite question,
// a whole run to its end, a run that stops at a file that is no image, a Stop that keeps the old
// outputs not yet replaced, and a worker that cannot start.
#include "app/CommandExecData.h"

#include <condition_variable>
#include <cstring>
#include <mutex>

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QWindow>

#include <boost/make_shared.hpp>

#include "foundation/Utf8.h"
#include "image/reference/WholeConversion.h"
#include "resources/StringIds.h"
#include "support/BatchViewFixture.h"

namespace {

using namespace testutil;

namespace fs = std::filesystem;
using testutil::W;

class CommandExecDataTest : public BatchViewFixture {
protected:
    testutil::CTempDir temp;
    const fs::path dir = temp.Path();
};

// The view's worker with a pause between its second and third task, where a Stop takes effect:
// the test presses Stop there, then lets the real loop go on.
class CPausingWorker : public CMultiTaskThread {
public:
    using CMultiTaskThread::CMultiTaskThread;

    u32 ThreadMain() override {
        for (int i = 0; i < 2; ++i) {
            current = tasks->Pop();
            if (!current)
                return 0;
            current->terminable = this;
            current->Run();
        }
        std::unique_lock<std::mutex> guard(lock_);
        paused_ = true;
        changed_.notify_all();
        changed_.wait(guard, [this] { return resumed_; });
        guard.unlock();
        return CMultiTaskThread::ThreadMain();
    }
    void WaitUntilPaused() {
        std::unique_lock<std::mutex> guard(lock_);
        changed_.wait(guard, [this] { return paused_; });
    }
    void Resume() {
        std::lock_guard<std::mutex> guard(lock_);
        resumed_ = true;
        changed_.notify_all();
    }

private:
    std::mutex lock_;
    std::condition_variable changed_;
    bool paused_ = false;
    bool resumed_ = false;
};

TEST_F(CommandExecDataTest, AFolderOrAMissingFileStopsTheDropBeforeAnythingChanges) {
    auto a = Png(dir, "a.png", 200);
    fs::create_directories(dir / "folder");

    Drop({a, dir / "folder"});
    ASSERT_EQ(msg.boxes.size(), 1u);
    EXPECT_EQ(msg.boxes[0].text, L"ファイルが見つかりません\n\n" + W(dir / "folder"));
    EXPECT_EQ(msg.boxes[0].flags, 16u);
    EXPECT_FALSE(fs::exists(dir / "out"));
    EXPECT_FALSE(view->TimerRunning());
    EXPECT_EQ(view->pool.pending.Count(), 0u) << "no task was made";
    EXPECT_TRUE(view->Control(lvx::ctl::kShrink)->isEnabled());

    // The sub-folder typed into the view counts: a link to "." makes the output of a PNG its own
    // source, refused before any deletion (the text is the plan's, tested there).
    const std::string before = ReadText(a);
    fs::create_directory_symlink(".", dir / "same");
    SetControlText(view->Control(lvx::ctl::kSubFolder), L"same", false);
    msg.boxes.clear();
    Drop({a});
    ASSERT_EQ(msg.boxes.size(), 1u);
    EXPECT_EQ(msg.boxes[0].text.rfind(L"出力先が元のファイルと同じになるため中止しました", 0), 0u);
    EXPECT_EQ(msg.boxes[0].flags, 16u);
    EXPECT_EQ(ReadText(a), before);
    EXPECT_FALSE(view->TimerRunning());
}

TEST_F(CommandExecDataTest, TwoFilesRunToTheEndAndADeclinedOverwriteChangesNothing) {
    auto a = Png(dir, "a.png", 200);
    auto b = Png(dir, "b.png", 100);

    Drop({a, b});
    EXPECT_TRUE(view->TimerRunning());
    EXPECT_TRUE(view->Control(lvx::ctl::kStop)->isEnabled());
    EXPECT_FALSE(view->Control(lvx::ctl::kShrink)->isEnabled());
    ASSERT_TRUE(RunToEnd());
    EXPECT_TRUE(msg.boxes.empty());
    EXPECT_TRUE(fs::is_regular_file(dir / "out" / "a.png"));
    EXPECT_TRUE(fs::is_regular_file(dir / "out" / "b.png"));
    // What each tick shows on the way (progress, status, panes) is the batch tick's test.
    EXPECT_EQ(ControlText(lvx::ctl::kStatus), L"2 ファイルの処理が全て終了しました");
    EXPECT_EQ(view->doneCount, 2);
    EXPECT_EQ(TheSetting().outputPath, W(dir / "out") + L"/");

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

TEST_F(CommandExecDataTest, ANameThatIsNotUtf8IsConvertedUnderItsOwnBytes) {
    auto latin = Png(dir, "photo\xE9.png", 200);
    auto lookalike = Png(dir, "photo\xEF\xBF\xBD.png", 100);
    // The URI list as a file manager sends it: the bytes percent-encoded.
    QMimeData data;
    data.setData("text/uri-list",
                 QByteArray::fromStdString(std::string("file://").append(dir.string()) +
                                           "/photo%E9.png\r\n"));
    Drop(data);
    ASSERT_TRUE(RunToEnd());
    EXPECT_TRUE(msg.boxes.empty())
        << (msg.boxes.empty() ? std::string() : Utf8FromWide(msg.boxes[0].text));
    EXPECT_TRUE(fs::is_regular_file(dir / "out" / "photo\xE9.png"));
    EXPECT_FALSE(fs::exists(dir / "out" / "photo\xEF\xBF\xBD.png")) << "not the look-alike";
    ASSERT_EQ(view->results.size(), 1u);
    EXPECT_EQ(ToFileSystemPath(view->results[0]->inputPath), latin.string());
    EXPECT_TRUE(fs::exists(lookalike));
}

TEST_F(CommandExecDataTest, AFileThatIsNoImageStopsTheBatchWithOneBox) {
    auto a = Png(dir, "a.png", 200);
    auto b = dir / "b.png";
    WriteText(b, "this is no image");

    Drop({a, b});
    ASSERT_TRUE(RunToEnd());
    ASSERT_EQ(msg.boxes.size(), 1u);
    ASSERT_GE(view->results.size(), 2u);
    EXPECT_EQ(view->results[0]->errorId, 0);
    EXPECT_NE(view->results[1]->errorId, 0);
    EXPECT_FALSE(view->results[1]->errorText.empty());
    EXPECT_EQ(msg.boxes[0].text, view->results[1]->errorText);
    EXPECT_EQ(msg.boxes[0].flags, 16u);
    EXPECT_EQ(ControlText(lvx::ctl::kStatus), L"処理を中断しました");
    EXPECT_TRUE(fs::is_regular_file(dir / "out" / "a.png"));
    EXPECT_FALSE(fs::exists(dir / "out" / "b.png"));
    EXPECT_TRUE(view->Control(lvx::ctl::kShrink)->isEnabled());
    EXPECT_TRUE(view->Control(lvx::ctl::kOpenOutput)->isEnabled());
}

TEST_F(CommandExecDataTest, ADragWithoutAUriListFailsWhenTheCommandRuns) {
    QMimeData text;
    text.setText(QStringLiteral("plain words"));
    CMimeDropData data(&text);
    table_->execData->SetDropData(&data);
    EXPECT_EQ(table_->execData->dropError.id, strid::kGetDataFailed);
    EXPECT_TRUE(table_->execData->items.empty());
    EXPECT_FALSE(table_->execData->CanExecute());
    EXPECT_TRUE(msg.boxes.empty()) << "the failure is shown when the command runs";

    // The next good drag replaces the failure and the items.
    auto a = Png(dir, "a.png", 10);
    QMimeData files;
    files.setUrls(Urls({a}));
    CMimeDropData good(&files);
    table_->execData->SetDropData(&good);
    EXPECT_EQ(table_->execData->dropError.id, 0);
    ASSERT_EQ(table_->execData->items.size(), 1u);
    EXPECT_EQ(table_->execData->items[0].GetPathOrThrow(), W(a));
    EXPECT_TRUE(table_->execData->CanExecute());
}

// A drag as the platform delivers it: enter, then drop, both to the window's QWindow, which
// hands them to the widget under the point that takes drops. Returns whether the enter and the
// drop were taken, and the action of the drop.
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

TEST_F(CommandExecDataTest, ADropOnAnyControlOfTheViewStartsTheBatch) {
    auto a = Png(dir, "a.png", 200);
    auto b = Png(dir, "b.png", 50);
    QMimeData files;
    files.setUrls(Urls({a, b}));
    files.setText(files.urls()[0].toString()); // file managers offer the address as text too
    const CHistoryList historyBefore = TheSetting().subFolders;

    for (i32 id : {lvx::ctl::kRadius, lvx::ctl::kSubFolder}) {
        QWidget* control = view->Control(id);
        std::wstring before;
        GetControlText(control, before);
        fs::remove_all(dir / "out");
        const DragAnswer answer = DragAndDrop(frame_->Window(), control, files);
        EXPECT_TRUE(answer.entered) << id;
        EXPECT_TRUE(answer.dropped) << id;
        EXPECT_EQ(answer.action, Qt::CopyAction) << "never a move, whatever the source offers";
        EXPECT_EQ(ControlText(id), before) << "the drop typed nothing into control " << id;
        EXPECT_FALSE(view->TimerRunning()) << "the command is posted, not run inside the drop";
        ASSERT_TRUE(QTest::qWaitFor([this] { return view->TimerRunning(); }, 10000)) << id;
        ASSERT_TRUE(RunToEnd());
        EXPECT_TRUE(msg.boxes.empty());
        EXPECT_TRUE(fs::is_regular_file(dir / "out" / "a.png")) << id;
        EXPECT_TRUE(fs::is_regular_file(dir / "out" / "b.png")) << id;
        EXPECT_EQ(ControlText(id), before) << id;
        msg.boxes.clear();
    }
    EXPECT_EQ(TheSetting().subFolders, historyBefore) << "no address in the sub-folder history";
}

TEST_F(CommandExecDataTest, ATextOrAnEmptyListIsTakenAndItsDropShowsWhy) {
    QMimeData text;
    text.setText(QStringLiteral("plain words"));
    QMimeData empty;
    empty.setUrls({});
    struct Case {
        const QMimeData* data;
        std::wstring start;
    };
    for (const Case& c : {Case{&text, L"IDataObject->GetData に失敗しました: "},
                          Case{&empty, L"パスが取得できませんでした: "}}) {
        msg.boxes.clear();
        const DragAnswer answer =
            DragAndDrop(frame_->Window(), view->Control(lvx::ctl::kStatus), *c.data);
        EXPECT_TRUE(answer.entered) << "refused at enter, the drop would never arrive";
        EXPECT_TRUE(answer.dropped);
        EXPECT_TRUE(msg.boxes.empty()) << "the message comes from the posted command";
        ASSERT_TRUE(QTest::qWaitFor([this] { return !msg.boxes.empty(); }, 10000));
        ASSERT_EQ(msg.boxes.size(), 1u);
        EXPECT_EQ(msg.boxes[0].text.rfind(c.start, 0), 0u) << msg.boxes[0].text;
        EXPECT_EQ(msg.boxes[0].flags, 16u);
        EXPECT_FALSE(view->TimerRunning());
    }
}

TEST_F(CommandExecDataTest, AStopAfterTwoOfTwentyFilesKeepsEveryOldOutputNotYetReplaced) {
    fs::create_directories(dir / "out");
    std::vector<fs::path> sources;
    for (int i = 0; i < 20; ++i) {
        const std::string name = Numbered("f", i, ".png");
        sources.push_back(Png(dir, name.c_str(), static_cast<u8>(10 * i)));
        WriteText(dir / "out" / name, "old output " + name);
    }
    auto worker = boost::make_shared<CPausingWorker>(&view->pool.pending);
    view->pool.threads = {worker};

    msg.answers = {1};
    Drop(sources);
    ASSERT_EQ(msg.boxes.size(), 1u);
    EXPECT_EQ(msg.boxes[0].flags, 49u) << "the overwrite question, answered OK";
    worker->WaitUntilPaused();
    frame_->OnCommand(lvx::cmd::kStop);
    worker->Resume();
    ASSERT_TRUE(RunToEnd());
    EXPECT_EQ(msg.boxes.size(), 1u);
    EXPECT_EQ(ControlText(lvx::ctl::kStatus), L"処理を中断しました");
    EXPECT_EQ(view->pool.cancelled.Count(), 18u);

    // The two files done hold the new images; the eighteen others are the old bytes.
    for (int i = 0; i < 2; ++i) {
        CDibPtr source, output;
        ASSERT_EQ(LoadImageFile(source, W(sources[i])), 0u);
        ASSERT_EQ(LoadImageFile(output, W(dir / "out" / sources[i].filename())), 0u);
        ASSERT_EQ(output->Width(), source->Width());
        ASSERT_EQ(output->Height(), source->Height());
        const i32 x = source->Width() / 2, y = source->Height() / 2;
        EXPECT_EQ(std::memcmp(output->PixelAt(x, y), source->PixelAt(x, y), 4), 0) << i;
    }
    for (int i = 2; i < 20; ++i) {
        const std::string name = sources[i].filename().string();
        EXPECT_EQ(ReadText(dir / "out" / name), "old output " + name);
    }
}

TEST_F(CommandExecDataTest, TwoSourcesWithOneOldOutputAreRefusedBeforeTheQuestion) {
    auto png = Png(dir, "same.png", 200);
    auto bmp = dir / "same.bmp";
    ASSERT_TRUE(testutil::SaveImage(*testutil::Solid(8, 6, 0, 0, 0), L"image/bmp", bmp));
    fs::create_directories(dir / "out");
    WriteText(dir / "out" / "same.png", "old output");

    msg.answers = {1};
    Drop({png, bmp});
    ASSERT_EQ(msg.boxes.size(), 1u) << "no overwrite question comes before the refusal";
    EXPECT_EQ(msg.boxes[0].flags, 16u);
    EXPECT_EQ(msg.boxes[0].text.rfind(L"次のファイルは同じ出力ファイルになるため中止しました", 0),
              0u);
    EXPECT_EQ(ReadText(dir / "out" / "same.png"), "old output");
    EXPECT_FALSE(view->TimerRunning());
}

TEST_F(CommandExecDataTest, AWorkerThatCannotStartEndsTheRunWithAMessage) {
    auto a = Png(dir, "a.png", 200);
    auto b = Png(dir, "b.png", 100);
    // A forced stop is the state in which a worker refuses to start.
    view->pool.threads.at(0)->SetForcedStop(true);

    Drop({a, b});
    ASSERT_EQ(msg.boxes.size(), 1u);
    EXPECT_EQ(msg.boxes[0].text,
              L"変換処理のスレッドを開始できなかったため、ファイルは変換されていません");
    EXPECT_EQ(msg.boxes[0].flags, 16u);
    EXPECT_FALSE(view->TimerRunning());
    EXPECT_EQ(ControlText(lvx::ctl::kStatus), L"処理を中断しました");
    EXPECT_TRUE(view->Control(lvx::ctl::kShrink)->isEnabled());
    EXPECT_FALSE(view->Control(lvx::ctl::kStop)->isEnabled());
    EXPECT_EQ(view->pool.pending.Count(), 0u);
    EXPECT_EQ(view->pool.cancelled.Count(), 2u);
    EXPECT_FALSE(fs::exists(dir / "out"));
}

} // namespace
