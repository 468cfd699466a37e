// Tests of the batch tick, driven by hand with the worker held inside a gate: what a tick takes
// in and shows, when it ends the batch, Stop, a worker that ends early, and the close of the frame
// during a batch.
#include "app/CommandTimer.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <thread>

#include <QAbstractButton>
#include <QMessageBox>
#include <QProgressBar>
#include <QTimer>

#include "batch/AutoCriticalSection.h"
#include "resources/StringIds.h"
#include "support/BatchViewFixture.h"
#include "support/GateClient.h"
#include "support/ModalBox.h"
#include "ui/DibWidget.h"

namespace {

using Task = boost::shared_ptr<lvx::CLunavexTask>;

// A finished task as the worker hands it over: what the panes need of its source (a plain
// colour, blue = `shade`), output folder, failure.
Task Finished(const wchar_t* output, i32 errorId = 0, const wchar_t* errorText = L"",
              u8 shade = 90) {
    Task task(new lvx::CLunavexTask);
    task->Init(L"/src/in.png", output, nullptr);
    task->preview.reset(new CPreviewSource);
    EXPECT_EQ(task->preview->Build(*testutil::Solid(64, 48, shade, 2, 3)), 0);
    task->errorId = errorId;
    task->errorText = errorText;
    return task;
}

class CommandTimerTest : public BatchViewFixture {
protected:
    // Holds the view's worker inside the gate with more tasks waiting behind it.
    void HoldWorker(int waiting) {
        view->pool.StopWaitAndClear(kWaitForever);
        view->pool.Add(FailingTask(&gate, L"held"));
        for (int i = 0; i < waiting; ++i)
            view->pool.Add(FailingTask(&gate, L"waiting"));
        ASSERT_TRUE(view->pool.threads.at(0)->Start());
        gate.WaitUntilInside();
        ASSERT_TRUE(view->pool.AnyRunning());
    }

    void Deliver(std::initializer_list<Task> tasks) {
        CAutoLock<CAutoCriticalSection> lock(view->resultsLock);
        for (const Task& task : tasks)
            view->results.push_back(task);
    }

    void Tick() { table_->timer->Execute(true, false); }

    // The state of a batch of count files of which done are taken in, its timer running.
    void StartBatch(int count, int done) {
        view->fileCount = count;
        view->doneCount = done;
        view->stopRequested = false;
        view->StartTimer();
        view->UpdateControlStates(true);
    }

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

