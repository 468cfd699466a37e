// Tests of the worker and its pool, synchronised by a gate in the task's client, never by time.
#include "batch/TaskThread.h"

#include <gtest/gtest.h>

#include <sched.h>
#include <unistd.h>

#include <future>

#include <vips/vips.h>

#include "foundation/ThreadPriority.h"
#include "image/VipsStart.h"
#include "image/reference/WholeConversion.h"
#include "resources/StringIds.h"
#include "support/Files.h"
#include "support/GateClient.h"
#include "support/PixelTestUtil.h"

namespace {

TEST(TaskThreadTest, ThreadCountBelowOneChangesNothingAndAnIdleWorkerEndsAtOnce) {
    CTaskThreadPool pool;
    ASSERT_EQ(pool.threads.size(), 1u);
    auto first = pool.threads[0];
    pool.SetThreadCount(0);
    pool.SetThreadCount(-1);
    ASSERT_EQ(pool.threads.size(), 1u);
    EXPECT_EQ(pool.threads[0], first);
    pool.SetThreadCount(3);
    EXPECT_EQ(pool.threads.size(), 3u);
    EXPECT_FALSE(pool.threads[2]->HasHandle()) << "new workers are not started";
    pool.SetThreadCount(1);
    EXPECT_EQ(pool.threads[0], first);

    // A worker with nothing to do ends at once with code zero.
    auto& worker = *pool.threads[0];
    EXPECT_TRUE(worker.Wait(0)) << "no thread: true whatever the timeout";
    ASSERT_TRUE(worker.Start());
    EXPECT_TRUE(worker.Wait(kWaitForever));
    EXPECT_EQ(worker.ExitCode(), 0u);
    EXPECT_FALSE(worker.HasHandle());
    EXPECT_FALSE(worker.IsRunning());
}

TEST(TaskThreadTest, TasksRunInOrderAndARunningWorkerIsNotRestarted) {
    CGateClient gate;
    CTaskThreadPool pool;
    for (const wchar_t* name : {L"a", L"b", L"c"})
        pool.Add(FailingTask(&gate, name));
    auto& worker = *pool.threads[0];
    ASSERT_TRUE(worker.Start());
    gate.WaitUntilInside();
    const u32 id = worker.threadId;
    EXPECT_TRUE(worker.IsRunning());
    EXPECT_TRUE(pool.AnyRunning());
    EXPECT_TRUE(worker.Start());
    EXPECT_EQ(worker.threadId, id);
    EXPECT_FALSE(worker.Wait(0)) << "the thread is held inside the client";
    EXPECT_TRUE(worker.HasHandle());
    gate.Open();
    EXPECT_TRUE(worker.Wait(kWaitForever));
    auto finished = gate.Finished();
    ASSERT_EQ(finished.size(), 3u);
    EXPECT_EQ(finished[0]->inputPath, L"a");
    EXPECT_EQ(finished[1]->inputPath, L"b");
    EXPECT_EQ(finished[2]->inputPath, L"c");
    EXPECT_EQ(finished[0]->errorId, strid::kCreateFolderFailed);

    // A new batch on the same object gets a new thread.
    pool.Add(FailingTask(&gate, L"d"));
    ASSERT_TRUE(worker.Start());
    EXPECT_NE(worker.threadId, id);
    EXPECT_TRUE(worker.Wait(kWaitForever));
    EXPECT_EQ(gate.Finished().size(), 4u);
}

TEST(TaskThreadTest, AStopCancelsWhatHasNotBegunAndTheRunningTaskSeesIt) {
    CGateClient gate;
    CTaskThreadPool pool;
    for (const wchar_t* name : {L"a", L"b", L"c"})
        pool.Add(FailingTask(&gate, name));
    ASSERT_TRUE(pool.threads[0]->Start());
    gate.WaitUntilInside();
    pool.StopAll(true);
    auto running = gate.Finished().at(0);
    EXPECT_TRUE(running->IsTerminated()) << "a task asks its thread";
    EXPECT_EQ(pool.pending.Count(), 0u);
    EXPECT_EQ(pool.cancelled.Count(), 2u);
    gate.Open();
    pool.threads[0]->Wait(kWaitForever);
    EXPECT_EQ(gate.Finished().size(), 1u) << "cancelled tasks never run";
    EXPECT_FALSE(pool.threads[0]->current) << "the worker lets go of its last task";

    // On an idle pool a stop moves the pending tasks at once.
    CTaskThreadPool idle;
    idle.Add(FailingTask(nullptr, L"a"));
    idle.Add(FailingTask(nullptr, L"b"));
    idle.StopAll(true);
    EXPECT_EQ(idle.pending.Count(), 0u);
    EXPECT_EQ(idle.cancelled.Count(), 2u);
    EXPECT_TRUE(idle.threads[0]->IsTerminated());
    EXPECT_FALSE(idle.AnyRunning());
    idle.StopWaitAndClear(kWaitForever);
    EXPECT_EQ(idle.cancelled.Count(), 0u);
}

// The policies of libvips' worker threads, in no particular order.
std::vector<int> VipsWorkerPolicies() {
    std::vector<int> policies;
    for (pid_t tid : ThreadsNamed(kVipsWorkerThreadName))
        policies.push_back(::sched_getscheduler(tid));
    return policies;
}

// A thread that libvips' own thread maker starts, on the calling thread's policy, under the name
// of the pool's workers; it waits until the object goes. libvips' pool only grows when its load
// asks for it, and a worker that an earlier test of the process has put at idle priority stays
// there: this one stands for a worker that the main thread has made.
class CMainThreadVipsWorker {
public:
    CMainThreadVipsWorker() {
        release_ = released_.get_future().share();
        thread_ = vips_g_thread_new(kVipsWorkerThreadName, &CMainThreadVipsWorker::Park, this);
        tid_ = started_.get_future().get();
    }
    ~CMainThreadVipsWorker() {
        released_.set_value();
        g_thread_join(thread_);
    }
    pid_t Tid() const { return tid_; }

private:
    static gpointer Park(gpointer self) {
        auto* worker = static_cast<CMainThreadVipsWorker*>(self);
        std::shared_future<void> release = worker->release_;
        worker->started_.set_value(::gettid());
        release.wait();
        return nullptr;
    }

