// lvx::CBatchRunner: runs the tasks of one batch on worker threads in the order of its files, and
// keeps what came of them: the finished tasks, the counts of the run and whether it was stopped.
//
// Threads: one owner thread (the window's thread, lunavex-batch's main thread) makes the runner
// and calls every public member except IsTerminated. The workers that the runner starts run the
// tasks; nothing else runs on them. IsTerminated is asked by the tasks on the workers (and on the
// owner thread for a file it converts itself). A client of RunInOrder is called on the owner
// thread, StopAsked also while the runner's lock is held.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
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
    // The workers, and libvips' threads before each file, run at idle priority: the processors
    // go to anything else first.
    bool idlePriority = false;
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

// What a poll takes in: the files finished since the last poll, in the order they finished.
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

    // A run polled by its owner (the window): waits for the workers of an earlier run, forgets
    // it, takes the tasks and starts the workers, which convert the files in order, each task
    // writing its own output, until every file is converted or the run is stopped. False when no
    // worker could start: nothing runs, and the run has its files with none done.
    bool Start(std::vector<TaskPtr> tasks, const BatchRunOptions& options);
    // Takes in the files finished since the last poll (the done count becomes theirs) and says
    // whether the run has ended. A file that failed among them ends it (FailedTask becomes the
    // last of them), whether workers run or not.
    BatchPoll Poll();

    // A run in order (lunavex-batch): converts the files on the workers while this thread writes
    // each one (SaveEncoded, for tasks that keep their output) and reports it to the client, in
    // the order of the files, stopping at the first failure or when the client asks. At most
    // `jobs` converted files wait to be written. A file that ran out of memory beside others is
    // converted once more alone, once those have finished, before its failure counts. When no
    // worker can start, this thread converts each file itself. Returns once every worker has
    // ended: kAllDone, kStopped or kFailed.
    BatchEnd RunInOrder(std::vector<TaskPtr> tasks, const BatchRunOptions& options,
                        CBatchRunClient& client);
    // Makes RunInOrder ask its client's StopAsked again (from a signal's thread). Any thread that
    // does not hold the runner's lock.
    void Wake();

    // No file starts after this; a task in work sees it through IsTerminated. RequestStop also
    // counts the run as stopped by the user. Neither waits.
    void Stop();
    void RequestStop();
    // Waits until every worker has ended.
    void Wait();
    void StopAndWait();
    bool Running() const;
    // Any thread: whether the run has been stopped.
    bool IsTerminated() const override { return stop_; }

    // The options of the last run.
    const BatchRunOptions& Options() const { return options_; }
    i32 FileCount() const;
    i32 DoneCount() const;
    bool StopRequested() const;
    // The last failed file that a poll or the run in order took in; null when none has failed.
    TaskPtr FailedTask() const;
    // While set, no worker starts, as when the system has no thread to give.
    void RefuseWorkers(bool refuse) { refuseWorkers_ = refuse; }

private:
    void Prepare(std::vector<TaskPtr> tasks, const BatchRunOptions& options, size_t lookahead);
    size_t StartWorkers(size_t count);
    void WorkerMain();
    std::optional<size_t> TakeNext();
    bool Admit(size_t i, u64 estimate);
    bool ConvertOnWorker(size_t i);
    void RunTask(CLunavexTask& task);
    void MarkConverted(size_t i, u64 estimate);
    BatchEnd WriteInOrder(size_t i, CBatchRunClient& client);
    bool WaitForFile(size_t i, CBatchRunClient& client);
    void RetryAlone(size_t i);

    std::vector<TaskPtr> tasks_;
    std::vector<char> converted_;
    std::vector<TaskPtr> finished_; // in the order they finished
    std::vector<std::thread> workers_;
    BatchRunOptions options_;
    std::unique_ptr<CMemoryGate> gate_;
    TaskPtr failed_;
    mutable std::mutex lock_;
    std::condition_variable changed_;
    size_t running_ = 0;   // workers that have not ended
    size_t next_ = 0;      // the next file a worker takes
    size_t done_ = 0;      // files the owner has taken in
    size_t lookahead_ = 0; // converted files that may wait for the owner
    std::atomic<bool> stop_{false};
    bool stopRequested_ = false;
    bool refuseWorkers_ = false;
};

} // namespace lvx