    CGateClient gate;
};

TEST_F(CommandTimerTest, ATickTakesInResultsShowsTheNewestAndMovesTheProgress) {
    HoldWorker(1);
    view->fileCount = 10;
    view->doneCount = 0;
    view->stopRequested = false;
    view->results.clear();
    view->UpdateControlStates(true);
    ASSERT_FALSE(view->Control(lvx::ctl::kOpenOutput)->isEnabled());

    Task first = Finished(L"/src/out1/a.png", 0, L"", 91);
    auto firstPreview = first->preview;
    Deliver({first});
    Tick();
    EXPECT_EQ(view->doneCount, 1);
    EXPECT_EQ(Progress()->maximum(), 10);
    EXPECT_EQ(Progress()->value(), 1);
    const int dots = DotsBehind(1, 10);
    ASSERT_GE(dots, 0) << "\"2 / 10 ファイル処理中 \" and dots";
    EXPECT_LE(dots, 9);
    // The panes are made from the new source at its size (it fits the pane).
    EXPECT_EQ(view->lastSource, firstPreview);
    ASSERT_TRUE(view->wholePane->Image());
    EXPECT_EQ(view->wholePane->Image()->Width(), 64);
    EXPECT_EQ(view->wholePane->Image()->Height(), 48);
    EXPECT_EQ(WholePaneBlue(), 91);
    ASSERT_TRUE(view->detailPane->Image());
    EXPECT_NE(view->detailPane->Image(), view->wholePane->Image());
    EXPECT_EQ(TheSetting().outputPath, L"/src/out1/");
    EXPECT_TRUE(view->Control(lvx::ctl::kOpenOutput)->isEnabled()) << "also during the run";

    // Nothing new: no change, and the batch goes on while the worker runs.
    const std::wstring status = ControlText(lvx::ctl::kStatus);
    Tick();
    EXPECT_EQ(ControlText(lvx::ctl::kStatus), status);
    EXPECT_TRUE(view->Control(lvx::ctl::kStop)->isEnabled());

    // Of two results in one tick only the newer is shown; the dots move on by one.
    Task second = Finished(L"/src/out2/b.png", 0, L"", 92);
    Task third = Finished(L"/src/out3/c.png", 0, L"", 93);
    auto thirdPreview = third->preview;
    Deliver({second, third});
    Tick();
    EXPECT_EQ(view->doneCount, 3);
    EXPECT_EQ(DotsBehind(3, 10), (dots + 1) % 10);
    EXPECT_EQ(view->lastSource, thirdPreview);
    EXPECT_EQ(WholePaneBlue(), 93);
    EXPECT_EQ(TheSetting().outputPath, L"/src/out3/");

    // More than 65535 files: the range takes the low 16 bits of the count.
    view->fileCount = 70000;
    Deliver({Finished(L"/src/out4/d.png")});
    Tick();
    EXPECT_EQ(Progress()->maximum(), 70000 - 65536);
    EXPECT_EQ(Progress()->value(), 4);
    EXPECT_EQ(DotsBehind(4, 70000), (dots + 2) % 10);

    // Two failures in one tick: the batch ends at once, the waiting task is cancelled, no pane
    // changes and the text of the second failure is the one box.
    view->fileCount = 10;
    auto shownSource = view->lastSource;
    const int shownBlue = WholePaneBlue();
    CThread* worker = view->pool.threads.at(0).get();
    std::thread opener([&] {
        while (!worker->IsTerminated())
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        gate.Open();
    });
    Deliver({Finished(L"/src/out5/e.png", 201, L"first failure"),
             Finished(L"/src/out6/f.png", 201, L"second failure")});
    Tick();
    opener.join();
    ASSERT_EQ(msg.boxes.size(), 1u);
    EXPECT_EQ(msg.boxes[0].text, L"second failure");
    EXPECT_EQ(msg.boxes[0].flags, 16u);
    EXPECT_EQ(ControlText(lvx::ctl::kStatus), L"処理を中断しました");
    EXPECT_FALSE(view->pool.AnyRunning());
    EXPECT_EQ(view->pool.pending.Count(), 0u);
    EXPECT_EQ(view->pool.cancelled.Count(), 1u);
    EXPECT_EQ(gate.FinishedCount(), 1u) << "the waiting task never ran";
    EXPECT_EQ(view->lastSource, shownSource);
    EXPECT_EQ(WholePaneBlue(), shownBlue);
    EXPECT_EQ(TheSetting().outputPath, L"/src/out4/");
    EXPECT_TRUE(view->Control(lvx::ctl::kShrink)->isEnabled());
    EXPECT_FALSE(view->Control(lvx::ctl::kStop)->isEnabled());
    EXPECT_EQ(Progress()->value(), 6);
}

TEST_F(CommandTimerTest, TheEndIsLookedForOnEveryTickAndStopEndsARunEarly) {
    // Everything taken in and no worker: a tick with nothing new ends the batch.
    view->pool.StopWaitAndClear(kWaitForever);
    view->results = {Finished(L"/src/a/a.png"), Finished(L"/src/a/b.png")};
    StartBatch(2, 2);
    Tick();
    EXPECT_FALSE(view->TimerRunning());
    EXPECT_EQ(ControlText(lvx::ctl::kStatus), L"2 ファイルの処理が全て終了しました");
    EXPECT_TRUE(msg.boxes.empty());
    EXPECT_TRUE(view->Control(lvx::ctl::kShrink)->isEnabled());

    // Stop (command 163) while a file is in work: the waiting task is cancelled at once, the
    // batch ends at the first tick after the worker has ended.
    HoldWorker(1);
    view->results.clear();
    StartBatch(2, 0);
    frame_->OnCommand(lvx::cmd::kStop);
    EXPECT_TRUE(view->stopRequested);
    EXPECT_EQ(view->pool.cancelled.Count(), 1u);
    Tick();
    EXPECT_TRUE(view->TimerRunning()) << "the worker still runs";
    gate.Open();
    ASSERT_TRUE(view->pool.threads[0]->Wait(kWaitForever));
    Tick();
    EXPECT_FALSE(view->TimerRunning());
    EXPECT_EQ(ControlText(lvx::ctl::kStatus), L"処理を中断しました");
    EXPECT_TRUE(msg.boxes.empty());
    EXPECT_EQ(gate.FinishedCount(), 1u);
}

TEST_F(CommandTimerTest, AWorkerThatEndsBeforeEveryFileIsReportedEndsTheRunWithItsMessage) {
    // A client that throws ends the worker's thread inside the task, with the next task left.
    struct CThrowingClient : lvx::CLunavexTaskClient {
        void OnTaskFinished(boost::shared_ptr<lvx::CLunavexTask>) override {
            throw std::runtime_error("cannot take the task");
        }
    } throwing;
    testutil::CTempDir temp;
    const auto dir = temp.Path();
    auto source = dir / "a.png";
    ASSERT_TRUE(testutil::SaveImage(*testutil::Solid(8, 8, 1, 2, 3), L"image/png", source));
    view->pool.StopWaitAndClear(kWaitForever);
    for (lvx::CLunavexTaskClient* client : {static_cast<lvx::CLunavexTaskClient*>(view),
                                            static_cast<lvx::CLunavexTaskClient*>(&throwing),
                                            static_cast<lvx::CLunavexTaskClient*>(view)}) {
        Task task(new lvx::CLunavexTask);
        task->Init(testutil::W(source), testutil::W(dir / "out" / "a.png"), client);
        view->pool.Add(task);
    }
    ASSERT_TRUE(view->pool.threads.at(0)->Start());
    ASSERT_TRUE(view->pool.threads.at(0)->Wait(kWaitForever));
    ASSERT_EQ(view->pool.pending.Count(), 1u);
    ASSERT_EQ(view->results.size(), 1u) << "the first task reached the view";
    StartBatch(3, 0);

    Tick();
    EXPECT_FALSE(view->TimerRunning());
    EXPECT_EQ(view->doneCount, 1);
    ASSERT_EQ(msg.boxes.size(), 1u);
    EXPECT_EQ(msg.boxes[0].text, L"変換処理のスレッドが途中で終了したため、処理を中断しました"
                                 L"\n\n処理したファイル: 1 / 3");
    EXPECT_EQ(msg.boxes[0].flags, 16u);
    EXPECT_EQ(ControlText(lvx::ctl::kStatus), L"処理を中断しました");
    EXPECT_TRUE(view->Control(lvx::ctl::kShrink)->isEnabled());
    EXPECT_FALSE(view->Control(lvx::ctl::kStop)->isEnabled());
    EXPECT_EQ(view->pool.pending.Count(), 0u);
    EXPECT_EQ(view->pool.cancelled.Count(), 1u) << "the task left behind is cancelled";
}

// The end of a frame's window ends the event loop of the program; in a test process the request
// would end every later modal box at once. A short run of the main loop takes it back.
void ForgetEarlierQuit() {
    QTimer::singleShot(0, qApp, [] { QCoreApplication::exit(0); });
    QCoreApplication::exec();
}

TEST_F(CommandTimerTest, ClosingDuringABatchAsksAndStopsOnlyWithConsent) {
    ForgetEarlierQuit();
    HoldWorker(1);
    testutil::SeenBox asked;
    testutil::OnNextBox(asked, [](QMessageBox* box) { testutil::Click(box, QMessageBox::Cancel); });
    EXPECT_FALSE(frame_->OnClose());
    EXPECT_EQ(asked.text, QStringLiteral("角を丸める処理を実行中です。\n\n中断して終了しますか？"));
    EXPECT_TRUE(view->pool.AnyRunning()) << "Cancel keeps the batch";
    EXPECT_EQ(view->pool.pending.Count(), 1u);

    // The worker is let go only once it has been told to stop, so the waiting task never runs.
    CThread* worker = view->pool.threads.at(0).get();
    std::thread opener([&] {
        while (!worker->IsTerminated())
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        gate.Open();
    });
    asked = {};
    testutil::OnNextBox(asked, [](QMessageBox* box) { testutil::Click(box, QMessageBox::Ok); });
    EXPECT_TRUE(frame_->OnClose());
    opener.join();
    EXPECT_FALSE(asked.text.isEmpty());
    EXPECT_FALSE(view->pool.AnyRunning()) << "OK stops and waits for the worker";
    EXPECT_EQ(view->pool.pending.Count(), 0u);
    EXPECT_EQ(view->pool.cancelled.Count(), 1u);
    EXPECT_EQ(gate.FinishedCount(), 1u);

    // Without a running worker the frame closes with no question.
    asked = {};
    EXPECT_TRUE(frame_->OnClose());
    EXPECT_TRUE(asked.text.isEmpty());
}

} // namespace
