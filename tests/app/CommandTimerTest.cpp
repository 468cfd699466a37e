// Tests of the batch tick: what it shows of the files that came, the progress, the ends of a batch
// by Stop, a failure or a worker that ends early, and the close of the frame during a batch.
#include "app/CommandTimer.h"

#include <chrono>
#include <stdexcept>
#include <thread>

#include <QMessageBox>
#include <QProgressBar>
#include <QTimer>

#include "resources/StringIds.h"
#include "support/BatchViewFixture.h"
#include "support/GateClient.h"
#include "support/ModalBox.h"
#include "ui/DibWidget.h"

namespace {

using lvx::TaskPtr;

// A finished task as the runner hands it over: images, what the panes need of its source (a
// plain colour, blue = `shade`), output folder, failure.
TaskPtr Finished(const wchar_t* output, i32 errorId = 0, u8 shade = 90) {
    TaskPtr task(new lvx::CLunavexTask);
    task->Init(L"/src/in.png", output, nullptr);
    task->preview.reset(new CPreviewSource);
    EXPECT_EQ(task->preview->Build(*testutil::Solid(64, 48, shade, 2, 3)), 0);
    task->errorId = errorId;
    return task;
}

class CommandTimerTest : public BatchViewFixture {
protected:
    // A task that converts a small PNG of the temporary folder into its "out".
    TaskPtr Good(const char* name, lvx::CLunavexTaskClient* client = nullptr) {
        TaskPtr task(new lvx::CLunavexTask);
        task->Init(testutil::W(Png(dir, name, 7)), testutil::W(dir / "out" / name), client);
        return task;
    }

    // The view's runner on tasks, with the timer and the controls of a running batch.
    void Run(const std::vector<TaskPtr>& tasks) {
        ASSERT_TRUE(view->Batch().Start(tasks, {}));
        view->StartTimer();
        view->UpdateControlStates(true);
    }

    // Lets the gate's held worker go once the runner has told it to stop.
    std::thread OpenOnStop(const TaskPtr& held) {
        return std::thread([this, held] {
            while (!held->IsTerminated())
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            gate.Open();
        });
    }

    void Tick() { table_->timer->Execute(true, false); }
    lvx::CCommandTimer& Timer() { return *table_->timer; }

    // The number of dots behind the progress text; -1 when the text is not progress of done + 1.
    int DotsBehind(int done, int count) {
        std::wstring head;
        FormatResString(head, strid::kBatchProgress, {done + 1, count});
        std::wstring text = ControlText(lvx::ctl::kStatus);
        if (text.rfind(head, 0) != 0)
            return -1;
        std::wstring tail = text.substr(head.size());
        return tail.find_first_not_of(L'.') == std::wstring::npos ? static_cast<int>(tail.size())
                                                                  : -1;
    }

    QProgressBar* Progress() {
        return qobject_cast<QProgressBar*>(view->Control(lvx::ctl::kProgress));
    }

    // The blue of the middle of the whole pane's image; -1 without one.
    int WholePaneBlue() {
        const CDibPtr& image = view->wholePane->Image();
        if (!image)
            return -1;
        return image->PixelAt(image->Width() / 2, image->Height() / 2)[0];
    }

    // The batch has ended with this status line and these boxes (error boxes), its timer stopped
    // and the controls back for the next one.
    void ExpectEnded(const std::wstring& status, const std::vector<std::wstring>& boxes) {
        EXPECT_FALSE(view->TimerRunning());
        EXPECT_EQ(ControlText(lvx::ctl::kStatus), status);
        ASSERT_EQ(msg.boxes.size(), boxes.size());
        for (size_t i = 0; i < boxes.size(); ++i) {
            EXPECT_EQ(msg.boxes[i].text, boxes[i]);
            EXPECT_EQ(msg.boxes[i].flags, 16u);
        }
        EXPECT_TRUE(view->Control(lvx::ctl::kShrink)->isEnabled());
        EXPECT_FALSE(view->Control(lvx::ctl::kStop)->isEnabled());
        EXPECT_FALSE(view->Batch().Running());
    }

