// lvx::CBatchRunner: runs the tasks of one batch on worker threads in the order of its files, and
// keeps what came of them: the finished tasks, the counts of the run and whether it was stopped.
//
// Threads: one owner thread (the window's thread, lunavex-batch's main thread) makes the runner
// and calls every public member except IsTerminated and AskPreview. The workers that the runner
// starts convert the files; the files are written in their order by the owner thread in a run in
// order (RunInOrder), by a writer thread that the runner starts in a polled run (Start).
// IsTerminated is asked by the tasks on whichever of those threads runs them; AskPreview may be
// called from any thread. A client of RunInOrder is called on the owner thread, StopAsked also
// while the runner's lock is held.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "batch/LunavexTask.h"
#include "batch/MemoryGate.h"
#include "foundation/Terminable.h"

namespace lvx {

using TaskPtr = boost::shared_ptr<CLunavexTask>;

// What a failure thrown out of a task's run does (running out of memory is not one: the task
// catches it and fails its file).
enum class ThrownFailure {
    kEndsWorker, // the worker ends there, and the files after it are never converted
    kFailsFile,  // the file fails with the failure's text, and the worker goes on
};

struct BatchRunOptions {
    // Worker threads; 0: one per processor. Never more than the files.
    u32 jobs = 1;
    // The bytes that the files in work may need together as their headers tell (CMemoryGate):
    // each worker reads its file's estimate before the file starts. Unset: no gate, no estimate.
    std::optional<u64> memoryBudget;
    // The workers, the writer of a polled run, and libvips' threads before each file run below
    // normal priority (SetBelowNormalPriority, foundation/ThreadPriority.h): a busy machine slows
    // them down without ever stopping them, and the owner's thread stays quick.
    bool belowNormalPriority = false;
    ThrownFailure thrown = ThrownFailure::kEndsWorker;
};

// How a run has ended, as far as the owner has taken it in.
enum class BatchEnd {
    kRunning,     // a worker still runs, or files wait for the owner
    kAllDone,     // every file taken in, none failed
    kStopped,     // stopped on request (Stop, a client's StopAsked) before the end
    kFailed,      // a file failed (or a client could not report one), and the run ended there
    kWorkerEnded, // every worker has ended with files never converted
};

// What a poll takes in: the files written (or the one that failed) since the last poll, in their
// order.
struct BatchPoll {
    std::vector<TaskPtr> finished;
    BatchEnd end = BatchEnd::kRunning;
};

// The owner's side of a run in order.
class CBatchRunClient {
public:
    // Whether the run is to end before the next file is written. Called under the runner's lock:
    // it must not call the runner.
    virtual bool StopAsked() const = 0;
    // The file's output is written and in place; false ends the run as a failure.
    virtual bool OnFileWritten(const CLunavexTask& task) = 0;
    // The file failed (its errorText says why); the run ends.
    virtual void OnFileFailed(const CLunavexTask& task) = 0;

protected:
    ~CBatchRunClient() = default;
};

class CBatchRunner : public CTerminable {
public:
    CBatchRunner() = default;
    CBatchRunner(const CBatchRunner&) = delete;
    CBatchRunner& operator=(const CBatchRunner&) = delete;
    // Stops the run and waits for its workers.
    ~CBatchRunner();

    // A run polled by its owner (the window): waits for the threads of an earlier run, forgets
    // it, takes the tasks and starts the workers and a writer thread, which run the files as
    // RunInOrder does: converted `jobs` at a time, written in their order (SaveEncoded, for tasks
    // that keep their output), stopping at the first failure or at a stop. False when no worker
    // or no writer could start: nothing runs, and the run has its files with none done.
    bool Start(std::vector<TaskPtr> tasks, const BatchRunOptions& options);
    // Takes in the files that the writer has written since the last poll, and the one that failed,
    // and says whether the run has ended. A file that failed among them ends it, whether workers
    // still run or not.
    BatchPoll Poll();
    // The next file to start collects what the panes need of its source (CLunavexTask::
    // keepPreview), so that a preview is made only for a file that will be shown. Any thread.
    void AskPreview() { previewAsked_ = true; }

