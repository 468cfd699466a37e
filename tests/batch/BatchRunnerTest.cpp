// Tests of the batch runner with real files: the order of a run, its stops, its counts, the retry
// of a file alone, its workers and their priority, synchronised by the tasks' clients.
#include "batch/BatchRunner.h"

#include <gtest/gtest.h>

#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <future>
#include <map>
#include <new>
#include <stdexcept>
#include <thread>
#include <tuple>

#include "batch/BatchPlan.h"
#include "batch/Setting.h"
#include "foundation/ResString.h"
#include "foundation/ResultText.h"
#include "foundation/ThreadPriority.h"
#include "image/ImageIo.h"
#include "image/VipsStart.h"
#include "image/reference/WholeConversion.h"
#include "resources/StringIds.h"
#include "support/Files.h"
#include "support/GateClient.h"
#include "support/PixelTestUtil.h"

using namespace testutil;
namespace fs = std::filesystem;

namespace {

using lvx::BatchEnd;

// The owner's side of a run in order: the names of the written files in their order and the text
// of the failure. It asks to stop once stopAfter files are written, and cannot report file
// number refuseAt (counted from 1).
class CRecordingClient : public lvx::CBatchRunClient {
public:
    bool StopAsked() const override { return written.size() >= stopAfter; }
    bool OnFileWritten(const lvx::CLunavexTask& task) override {
        written.push_back(fs::path(task.outputFile).filename().string());
        return written.size() != refuseAt;
    }
    void OnFileFailed(const lvx::CLunavexTask& task) override { failure = task.errorText; }

    std::vector<std::string> written;
    std::wstring failure;
    size_t stopAfter = 1000;
    size_t refuseAt = 0;
};

class BatchRunnerTest : public ::testing::Test {
protected:
    // Files f0.png ... of different sizes, the one at `bad` no image, planned as PNG outputs in
    // "out"; each task keeps its output for the owner (TaskKeeps::kEncoded) or writes it itself.
    std::vector<lvx::TaskPtr> Plan(int count, int bad, bool deferSave,
                                   lvx::CLunavexTaskClient* client = nullptr) {
        std::vector<std::wstring> sources;
        for (int i = 0; i < count; ++i) {
            const fs::path path = dir / Numbered("f", i, ".png");
            if (i == bad) {
                WriteText(path, "not an image");
            } else if (!fs::exists(path)) {
                EXPECT_TRUE(SaveImage(*Solid(20 + i, 10, static_cast<u8>(20 * i), 2, 3),
                                      L"image/png", path));
            }
            sources.push_back(W(path));
        }
        CSetting settings;
        settings.saveType = 1;
        settings.subFolders.Add(L"out");
        std::vector<lvx::TaskPtr> tasks;
        for (const lvx::PlannedFile& file : lvx::PlanBatch(sources, settings, client)) {
            file.task->keeps = deferSave ? lvx::TaskKeeps::kEncoded : lvx::TaskKeeps::kNothing;
            file.task->replaceExisting = file.outputExists;
            tasks.push_back(file.task);
        }
        return tasks;
    }

    // The output folder's files with their bytes.
    std::map<std::string, std::string> Outputs() const {
        std::map<std::string, std::string> files;
        if (fs::exists(dir / "out"))
            for (const auto& entry : fs::directory_iterator(dir / "out"))
                files[entry.path().filename().string()] = ReadText(entry.path());
        return files;
    }

    // The options of lunavex-batch's runs: a memory budget, and a thrown failure fails its file.
    static lvx::BatchRunOptions InOrder(u32 jobs) {
        return {
            .jobs = jobs, .memoryBudget = u64{1} << 30, .thrown = lvx::ThrownFailure::kFailsFile};
    }

    static std::string Name(const lvx::TaskPtr& task) {
        return task ? fs::path(task->outputFile).filename().string() : "";
    }

