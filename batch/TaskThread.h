// The worker that runs conversion tasks off the main thread: one thread at idle priority that
// pops tasks in order until the list is empty or it is told to stop, and the pool that holds it.
// libvips' worker threads, which do the pixel work of the tasks, go to idle priority before each
// task as well.
//
// Threads: the main thread makes, starts, stops and waits for workers and adds tasks; the worker
// pops and runs them. A stop takes effect between tasks; the file read of a running task also
// asks it between chunks.
#pragma once

#include <atomic>
#include <condition_variable>
#include <list>
#include <mutex>
#include <thread>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "batch/AutoCriticalSection.h"
#include "batch/LunavexTask.h"
#include "foundation/Terminable.h"

constexpr u32 kWaitForever = 0xFFFFFFFF;

// A thread with a stop flag. The flags are written by the main thread and read by the worker
// between tasks.
class CThread : public CTerminable {
public:
    bool IsTerminated() const override { return stop_ || forcedStop_; }
    virtual ~CThread() = default;
    virtual u32 ThreadMain() = 0;
    virtual bool Start() = 0;
    virtual bool Wait(u32 timeoutMs) = 0;
    virtual bool IsStopForced() const { return forcedStop_; }
    virtual bool IsRunning() const = 0;
    virtual void SetStop(bool value) { stop_ = value; }
    virtual void SetForcedStop(bool value) { forcedStop_ = value; }

protected:
    std::atomic<bool> stop_{false};
    std::atomic<bool> forcedStop_{false};
};

// An operating-system thread that runs ThreadMain at idle priority. Main thread only, apart from
// the thread itself.
class CThreadImpl : public CThread {
public:
    ~CThreadImpl() override;
    u32 ThreadMain() override { return 0; }
    // False when a forced stop is set or the thread cannot be made; true, untouched, while the
    // thread runs. An ended thread is waited for and replaced by a new one.
    bool Start() override;
    // True when there is no thread or it ended within the time (its handle is then closed).
    bool Wait(u32 timeoutMs) override;
    bool IsRunning() const override;

    i32 priority = -15; // idle: SCHED_IDLE on this platform
    u32 threadId = 0;   // counts up with every thread made; 0 when there is none
    u32 ExitCode() const { return exitCode_; }
    bool HasHandle() const { return thread_.joinable(); }

private:
    void Entry();

    std::thread thread_;
    mutable std::mutex stateLock_;
    std::condition_variable ended_;
    bool finished_ = true;
    u32 exitCode_ = 0;
};

class CTaskList {
public:
    void Push(const boost::shared_ptr<lvx::CLunavexTask>& task);
    // The first task, or an empty pointer on an empty list.
    boost::shared_ptr<lvx::CLunavexTask> Pop();
    void Clear();
    size_t Count();

private:
    std::list<boost::shared_ptr<lvx::CLunavexTask>> tasks_;
    CAutoCriticalSection section_;
};

// A worker that runs the tasks of the pool's pending list one after the other.
class CMultiTaskThread : public CThreadImpl {
public:
    explicit CMultiTaskThread(CTaskList* pending) : tasks(pending) {}
    ~CMultiTaskThread() override { current.reset(); }
    u32 ThreadMain() override;

    CTaskList* tasks;
    boost::shared_ptr<lvx::CLunavexTask> current;
};

class CTaskThreadPool {
public:
    CTaskThreadPool() { SetThreadCount(1); }
    ~CTaskThreadPool() { StopAndWait(kWaitForever); }

    // Below 1 or unchanged: nothing. More: new workers, not started. Fewer: dropped from the end.
    void SetThreadCount(i32 count);
    void Add(const boost::shared_ptr<lvx::CLunavexTask>& task) { pending.Push(task); }
    // Moves every pending task to cancelled, then sets the stop flag of each worker.
    void StopAll(bool value);
    void StopAndWait(u32 timeoutMs);
    void StopWaitAndClear(u32 timeoutMs);
    bool AnyRunning() const;

    std::vector<boost::shared_ptr<CMultiTaskThread>> threads;
    CTaskList pending;
    CTaskList cancelled;
};
