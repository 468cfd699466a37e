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

// Converted files that may wait to be written, for each job. A worker that finishes its file goes
// on with the next one while an earlier, larger file still converts, instead of idling until that
// file is written: the photos of a batch differ in cost by about four times. What the waiting
// outputs hold counts against the memory budget (CMemoryGate::Keep).
constexpr size_t kAheadPerJob = 4;

// 0 jobs: one per processor.
u32 ResolvedJobs(u32 jobs) {
    return jobs != 0 ? jobs : std::max(1u, std::thread::hardware_concurrency());
}

// The owner's side of a polled run, kept by the runner itself: the writer reports every file into
// the runner's own list, and stops when the runner is stopped.
class CPolledRunClient : public CBatchRunClient {
public:
    explicit CPolledRunClient(const std::atomic<bool>& stop) : stop_(stop) {}
    bool StopAsked() const override { return stop_; }
    bool OnFileWritten(const CLunavexTask& /*task*/) override { return true; }
    void OnFileFailed(const CLunavexTask& /*task*/) override {}

private:
    const std::atomic<bool>& stop_;
};

} // namespace

CBatchRunner::~CBatchRunner() {
    StopAndWait();
}

void CBatchRunner::Prepare(std::vector<TaskPtr> tasks, const BatchRunOptions& options,
                           size_t jobs) {
    StopAndWait();
    std::lock_guard<std::mutex> guard(lock_);
    tasks_ = std::move(tasks);
    converted_.assign(tasks_.size(), 0);
    waiting_.assign(tasks_.size(), 0);
    finished_.clear();
    options_ = options;
    gate_.reset(options.memoryBudget ? new CMemoryGate(*options.memoryBudget) : nullptr);
    failed_.reset();
    next_ = 0;
    written_ = 0;
    taken_ = 0;
    jobs_ = jobs;
    lost_ = SIZE_MAX;
    end_ = BatchEnd::kWorkerEnded; // until a writer runs and says otherwise
    stop_ = false;
    previewAsked_ = false;
    stopRequested_ = false;
}

size_t CBatchRunner::StartWorkers(size_t count) {
    if (refuseWorkers_)
        return 0;
    SharePool(count);
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
    if (workers_.empty())
        RestorePool();
    return workers_.size();
}

// Files converted side by side each run a libvips pipeline, whose pool would otherwise give every
// one of them as many threads as the machine has processors: two files on two processors then
// keep four threads busy, which costs more time than it saves. Each file gets its share instead.
void CBatchRunner::SharePool(size_t workers) {
    if (workers < 2)
        return;
    const int own = VipsPipelineThreads();
    {
        std::lock_guard<std::mutex> guard(lock_);
        poolThreads_ = own;
    }
    SetVipsPipelineThreads(own / static_cast<int>(std::min<size_t>(workers, own)));
}

// Gives libvips' pool back the threads per pipeline that it had before the run.
void CBatchRunner::RestorePool() {
    std::optional<int> own;
    {
        std::lock_guard<std::mutex> guard(lock_);
        own.swap(poolThreads_);
    }
    if (own)
        SetVipsPipelineThreads(*own);
}

bool CBatchRunner::Start(std::vector<TaskPtr> tasks, const BatchRunOptions& options) {
    const size_t files = tasks.size();
    const u32 jobs = ResolvedJobs(options.jobs);
    Prepare(std::move(tasks), options, jobs);
    if (StartWorkers(WorkerCount(jobs, files)) == 0)
        return false;
    {
        std::lock_guard<std::mutex> guard(lock_);
        writing_ = true;
    }
    try {
        writer_ = std::thread(&CBatchRunner::WriterMain, this);
    } catch (const std::system_error&) {
        {
            std::lock_guard<std::mutex> guard(lock_);
            writing_ = false;
        }
        StopAndWait();
        return false;
    }
    return true;
}

void CBatchRunner::WriterMain() {
    if (options_.belowNormalPriority)
        SetBelowNormalPriority(); // a refusal leaves the normal priority
    CPolledRunClient client(stop_);
    BatchEnd end = BatchEnd::kWorkerEnded;
    try {
        end = WriteAll(client);
    } catch (...) {
        // A failure thrown out of a file that this thread converted or retried ends the run as
        // one that ends a worker does.
    }
    JoinWorkers();
    {
        std::lock_guard<std::mutex> guard(lock_);
        end_ = end;
        writing_ = false;
    }
    changed_.notify_all();
}

void CBatchRunner::WorkerMain() {
    if (options_.belowNormalPriority)
        SetBelowNormalPriority(); // a refusal leaves the normal priority
    size_t current = SIZE_MAX;    // the file in work, none between files
    try {
        while (const std::optional<size_t> i = TakeNext()) {
            current = *i;
            const bool started = ConvertOnWorker(current);
            current = SIZE_MAX;
            if (!started)
                break;
        }
    } catch (...) {
        // A failure that escapes a task ends this worker with its file never converted: the run
        // ends at that file.
    }
    {
        std::lock_guard<std::mutex> guard(lock_);
        lost_ = std::min(lost_, current);
        --running_;
    }
    changed_.notify_all();
}

// How far ahead of the writing file i may start. A file that writes its own output
// (TaskKeeps::kNothing) waits until all but `jobs` files before it are written, so that no output
// is written after a file that fails.
size_t CBatchRunner::Ahead(size_t i) const {
    return tasks_[i]->keeps == TaskKeeps::kEncoded ? jobs_ * kAheadPerJob : jobs_;
}