    CTempDir temp;
    const fs::path dir = temp.Path();
};

// Files are written and reported in their order whatever the number of workers, and the run ends
// at the first failure, at a stop between two files, or at a file the owner could not report.
TEST_F(BatchRunnerTest, ARunInOrderWritesAndReportsTheFilesInTheirOrderUntilItEnds) {
    const struct {
        u32 jobs;
        int bad;
        size_t stopAfter, refuseAt;
        BatchEnd end;
        size_t written; // files reported written
        i32 done;
    } cases[] = {
        {1, -1, 1000, 0, BatchEnd::kAllDone, 5, 5}, {2, -1, 1000, 0, BatchEnd::kAllDone, 5, 5},
        {0, -1, 1000, 0, BatchEnd::kAllDone, 5, 5}, {4, 2, 1000, 0, BatchEnd::kFailed, 2, 2},
        {1, 0, 1000, 0, BatchEnd::kFailed, 0, 0},   {3, 4, 1000, 0, BatchEnd::kFailed, 4, 4},
        {2, -1, 2, 0, BatchEnd::kStopped, 2, 2},    {1, -1, 0, 0, BatchEnd::kStopped, 0, 0},
        {2, -1, 1000, 3, BatchEnd::kFailed, 3, 2},
    };
    std::map<std::string, std::string> alone; // the outputs of one worker, all files good
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message()
                     << "jobs " << c.jobs << ", bad " << c.bad << ", stop after " << c.stopAfter);
        fs::remove_all(dir);
        fs::create_directories(dir);
        lvx::CBatchRunner runner;
        CRecordingClient client;
        client.stopAfter = c.stopAfter;
        client.refuseAt = c.refuseAt;
        EXPECT_EQ(runner.RunInOrder(Plan(5, c.bad, true), InOrder(c.jobs), client), c.end);
        std::vector<std::string> expected;
        for (size_t i = 0; i < c.written; ++i)
            expected.push_back(Numbered("f", static_cast<long long>(i), ".png"));
        EXPECT_EQ(client.written, expected);
        EXPECT_EQ(runner.FileCount(), 5);
        EXPECT_EQ(runner.DoneCount(), c.done);
        EXPECT_FALSE(runner.Running());
        const std::map<std::string, std::string> outputs = Outputs();
        std::vector<std::string> names;
        for (const auto& [name, bytes] : outputs) {
            names.push_back(name);
            if (!alone.empty()) {
                EXPECT_EQ(bytes, alone[name]) << name;
            }
        }
        EXPECT_EQ(names, expected) << "no file after the end is written";
        if (alone.empty())
            alone = outputs;
        if (c.bad < 0) {
            EXPECT_EQ(client.failure, L"");
            EXPECT_FALSE(runner.FailedTask());
            continue;
        }
        EXPECT_EQ(client.failure.rfind(L"画像の読み込みに失敗しました - ", 0), 0u);
        EXPECT_EQ(Name(runner.FailedTask()), Numbered("f", c.bad, ".png"));
    }
}

// A file that runs out of memory beside others is converted once more alone, on the owner's
// thread, and then counts as written; with one worker its failure stands.
TEST_F(BatchRunnerTest, AFileThatRanOutOfMemoryBesideOthersIsConvertedOnceMoreAlone) {
    for (u32 jobs : {1u, 2u}) {
        fs::remove_all(dir / "out");
        std::vector<lvx::TaskPtr> tasks = Plan(3, -1, true);
        std::vector<std::thread::id> calls;
        tasks[1]->keeps = lvx::TaskKeeps::kNothing;
        tasks[1]->beforeReplace = [&calls] {
            calls.push_back(std::this_thread::get_id());
            if (calls.size() == 1)
                throw std::bad_alloc();
            return true;
        };
        lvx::CBatchRunner runner;
        CRecordingClient client;
        const BatchEnd end = runner.RunInOrder(tasks, InOrder(jobs), client);
        if (jobs == 1) {
            EXPECT_EQ(end, BatchEnd::kFailed);
            EXPECT_EQ(calls.size(), 1u);
            EXPECT_NE(client.failure.find(ResultText(hr::kOutOfMemory)), std::wstring::npos);
            EXPECT_EQ(client.written, std::vector<std::string>{"f0.png"});
            continue;
        }
        EXPECT_EQ(end, BatchEnd::kAllDone);
        ASSERT_EQ(calls.size(), 2u);
        EXPECT_EQ(calls[1], std::this_thread::get_id()) << "the retry runs on the owner's thread";
        EXPECT_EQ(client.written, (std::vector<std::string>{"f0.png", "f1.png", "f2.png"}));
        EXPECT_EQ(Outputs().size(), 3u);
    }
}