    // A run in order (lunavex-batch): converts the files on the workers while this thread writes
    // each one (SaveEncoded, for tasks that keep their output) and reports it to the client, in
    // the order of the files, stopping at the first failure or when the client asks. Workers
    // convert ahead of the writing: at most 4 × `jobs` converted files wait to be written (`jobs`
    // of tasks that write their own output), and their outputs' bytes count against the memory
    // budget until they are. Side by side, the files share libvips' threads
    // (VipsPipelineThreads, divided among the workers, and given back at the end of the run). A
    // file that ran out of memory beside others is converted once more alone, once those have
    // finished, before its failure counts. When no worker can start, this thread converts each
    // file itself. Returns once every worker has ended: kAllDone, kStopped, kFailed, or
    // kWorkerEnded when a failure thrown out of a task ended its worker
    // (ThrownFailure::kEndsWorker).
    BatchEnd RunInOrder(std::vector<TaskPtr> tasks, const BatchRunOptions& options,
                        CBatchRunClient& client);
    // Makes RunInOrder ask its client's StopAsked again (from a signal's thread). Any thread that
    // does not hold the runner's lock.
    void Wake();

    // No file starts after this; a task in work sees it through IsTerminated. RequestStop also
    // counts the run as stopped by the user. Neither waits.
    void Stop();
    void RequestStop();
    // Waits until the writer and every worker have ended.
    void Wait();
    void StopAndWait();
    bool Running() const;
    // Any thread: whether the run has been stopped.
    bool IsTerminated() const override { return stop_; }

    // The options of the last run.
    const BatchRunOptions& Options() const { return options_; }
    i32 FileCount() const;
    // The files written and reported so far, in their order.
    i32 DoneCount() const;
    bool StopRequested() const;
    // The file at which the run failed; null when none has failed.
    TaskPtr FailedTask() const;
    // While set, no worker starts, as when the system has no thread to give.
    void RefuseWorkers(bool refuse) { refuseWorkers_ = refuse; }

private:
    void Prepare(std::vector<TaskPtr> tasks, const BatchRunOptions& options, size_t jobs);
    size_t StartWorkers(size_t count);
    void SharePool(size_t workers);
    void RestorePool();
    void WorkerMain();
    size_t Ahead(size_t i) const;
    std::optional<size_t> TakeNext();
    bool Admit(size_t i, u64 estimate);
    bool ConvertOnWorker(size_t i);
    void RunTask(CLunavexTask& task);
    void MarkConverted(size_t i, u64 estimate);
    void WriterMain();
    BatchEnd WriteAll(CBatchRunClient& client);
    BatchEnd WriteInOrder(size_t i, CBatchRunClient& client);
    BatchEnd WaitForFile(size_t i, CBatchRunClient& client);
    void RetryAlone(size_t i);
    void JoinWorkers();

    std::vector<TaskPtr> tasks_;
    std::vector<char> converted_;
    std::vector<u64> waiting_;      // the bytes of each converted output until it is written
    std::vector<TaskPtr> finished_; // written, then the one that failed, in their order
    std::vector<std::thread> workers_;
    std::thread writer_;
    BatchRunOptions options_;
    std::unique_ptr<CMemoryGate> gate_;
    TaskPtr failed_;
    mutable std::mutex lock_;
    std::condition_variable changed_;
    size_t running_ = 0;                // workers that have not ended
    size_t next_ = 0;                   // the next file a worker takes
    size_t written_ = 0;                // files written and reported
    size_t taken_ = 0;                  // entries of finished_ that a poll has taken in
    size_t jobs_ = 0;                   // files converted at once
    std::optional<int> poolThreads_;    // libvips' threads per pipeline before the run shared them
    size_t lost_ = SIZE_MAX;            // the first file whose worker a thrown failure ended
    bool writing_ = false;              // the writer of a polled run has not ended
    BatchEnd end_ = BatchEnd::kAllDone; // how the writer of the last polled run ended
    std::atomic<bool> stop_{false};
    std::atomic<bool> previewAsked_{false};
    bool stopRequested_ = false;
    bool refuseWorkers_ = false;
};

} // namespace lvx
