// Tests of the worker and its pool, synchronised by a gate in the task's client, never by time.
#include "batch/TaskThread.h"

#include <gtest/gtest.h>

#include "GateClient.h"

namespace {

// A task with no encoder: it fails at once with id 200 and calls its client.
boost::shared_ptr<lvx::CLunavexTask> QuickTask(lvx::CLunavexTaskClient* client,
                                               const wchar_t* name) {
    boost::shared_ptr<lvx::CLunavexTask> task(new lvx::CLunavexTask);
    task->Init(name, std::wstring(L"/nowhere/") + name, client);
    return task;
}

TEST(TaskThreadTest, ThreadCountBelowOneChangesNothing) {
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
}

TEST(TaskThreadTest, AWorkerWithNothingToDoEndsAtOnceWithCodeZero) {
    CTaskThreadPool pool;
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
    pool.Add(QuickTask(&gate, L"a"));
    pool.Add(QuickTask(&gate, L"b"));
    pool.Add(QuickTask(&gate, L"c"));
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
    EXPECT_EQ(finished[0]->errorId, 200);

    // A new batch on the same object gets a new thread.
    pool.Add(QuickTask(&gate, L"d"));
    ASSERT_TRUE(worker.Start());
    EXPECT_NE(worker.threadId, id);
    EXPECT_TRUE(worker.Wait(kWaitForever));
    EXPECT_EQ(gate.Finished().size(), 4u);
}

TEST(TaskThreadTest, AStopCancelsWhatHasNotBegunAndTheRunningTaskSeesIt) {
    CGateClient gate;
    CTaskThreadPool pool;
    for (const wchar_t* name : {L"a", L"b", L"c"})
        pool.Add(QuickTask(&gate, name));
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
}

TEST(TaskThreadTest, StopAllOnAnIdlePoolMovesThePendingTasks) {
    CTaskThreadPool pool;
    pool.Add(QuickTask(nullptr, L"a"));
    pool.Add(QuickTask(nullptr, L"b"));
    pool.StopAll(true);
    EXPECT_EQ(pool.pending.Count(), 0u);
    EXPECT_EQ(pool.cancelled.Count(), 2u);
    EXPECT_TRUE(pool.threads[0]->IsTerminated());
    EXPECT_FALSE(pool.AnyRunning());
    pool.StopWaitAndClear(kWaitForever);
    EXPECT_EQ(pool.cancelled.Count(), 0u);
}

} // namespace
