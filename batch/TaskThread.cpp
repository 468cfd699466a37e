// The worker thread and its pool.
#include "batch/TaskThread.h"

#include <chrono>
#include <system_error>

#include "foundation/ThreadPriority.h"
#include "image/VipsStart.h"

namespace {

std::atomic<u32> g_nextThreadId{1};

// Idle priority for the calling thread: it only gets the processors when nothing else wants them.
// A refusal leaves the normal priority.
void LowerPriority(i32 priority) {
    if (priority <= -15)
        SetIdlePriority();
}

// The pixel work of a file runs on libvips' worker threads, not on the worker itself. The pool is
// shared by the whole process and kept between pipelines, and its threads were made by whichever
// thread first needed them, often the main thread for the previews: they do not inherit the
// worker's policy. So before each file every one of them goes idle too; threads that libvips adds
// during a file are made by idle threads and inherit the policy. No thread comes back from the
// idle policy without privileges, so from the first batch on the previews' pixel work also runs at
// idle priority: while other programs keep every processor busy, a preview (and the window, which
// waits for it) is slower than it would be at normal priority.
void LowerVipsWorkers(i32 priority) {
    if (priority <= -15)
        SetIdlePriorityOfThreadsNamed(kVipsWorkerThreadName);
}

} // namespace

CThreadImpl::~CThreadImpl() {
    // The owner waits for the thread before it goes; a thread still joinable here would end the
    // program, so it is waited for as a last resort.
    if (thread_.joinable())
        thread_.join();
}

bool CThreadImpl::Start() {
    if (forcedStop_)
        return false;
    if (thread_.joinable()) {
        if (IsRunning())
            return true;
        Wait(kWaitForever);
    }
    stop_ = false;
    {
        std::lock_guard<std::mutex> guard(stateLock_);
        finished_ = false;
        exitCode_ = 0;
    }
    try {
        thread_ = std::thread(&CThreadImpl::Entry, this);
    } catch (const std::system_error&) {
        std::lock_guard<std::mutex> guard(stateLock_);
        finished_ = true;
        return false;
    }
    threadId = g_nextThreadId++;
    return true;
}

bool CThreadImpl::Wait(u32 timeoutMs) {
    if (!thread_.joinable())
        return true;
    {
        std::unique_lock<std::mutex> guard(stateLock_);
        if (timeoutMs == kWaitForever) {
            ended_.wait(guard, [this] { return finished_; });
        } else if (!ended_.wait_for(guard, std::chrono::milliseconds(timeoutMs),
                                    [this] { return finished_; })) {
            return false;
        }
    }
    thread_.join();
    threadId = 0;
    return true;
}

bool CThreadImpl::IsRunning() const {
    if (!thread_.joinable())
        return false;
    std::lock_guard<std::mutex> guard(stateLock_);
    return !finished_;
}

void CThreadImpl::Entry() {
    LowerPriority(priority);
    u32 code = 0xFFFFFFFF;
    try {
        code = ThreadMain();
    } catch (...) {
        // A failure that escapes a task ends the thread with the failure code; nothing is shown.
    }
    std::lock_guard<std::mutex> guard(stateLock_);
    exitCode_ = code;
    finished_ = true;
    ended_.notify_all();
}

void CTaskList::Push(const boost::shared_ptr<lvx::CLunavexTask>& task) {
    CNamedLock lock(section_);
    tasks_.push_back(task);
}

boost::shared_ptr<lvx::CLunavexTask> CTaskList::Pop() {
    CNamedLock lock(section_);
    if (tasks_.empty())
        return {};
    boost::shared_ptr<lvx::CLunavexTask> task = tasks_.front();
    tasks_.pop_front();
    return task;
}

void CTaskList::Clear() {
    CNamedLock lock(section_);
    tasks_.clear();
}

size_t CTaskList::Count() {
    CNamedLock lock(section_);
    return tasks_.size();
}

u32 CMultiTaskThread::ThreadMain() {
    while (!IsTerminated()) {
        current = tasks->Pop();
        if (!current)
            return 0;
        current->terminable = this;
        LowerVipsWorkers(priority);
        current->Run();
    }
    current.reset();
    return 0;
}

void CTaskThreadPool::SetThreadCount(i32 count) {
    if (count < 1 || static_cast<size_t>(count) == threads.size())
        return;
    while (threads.size() < static_cast<size_t>(count))
        threads.push_back(boost::shared_ptr<CMultiTaskThread>(new CMultiTaskThread(&pending)));
    threads.resize(static_cast<size_t>(count));
}

void CTaskThreadPool::StopAll(bool value) {
    while (boost::shared_ptr<lvx::CLunavexTask> task = pending.Pop())
        cancelled.Push(task);
    for (const auto& thread : threads)
        thread->SetStop(value);
}

void CTaskThreadPool::StopAndWait(u32 timeoutMs) {
    StopAll(true);
    for (const auto& thread : threads)
        thread->Wait(timeoutMs);
}

void CTaskThreadPool::StopWaitAndClear(u32 timeoutMs) {
    StopAndWait(timeoutMs);
    pending.Clear();
    cancelled.Clear();
}

bool CTaskThreadPool::AnyRunning() const {
    for (const auto& thread : threads) {
        if (thread->IsRunning())
            return true;
    }
    return false;
}