    CGateClient gate;
};

TEST_F(CommandTimerTest, TheNewestGoodFileOfATickIsShownAndAFailureChangesNoPane) {
    view->UpdateControlStates(true);
    ASSERT_FALSE(view->Control(lvx::ctl::kOpenOutput)->isEnabled());
    TaskPtr first = Finished(L"/src/out1/a.png", 0, 91);
    Timer().ShowResults({first});
    // The panes are made from the new source at its size (it fits the pane) and not taken from
    // the full-size result, which is let go with the source.
    EXPECT_EQ(view->lastSource, first->preview);
    ASSERT_TRUE(view->wholePane->Image());
    EXPECT_EQ(view->wholePane->Image()->Width(), 64);
    EXPECT_EQ(view->wholePane->Image()->Height(), 48);
    EXPECT_EQ(WholePaneBlue(), 91);
    ASSERT_TRUE(view->detailPane->Image());
    EXPECT_NE(view->detailPane->Image(), view->wholePane->Image());
    EXPECT_EQ(TheSetting().outputPath, L"/src/out1/");
    EXPECT_TRUE(view->Control(lvx::ctl::kOpenOutput)->isEnabled()) << "also during the run";

    // Of two files only the newer is shown; the newest one that kept a preview, with the newest
    // one's folder; then a failure among them changes no pane.
    TaskPtr third = Finished(L"/src/out3/c.png", 0, 93);
    TaskPtr bare = Finished(L"/src/out6/f.png", 0, 96);
    bare->preview.reset();
    for (const auto& [tick, folder] :
         {std::pair{std::vector<TaskPtr>{Finished(L"/src/out2/b.png", 0, 92), third},
                    L"/src/out3/"},
          {{third, bare}, L"/src/out6/"},
          {{Finished(L"/src/out4/d.png", 0, 94), Finished(L"/src/out5/e.png", 201, 95)},
           L"/src/out6/"}}) {
        Timer().ShowResults(tick);
        EXPECT_EQ(view->lastSource, third->preview);
        EXPECT_EQ(WholePaneBlue(), 93);
        EXPECT_EQ(TheSetting().outputPath, folder);
    }
}

TEST_F(CommandTimerTest, TheProgressShowsTheRunnersCountsWithMovingDots) {
    // One file taken in and the worker held at the second; the range of more than 65535 files
    // takes the low 16 bits of the count.
    TaskPtr held = FailingTask(&gate, L"held");
    std::vector<TaskPtr> tasks = {Good("first.png"), held};
    tasks.resize(70000, FailingTask(nullptr, L"waiting"));
    Run(tasks);
    gate.WaitUntilInside();
    ASSERT_EQ(view->Batch().Poll().finished.size(), 1u);
    Timer().ShowProgress();
    EXPECT_EQ(Progress()->maximum(), 70000 - 65536);
    EXPECT_EQ(Progress()->value(), 1);
    const int dots = DotsBehind(1, 70000);
    ASSERT_GE(dots, 0) << "\"2 / 70000 ファイル処理中 \" and dots";
    EXPECT_LE(dots, 9);
    Timer().ShowProgress();
    EXPECT_EQ(DotsBehind(1, 70000), (dots + 1) % 10);

    // Once no worker runs, the status line stays as it is.
    std::thread opener = OpenOnStop(held);
    view->Batch().StopAndWait();
    opener.join();
    const std::wstring status = ControlText(lvx::ctl::kStatus);
    Timer().ShowProgress();
    EXPECT_EQ(ControlText(lvx::ctl::kStatus), status);
}

// Stop (command 163) while a file is in work is answered at the click, and ends the batch at the
// first tick after the worker has ended; a run to its end is the drop command's test.
TEST_F(CommandTimerTest, StopIsAnsweredAtOnceAndEndsARunAtTheFirstTickAfterTheWorker) {
    Run({Good("c.png", &gate), Good("d.png")});
    gate.WaitUntilInside();
    frame_->OnCommand(lvx::cmd::kStop);
    EXPECT_TRUE(view->Batch().StopRequested());
    EXPECT_FALSE(view->Control(lvx::ctl::kStop)->isEnabled());
    EXPECT_EQ(ControlText(lvx::ctl::kStatus), L"中止しています…");
    Tick();
    Timer().ShowProgress();
    EXPECT_TRUE(view->TimerRunning()) << "the worker still runs";
    EXPECT_EQ(ControlText(lvx::ctl::kStatus), L"中止しています…") << "no progress over it";
    gate.Open();
    view->Batch().Wait();
    Tick();
    ExpectEnded(L"処理を中断しました", {}); // what a stop runs no more is the runner's test
}

TEST_F(CommandTimerTest, AFailureOrAWorkerThatEndsEarlyEndsTheRunWithOneBox) {
    // A failure ends the batch at that file with its text in one box; the file after it is never
    // written.
    TaskPtr missing = Good("gone.png");
    std::filesystem::remove(dir / "gone.png");
    Run({Good("first.png"), missing, Good("waiting.png")});
    view->Batch().Wait();
    Tick();
    ASSERT_NE(missing->errorText, L"");
    ExpectEnded(L"処理を中断しました", {missing->errorText});
    EXPECT_EQ(Progress()->value(), 1);
    EXPECT_FALSE(std::filesystem::exists(dir / "out" / "waiting.png"));

    // A failure thrown out of the second file ends the worker: the run ends with a message that
    // says how far it came.
    msg.boxes.clear();
    TaskPtr throwing = Good("throws.png");
    throwing->beforeReplace = []() -> bool { throw std::runtime_error("gone"); };
    Run({Good("a.png"), throwing, Good("c.png")});
    view->Batch().Wait();
    Tick();
    ExpectEnded(L"処理を中断しました",
                {L"変換処理のスレッドが途中で終了したため、処理を中断しました"
                 L"\n\n処理したファイル: 1 / 3"});
    EXPECT_FALSE(std::filesystem::exists(dir / "out" / "c.png"));
}

// The end of a frame's window ends the event loop of the program; in a test process the request
// would end every later modal box at once. A short run of the main loop takes it back.
void ForgetEarlierQuit() {
    QTimer::singleShot(0, qApp, [] { QCoreApplication::exit(0); });
    QCoreApplication::exec();
}

TEST_F(CommandTimerTest, ClosingDuringABatchAsksAndStopsOnlyWithConsent) {
    ForgetEarlierQuit();
    TaskPtr held = FailingTask(&gate, L"held");
    ASSERT_TRUE(view->Batch().Start({held, FailingTask(nullptr, L"waiting")}, {}));
    gate.WaitUntilInside();
    testutil::SeenBox asked;
    testutil::OnNextBox(asked, [](QMessageBox* box) { testutil::Click(box, QMessageBox::Cancel); });
    EXPECT_FALSE(frame_->OnClose());
    EXPECT_EQ(asked.text, QStringLiteral("角を丸める処理を実行中です。\n\n中断して終了しますか？"));
    EXPECT_TRUE(view->Batch().Running()) << "Cancel keeps the batch";

    // The worker is let go only once it has been told to stop, so the waiting task never runs.
    std::thread opener = OpenOnStop(held);
    asked = {};
    testutil::OnNextBox(asked, [](QMessageBox* box) { testutil::Click(box, QMessageBox::Ok); });
    EXPECT_TRUE(frame_->OnClose());
    opener.join();
    EXPECT_FALSE(asked.text.isEmpty());
    EXPECT_FALSE(view->Batch().Running()) << "OK stops and waits for the worker";
    EXPECT_EQ(gate.FinishedCount(), 1u) << "the waiting task never ran";
}

} // namespace
