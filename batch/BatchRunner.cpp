// The batch runner: its workers, the order of its files and what it keeps of them.
#include "batch/BatchRunner.h"

#include <algorithm>
#include <system_error>

#include "foundation/GuardedCall.h"
#include "foundation/ThreadPriority.h"
#include "image/VipsStart.h"

namespace lvx {
namespace {

// The number of workers asked for, one at least and no more than the files.
size_t WorkerCount(u32 jobs, size_t files) {
    return std::max<size_t>(1, std::min<size_t>(jobs, files));
}

// 0 jobs: one per processor.
u32 ResolvedJobs(u32 jobs) {
    return jobs != 0 ? jobs : std::max(1u, std::thread::hardware_concurrency());
}

} // namespace

CBatchRunner::~CBatchRunner() {
    StopAndWait();
}

void CBatchRunner::Prepare(std::vector<TaskPtr> tasks, const BatchRunOptions& options,
                           size_t lookahead) {
    StopAndWait();
    std::lock_guard<std::mutex> guard(lock_);
    tasks_ = std::move(tasks);
    converted_.assign(tasks_.size(), 0);
    finished_.clear();
    options_ = options;
    gate_.reset(options.memoryBudget ? new CMemoryGate(*options.memoryBudget) : nullptr);
    failed_.reset();
    next_ = 0;
    done_ = 0;
    lookahead_ = lookahead;
    stop_ = false;
    stopRequested_ = false;
}

size_t CBatchRunner::StartWorkers(size_t count) {
    if (refuseWorkers_)
        return 0;
    try {
        while (workers_.size() < count) {
            {
                std::lock_guard<std::mutex> guard(lock_);
                ++running_;
            }
            try {
                workers_.emplace_back(&CBatchRunner::WorkerMain, this);
            } catch (...) {
                std::lock_guard<std::mutex> guard(lock_);
                --running_;
                throw;
            }
        }
    } catch (const std::system_error&) {
        // Fewer workers than asked for.
    }
    return workers_.size();
}

bool CBatchRunner::Start(std::vector<TaskPtr> tasks, const BatchRunOptions& options) {
    const size_t files = tasks.size();
    // The workers write every output themselves: no converted file waits for the owner.
    Prepare(std::move(tasks), options, files);
    return StartWorkers(WorkerCount(ResolvedJobs(options.jobs), files)) > 0;
}

void CBatchRunner::WorkerMain() {
    if (options_.idlePriority)
        SetIdlePriority(); // a refusal leaves the normal priority
    try {
        while (const std::optional<size_t> i = TakeNext()) {
            if (!ConvertOnWorker(*i))
                break;
        }
    } catch (...) {
        // A failure that escapes a task ends this worker; the owner finds it ended.
    }
    {
        std::lock_guard<std::mutex> guard(lock_);
        --running_;
    }
    changed_.notify_all();
}

std::optional<size_t> CBatchRunner::TakeNext() {
    std::unique_lock<std::mutex> guard(lock_);
    changed_.wait(guard,
                  [this] { return stop_ || next_ >= tasks_.size() || next_ < done_ + lookahead_; });
    if (stop_ || next_ >= tasks_.size())
        return std::nullopt;
    return next_++;
}

// Waits until the gate lets file i start; false when the run stops meanwhile.
bool CBatchRunner::Admit(size_t i, u64 estimate) {
    std::unique_lock<std::mutex> guard(lock_);
    changed_.wait(guard, [&] { return stop_ || gate_->MayStart(i, estimate); });
    if (stop_)
        return false;
    gate_->Start(estimate);
    return true;
}

// False when the run stopped before the file could start.
bool CBatchRunner::ConvertOnWorker(size_t i) {
    CLunavexTask& task = *tasks_[i];
    task.terminable = this;
    u64 estimate = 0;
    if (gate_) {
        estimate = task.MemoryEstimate();
        if (!Admit(i, estimate))
            return false;
    }
    // The pixel work of a file runs on libvips' worker threads, not on this one. Those threads
    // are shared by the whole process and kept between pipelines, and were made by whichever
    // thread first needed them, often the window's thread for the previews: they do not inherit
    // this worker's policy. So before each file every one of them goes idle too; threads that
    // libvips adds during a file are made by idle threads and inherit the policy. No thread comes
    // back from the idle policy without privileges, so from the first batch on the previews'
    // pixel work also runs at idle priority.
    if (options_.idlePriority)
        SetIdlePriorityOfThreadsNamed(kVipsWorkerThreadName);
    RunTask(task);
    MarkConverted(i, estimate);
    return true;
}

void CBatchRunner::RunTask(CLunavexTask& task) {
    if (options_.thrown == ThrownFailure::kEndsWorker) {
        task.Run();
        return;
    }
    CSimpleErr failure;
    GuardedCall(failure, [&task] { task.Run(); });
    if (failure.id != 0 && task.errorId == 0) {
        task.errorId = static_cast<i32>(failure.id);
        task.errorText = failure.text;
    }
}

void CBatchRunner::MarkConverted(size_t i, u64 estimate) {
    {
        std::lock_guard<std::mutex> guard(lock_);
        converted_[i] = 1;
        finished_.push_back(tasks_[i]);
        if (gate_)
            gate_->Finish(estimate);
    }
    changed_.notify_all();
}

BatchPoll CBatchRunner::Poll() {
    std::lock_guard<std::mutex> guard(lock_);
    BatchPoll poll;
    // Read with the finished files under one lock: a worker that has ended has handed over every
    // file it ever will, so a file missing now is missing for good.
    const bool running = running_ > 0;
    poll.finished.assign(finished_.begin() + static_cast<std::ptrdiff_t>(done_), finished_.end());
    done_ = finished_.size();
    bool failed = false;
    for (const TaskPtr& task : poll.finished) {
        if (task->errorId != 0) {
            failed_ = task;
            failed = true;
        }
    }
    if (failed)
        poll.end = BatchEnd::kFailed;
    else if (running)
        poll.end = BatchEnd::kRunning;
    else if (stopRequested_)
        poll.end = BatchEnd::kStopped;
    else if (done_ >= tasks_.size())
        poll.end = BatchEnd::kAllDone;
    else
        poll.end = BatchEnd::kWorkerEnded;
    return poll;
}

BatchEnd CBatchRunner::RunInOrder(std::vector<TaskPtr> tasks, const BatchRunOptions& options,
                                  CBatchRunClient& client) {
    const size_t files = tasks.size();
    const u32 jobs = ResolvedJobs(options.jobs);
    // At most `jobs` converted files wait in memory for their turn to be written.
    Prepare(std::move(tasks), options, jobs);
    StartWorkers(WorkerCount(jobs, files));
    BatchEnd end = BatchEnd::kAllDone;
    for (size_t i = 0; i < files && end == BatchEnd::kAllDone; ++i)
        end = WriteInOrder(i, client);
    StopAndWait();
    return end;
}

// Writes and reports file i once it is converted: kAllDone to go on to the next file.
BatchEnd CBatchRunner::WriteInOrder(size_t i, CBatchRunClient& client) {
    // A request to stop ends the run between two files: every file written so far is whole and
    // reported, and this one is not written at all.
    if (!WaitForFile(i, client))
        return BatchEnd::kStopped;
    RetryAlone(i);
    CLunavexTask& task = *tasks_[i];
    task.SaveEncoded();
    task.ReleaseImages();
    if (task.errorId != 0) {
        {
            std::lock_guard<std::mutex> guard(lock_);
            failed_ = tasks_[i];
        }
        client.OnFileFailed(task);
        return BatchEnd::kFailed;
    }
    if (!client.OnFileWritten(task))
        return BatchEnd::kFailed;
    {
        std::lock_guard<std::mutex> guard(lock_);
        ++done_;
    }
    changed_.notify_all();
    return BatchEnd::kAllDone;
}

// Waits until file i is converted, converting it on this thread when no worker runs to do it;
// false when the client asks the run to stop first.
bool CBatchRunner::WaitForFile(size_t i, CBatchRunClient& client) {
    bool here = false;
    {
        std::unique_lock<std::mutex> guard(lock_);
        changed_.wait(guard,
                      [&] { return converted_[i] != 0 || running_ == 0 || client.StopAsked(); });
        if (client.StopAsked())
            return false;
        here = converted_[i] == 0;
    }
    if (here) {
        tasks_[i]->terminable = this;
        RunTask(*tasks_[i]);
        MarkConverted(i, 0);
    }
    std::lock_guard<std::mutex> guard(lock_);
    return !client.StopAsked();
}

// A file that ran out of memory beside others gets the memory to itself: no file starts until
// the files in flight are done, then it converts again on this thread.
void CBatchRunner::RetryAlone(size_t i) {
    CLunavexTask& task = *tasks_[i];
    if (task.errorCode != hr::kOutOfMemory || workers_.size() < 2 || !gate_)
        return;
    {
        std::unique_lock<std::mutex> guard(lock_);
        gate_->Hold(true);
        changed_.wait(guard, [this] { return gate_->Idle(); });
    }
    task.ForgetOutcome();
    RunTask(task);
    {
        std::lock_guard<std::mutex> guard(lock_);
        gate_->Hold(false);
    }
    changed_.notify_all();
}

void CBatchRunner::Wake() {
    std::lock_guard<std::mutex> guard(lock_);
    changed_.notify_all();
}

void CBatchRunner::Stop() {
    {
        std::lock_guard<std::mutex> guard(lock_);
        stop_ = true;
    }
    changed_.notify_all();
}

void CBatchRunner::RequestStop() {
    {
        std::lock_guard<std::mutex> guard(lock_);
        stopRequested_ = true;
    }
    Stop();
}

void CBatchRunner::Wait() {
    for (std::thread& worker : workers_)
        worker.join();
    workers_.clear();
}

void CBatchRunner::StopAndWait() {
    Stop();
    Wait();
}

bool CBatchRunner::Running() const {
    std::lock_guard<std::mutex> guard(lock_);
    return running_ > 0;
}

i32 CBatchRunner::FileCount() const {
    std::lock_guard<std::mutex> guard(lock_);
    return static_cast<i32>(tasks_.size());
}

i32 CBatchRunner::DoneCount() const {
    std::lock_guard<std::mutex> guard(lock_);
    return static_cast<i32>(done_);
}

bool CBatchRunner::StopRequested() const {
    std::lock_guard<std::mutex> guard(lock_);
    return stopRequested_;
}

TaskPtr CBatchRunner::FailedTask() const {
    std::lock_guard<std::mutex> guard(lock_);
    return failed_;
}

} // namespace lvx