    std::promise<pid_t> started_;
    std::promise<void> released_;
    std::shared_future<void> release_;
    GThread* thread_ = nullptr;
    pid_t tid_ = 0;
};

TEST(TaskThreadTest, EveryLibvipsWorkerRunsAtIdlePriorityAfterABatchFile) {
    testutil::CTempDir temp;
    const auto dir = temp.Path();
    // The main thread encodes and decodes first, as the previews do: in a fresh process libvips'
    // pool then holds workers that this thread made, at normal priority.
    ASSERT_TRUE(testutil::SaveImage(*testutil::Solid(640, 480, 10, 120, 230), L"image/jpeg",
                                    dir / "photo.jpg"));
    CDibPtr preview;
    ASSERT_EQ(LoadImageFile(preview, testutil::W(dir / "photo.jpg")), 0u);
    CMainThreadVipsWorker parked;
    ASSERT_EQ(::sched_getscheduler(parked.Tid()), SCHED_OTHER);
    std::vector<int> before = VipsWorkerPolicies();

    CGateClient gate;
    gate.Open();
    CTaskThreadPool pool;
    boost::shared_ptr<lvx::CLunavexTask> task(new lvx::CLunavexTask);
    task->Init(testutil::W(dir / "photo.jpg"), testutil::W(dir / "out" / "photo.png"), &gate);
    pool.Add(task);
    ASSERT_TRUE(pool.threads[0]->Start());
    ASSERT_TRUE(pool.threads[0]->Wait(kWaitForever));
    ASSERT_EQ(gate.FinishedCount(), 1u);
    ASSERT_EQ(task->errorId, 0) << testing::PrintToString(task->errorText);

    EXPECT_EQ(::sched_getscheduler(parked.Tid()), SCHED_IDLE);
    std::vector<int> after = VipsWorkerPolicies();
    ASSERT_GE(after.size(), before.size());
    EXPECT_EQ(std::count(after.begin(), after.end(), SCHED_IDLE),
              static_cast<std::ptrdiff_t>(after.size()));
    EXPECT_EQ(::sched_getscheduler(0), SCHED_OTHER) << "the calling thread keeps its policy";
}

} // namespace