// The window's run: the same files in the same order as a run in order, written by the runner's
// writer and taken in by the owner's polls; it ends at the first failure, and a run that cannot
// start has its files and none done.
TEST_F(BatchRunnerTest, APolledRunHandsOverTheFilesInTheirOrderAndSaysHowItEnded) {
    lvx::CBatchRunner runner;
    for (const auto& [bad, end, written] :
         {std::tuple{-1, BatchEnd::kAllDone, 4}, std::tuple{1, BatchEnd::kFailed, 1}}) {
        fs::remove_all(dir / "out");
        std::vector<lvx::TaskPtr> tasks = Plan(4, bad, true);
        ASSERT_TRUE(runner.Start(tasks, InOrder(2)));
        runner.Wait();
        lvx::BatchPoll poll = runner.Poll();
        EXPECT_EQ(poll.finished,
                  std::vector<lvx::TaskPtr>(tasks.begin(), tasks.begin() + written + (bad >= 0)));
        EXPECT_EQ(poll.end, end);
        EXPECT_EQ(runner.DoneCount(), written);
        EXPECT_EQ(runner.FailedTask(), bad >= 0 ? tasks[1] : nullptr);
        EXPECT_TRUE(runner.Poll().finished.empty());
        const std::map<std::string, std::string> outputs = Outputs();
        EXPECT_EQ(outputs.size(), static_cast<size_t>(written)) << "nothing after a failure";
        CRecordingClient client;
        fs::remove_all(dir / "out");
        ASSERT_EQ(runner.RunInOrder(Plan(4, bad, true), InOrder(2), client), end);
        EXPECT_EQ(Outputs(), outputs) << "the same files, byte for byte";
    }

    // No worker: nothing runs, nothing is made.
    fs::remove_all(dir / "out");
    runner.RefuseWorkers(true);
    EXPECT_FALSE(runner.Start(Plan(2, -1, true), {}));
    EXPECT_FALSE(runner.Running());
    EXPECT_EQ(runner.FileCount(), 2);
    EXPECT_EQ(runner.DoneCount(), 0);
    EXPECT_FALSE(runner.FailedTask()) << "a new run forgets the last one's failure";
    EXPECT_EQ(runner.Poll().end, BatchEnd::kWorkerEnded);
    EXPECT_FALSE(fs::exists(dir / "out"));
}

// A stop takes effect between files: the file in work sees it and is not written, the others
// never start, and every old output stays.
TEST_F(BatchRunnerTest, AStopOrAThrownFailureEndsAPolledRunBetweenFiles) {
    fs::create_directories(dir / "out");
    for (int i = 0; i < 4; ++i)
        WriteText(dir / "out" / Numbered("f", i, ".png"), "old");
    CGateClient gate;
    std::vector<lvx::TaskPtr> tasks = Plan(4, -1, true, &gate);
    lvx::CBatchRunner runner;
    ASSERT_TRUE(runner.Start(tasks, {}));
    gate.WaitUntilInside();
    EXPECT_TRUE(runner.Running());
    EXPECT_FALSE(tasks[0]->IsTerminated());
    runner.RequestStop();
    EXPECT_TRUE(tasks[0]->IsTerminated()) << "a task asks its runner";
    EXPECT_TRUE(runner.StopRequested());
    gate.Open();
    runner.Wait();
    lvx::BatchPoll poll = runner.Poll();
    EXPECT_TRUE(poll.finished.empty());
    EXPECT_EQ(poll.end, BatchEnd::kStopped);
    EXPECT_EQ(gate.FinishedCount(), 1u) << "the files after the stop never ran";
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(Outputs().at(Numbered("f", i, ".png")), "old") << i;

    // A failure thrown out of a task fails only its file; one that ends the worker is the
    // window's (CommandTimerTest).
    fs::remove_all(dir / "out");
    tasks = Plan(3, -1, false);
    tasks[1]->beforeReplace = []() -> bool { throw std::runtime_error("thrown"); };
    lvx::BatchRunOptions options;
    options.thrown = lvx::ThrownFailure::kFailsFile;
    ASSERT_TRUE(runner.Start(tasks, options));
    runner.Wait();
    poll = runner.Poll();
    EXPECT_EQ(poll.finished.size(), 2u);
    EXPECT_EQ(poll.end, BatchEnd::kFailed);
    EXPECT_EQ(runner.FailedTask(), tasks[1]);
    std::wstring text;
    FormatResString(text, strid::kStdException, {L"thrown"});
    EXPECT_EQ(tasks[1]->errorText, text);
    EXPECT_FALSE(fs::exists(dir / "out" / "f2.png"));
}

// Only the first file to start after a request collects the panes' copy of its source.
TEST_F(BatchRunnerTest, APreviewIsKeptByTheNextFileToStartAfterItIsAsked) {
    CGateClient gate;
    std::vector<lvx::TaskPtr> tasks = Plan(4, -1, true, &gate);
    tasks[3]->keepPreview = true;
    lvx::CBatchRunner runner;
    ASSERT_TRUE(runner.Start(tasks, {}));
    gate.WaitUntilInside(); // f0 converted, f1 not started
    runner.AskPreview();
    gate.Open();
    runner.Wait();
    ASSERT_EQ(runner.Poll().end, BatchEnd::kAllDone);
    for (size_t i = 0; i < tasks.size(); ++i)
        EXPECT_EQ(tasks[i]->preview != nullptr, i % 2 == 1) << "f1 asked, f3 the last: " << i;
}