std::optional<size_t> CBatchRunner::TakeNext() {
    std::unique_lock<std::mutex> guard(lock_);
    changed_.wait(guard, [this] {
        return stop_ || next_ >= tasks_.size() || next_ < written_ + Ahead(next_);
    });
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
    // thread first needed them, such as the window's thread loading the sample: they do not
    // inherit this worker's priority. So before each file every one of them goes below normal
    // too; threads that libvips adds during a file are made by such threads and inherit it. No
    // thread comes back up without privileges; the window computes its panes on its own thread
    // (ForEachRow, image/RowsOnThisThread.h), which keeps the normal priority.
    if (options_.belowNormalPriority)
        SetBelowNormalPriorityOfThreadsNamed(kVipsWorkerThreadName);
    if (!task.keepPreview && previewAsked_.exchange(false))
        task.keepPreview = true;
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
        waiting_[i] = tasks_[i]->encoded.capacity();
        if (gate_) {
            gate_->Finish(estimate);
            gate_->Keep(waiting_[i]);
        }
    }
    changed_.notify_all();
}

BatchPoll CBatchRunner::Poll() {
    std::lock_guard<std::mutex> guard(lock_);
    BatchPoll poll;
    // Read with the files under one lock: a writer that has ended has handed over every file it
    // ever will.
    poll.finished.assign(finished_.begin() + static_cast<std::ptrdiff_t>(taken_), finished_.end());
    taken_ = finished_.size();
    const bool failed = std::any_of(poll.finished.begin(), poll.finished.end(),
                                    [](const TaskPtr& task) { return task->errorId != 0; });
    if (failed)
        poll.end = BatchEnd::kFailed;
    else if (writing_)
        poll.end = BatchEnd::kRunning;
    else
        poll.end = end_;
    return poll;
}

BatchEnd CBatchRunner::RunInOrder(std::vector<TaskPtr> tasks, const BatchRunOptions& options,
                                  CBatchRunClient& client) {
    const size_t files = tasks.size();
    const u32 jobs = ResolvedJobs(options.jobs);
    Prepare(std::move(tasks), options, jobs);
    StartWorkers(WorkerCount(jobs, files));
    const BatchEnd end = WriteAll(client);
    StopAndWait();
    return end;
}

// Writes and reports the files in their order until one ends the run.
BatchEnd CBatchRunner::WriteAll(CBatchRunClient& client) {
    BatchEnd end = BatchEnd::kAllDone;
    for (size_t i = 0; i < tasks_.size() && end == BatchEnd::kAllDone; ++i)
        end = WriteInOrder(i, client);
    return end;
}

// Writes and reports file i once it is converted: kAllDone to go on to the next file.
BatchEnd CBatchRunner::WriteInOrder(size_t i, CBatchRunClient& client) {
    // A request to stop ends the run between two files: every file written so far is whole and
    // reported, and this one is not written at all.
    if (const BatchEnd waited = WaitForFile(i, client); waited != BatchEnd::kAllDone)
        return waited;
    RetryAlone(i);
    CLunavexTask& task = *tasks_[i];
    task.SaveEncoded();
    task.ReleaseImages();
    if (task.errorId != 0) {
        {
            std::lock_guard<std::mutex> guard(lock_);
            failed_ = tasks_[i];
            finished_.push_back(tasks_[i]);
        }
        client.OnFileFailed(task);
        return BatchEnd::kFailed;
    }
    if (!client.OnFileWritten(task))
        return BatchEnd::kFailed;
    {
        std::lock_guard<std::mutex> guard(lock_);
        ++written_;
        finished_.push_back(tasks_[i]);
        if (gate_)
            gate_->Written(waiting_[i]);
    }
    changed_.notify_all();
    return BatchEnd::kAllDone;
}

// Waits until file i is converted, converting it on this thread when no worker runs to do it:
// kAllDone then, kStopped when the client asks the run to stop first, kWorkerEnded when the
// worker that took the file ended in it.
BatchEnd CBatchRunner::WaitForFile(size_t i, CBatchRunClient& client) {
    bool here = false;
    {
        std::unique_lock<std::mutex> guard(lock_);
        changed_.wait(guard, [&] {
            return converted_[i] != 0 || i >= lost_ || running_ == 0 || client.StopAsked();
        });
        if (client.StopAsked())
            return BatchEnd::kStopped;
        if (converted_[i] == 0 && i >= lost_)
            return BatchEnd::kWorkerEnded;
        here = converted_[i] == 0;
    }
    if (here) {
        tasks_[i]->terminable = this;
        RunTask(*tasks_[i]);
        MarkConverted(i, 0);
    }
    std::lock_guard<std::mutex> guard(lock_);
    return client.StopAsked() ? BatchEnd::kStopped : BatchEnd::kAllDone;
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
    // The writer joins the workers before it ends; once it has, nothing else touches them.
    if (writer_.joinable())
        writer_.join();
    JoinWorkers();
}

void CBatchRunner::JoinWorkers() {
    Stop();
    for (std::thread& worker : workers_)
        worker.join();
    workers_.clear();
    RestorePool();
}

void CBatchRunner::StopAndWait() {
    Stop();
    Wait();
}

bool CBatchRunner::Running() const {
    std::lock_guard<std::mutex> guard(lock_);
    return writing_ || running_ > 0;
}

i32 CBatchRunner::FileCount() const {
    std::lock_guard<std::mutex> guard(lock_);
    return static_cast<i32>(tasks_.size());
}

i32 CBatchRunner::DoneCount() const {
    std::lock_guard<std::mutex> guard(lock_);
    return static_cast<i32>(written_);
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