// With two jobs the workers convert f1 to f4 while f0 waits to be written, each file with half
// of libvips' threads, which the run gives back at its end.
TEST_F(BatchRunnerTest, WorkersConvertAheadOfTheWritingAndShareLibvipsThreads) {
    SetVipsPipelineThreads(6);
    CGateClient gate;
    std::vector<lvx::TaskPtr> tasks = Plan(5, -1, true);
    tasks[4]->client = &gate; // holds its worker once f4 is converted
    int threads = 0;
    tasks[0]->beforeReplace = [&] {
        gate.WaitUntilInside();
        threads = VipsPipelineThreads();
        gate.Open();
        return true;
    };
    lvx::CBatchRunner runner;
    CRecordingClient client;
    EXPECT_EQ(runner.RunInOrder(tasks, InOrder(2), client), BatchEnd::kAllDone);
    EXPECT_EQ(threads, 3);
    EXPECT_EQ(VipsPipelineThreads(), 6);
}

// The policy and nice value of a thread of this process (0: the calling thread).
std::pair<int, int> PriorityOf(pid_t tid = 0) {
    return {::sched_getscheduler(tid),
            ::getpriority(PRIO_PROCESS, static_cast<id_t>(tid != 0 ? tid : ::gettid()))};
}

// A thread under the name of libvips' pool workers, on the calling thread's policy, that waits
// until the object goes. The pool only grows when its load asks for it, and a worker that an
// earlier test of the process has put below normal stays there: this one stands for a worker
// that the main thread has made.
class CMainThreadVipsWorker {
public:
    CMainThreadVipsWorker() {
        thread_ = std::thread([this, release = released_.get_future()] {
            ::pthread_setname_np(::pthread_self(), kVipsWorkerThreadName);
            started_.set_value(::gettid());
            release.wait();
        });
        tid_ = started_.get_future().get();
    }
    ~CMainThreadVipsWorker() {
        released_.set_value();
        thread_.join();
    }
    pid_t Tid() const { return tid_; }

private:
    std::promise<pid_t> started_;
    std::promise<void> released_;
    std::thread thread_;
    pid_t tid_ = 0;
};

// The workers, the writer and every libvips worker run in the batch class at nice 2 (below
// normal, never starved), whichever thread made them; the owner's thread keeps its priority.
TEST_F(BatchRunnerTest, EveryThreadOfARunBelowNormalRunsAtNiceTwoInTheBatchClass) {
    // The main thread decodes first, as the window does with its sample: in a fresh process
    // libvips' pool then holds workers that this thread made, at normal priority.
    ASSERT_TRUE(SaveImage(*Solid(640, 480, 10, 120, 230), L"image/jpeg", dir / "photo.jpg"));
    CDibPtr sample;
    ASSERT_EQ(LoadImageFile(sample, W(dir / "photo.jpg")), 0u);
    CMainThreadVipsWorker parked;
    const std::pair<int, int> normal = PriorityOf(); // the tests may have been started nicer
    ASSERT_EQ(PriorityOf(parked.Tid()), normal);

    // Kept outputs are saved by the writer; the last file is saved by its worker.
    std::mutex lock;
    std::vector<std::pair<int, int>> savers;
    std::vector<lvx::TaskPtr> tasks = Plan(3, -1, true);
    tasks[2]->keeps = lvx::TaskKeeps::kNothing;
    for (const lvx::TaskPtr& task : tasks)
        task->beforeReplace = [&] {
            std::lock_guard<std::mutex> guard(lock);
            savers.push_back(PriorityOf());
            return true;
        };
    lvx::BatchRunOptions options = InOrder(2);
    options.belowNormalPriority = true;
    lvx::CBatchRunner runner;
    ASSERT_TRUE(runner.Start(tasks, options));
    runner.Wait();
    ASSERT_EQ(runner.Poll().end, BatchEnd::kAllDone);

    const std::pair<int, int> below{SCHED_BATCH, std::max(normal.second, 2)};
    EXPECT_EQ(savers, std::vector(3, below));
    EXPECT_EQ(PriorityOf(parked.Tid()), below);
    for (pid_t tid : ThreadsNamed(kVipsWorkerThreadName))
        EXPECT_EQ(PriorityOf(tid), below) << tid;
    EXPECT_EQ(PriorityOf(), normal) << "the calling thread keeps its own";
}

} // namespace
