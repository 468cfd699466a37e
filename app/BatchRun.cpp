// The headless batch run.
#include "app/BatchRun.h"

#include <algorithm>
#include <condition_variable>
#include <csignal>
#include <functional>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "app/StopSignals.h"
#include "batch/BatchPlan.h"
#include "batch/LunavexTask.h"
#include "batch/MemoryGate.h"
#include "batch/Setting.h"
#include "foundation/Exception.h"
#include "foundation/GuardedCall.h"
#include "foundation/ResString.h"
#include "foundation/Utf8.h"
#include "resources/StringIds.h"

namespace lvx {
namespace {

// Messages go to standard error with every byte of a file name that is not UTF-8 shown as \xNN.
void Say(std::ostream& stream, const std::wstring& text) {
    stream << Utf8FromWide(ReadableText(text)) << '\n';
}

// A written file's path goes to standard output byte for byte, for the scripts that read it, at
// once: a run that is stopped has listed every file it wrote. False when the stream could not take
// it (a pipe whose reader has gone, a full disk).
bool SayPath(std::ostream& stream, const std::wstring& path) {
    stream << Utf8FromWide(path) << '\n';
    stream.flush();
    return stream.good();
}

// Sets a stop signal's waker for the life of the object.
class CStopWakerScope {
public:
    explicit CStopWakerScope(std::function<void()> wake) { SetStopWaker(std::move(wake)); }
    CStopWakerScope(const CStopWakerScope&) = delete;
    CStopWakerScope& operator=(const CStopWakerScope&) = delete;
    ~CStopWakerScope() { SetStopWaker({}); }
};

std::wstring Text(u32 id, const std::wstring& argument = {}) {
    std::wstring text;
    FormatResString(text, id, {argument});
    return text;
}

// Converts the files on `jobs` threads (0: one per processor) while this thread writes them and
// reports them in their order. A file is written only after every file before it, and the run
// stops at the first failure in that order, so that the files on disk and the lines printed are
// those of a run of one file at a time. At most `jobs` converted files wait in memory, and the
// files in work together need no more than `memoryBudget` bytes as their headers tell (one file
// alone may need more). A file that ran out of memory beside others is converted once more
// alone, once those have finished, before its failure counts.
int ConvertInOrder(const std::vector<PlannedFile>& planned, u32 jobs, u64 memoryBudget,
                   std::ostream& out, std::ostream& err) {
    if (jobs == 0)
        jobs = std::max(1u, std::thread::hardware_concurrency());
    const size_t count = planned.size();
    for (const PlannedFile& p : planned) {
        // Nothing shows the images here: each file goes from its bytes to the output's in one
        // pass of rows, and its output waits for its turn to be written.
        p.task->keeps = lvx::TaskKeeps::kEncoded;
    }
    std::mutex lock;
    std::condition_variable changed;
    size_t next = 0;    // the next file a worker takes
    size_t written = 0; // the files this thread is done with
    std::vector<char> converted(count, 0);
    bool stop = false;
    CMemoryGate gate(memoryBudget);
    auto convert = [&](size_t i) {
        lvx::CLunavexTask& task = *planned[i].task;
        CSimpleErr failure;
        GuardedCall(failure, [&] { task.Run(); });
        if (failure.id != 0 && task.errorId == 0) {
            task.errorId = static_cast<i32>(failure.id);
            task.errorText = failure.text;
        }
    };
    // Waits until the gate lets file i start; false when the run stops meanwhile.
    auto admit = [&](size_t i, u64 estimate) {
        std::unique_lock<std::mutex> guard(lock);
        changed.wait(guard, [&] { return stop || gate.MayStart(i, estimate); });
        if (stop)
            return false;
        gate.Start(estimate);
        return true;
    };
    std::vector<std::thread> workers;
    // A file that ran out of memory beside others gets the memory to itself: no file starts
    // until the files in flight are done, then it converts again on this thread.
    auto retryAlone = [&](size_t i) {
        lvx::CLunavexTask& task = *planned[i].task;
        if (task.errorCode != hr::kOutOfMemory || workers.size() < 2)
            return;
        {
            std::unique_lock<std::mutex> guard(lock);
            gate.Hold(true);
            changed.wait(guard, [&] { return gate.Idle(); });
        }
        task.ForgetOutcome();
        convert(i);
        {
            std::lock_guard<std::mutex> guard(lock);
            gate.Hold(false);
        }
        changed.notify_all();
    };
    auto work = [&] {
        for (;;) {
            size_t i = 0;
            {
                std::unique_lock<std::mutex> guard(lock);
                changed.wait(guard, [&] { return stop || next >= count || next < written + jobs; });
                if (stop || next >= count)
                    return;
                i = next++;
            }
            const u64 estimate = planned[i].task->MemoryEstimate();
            if (!admit(i, estimate))
                return;
            convert(i);
            {
                std::lock_guard<std::mutex> guard(lock);
                converted[i] = 1;
                gate.Finish(estimate);
            }
            changed.notify_all();
        }
    };
    try {
        for (u32 k = 0; k < jobs && k < count; ++k)
            workers.emplace_back(work);
    } catch (const std::system_error&) {
        // Fewer threads than asked for; with none, this thread converts each file itself.
    }
    // A stop signal wakes this thread from its wait for the next file, as long as the wait's
    // lock lives.
    CStopWakerScope waker([&] {
        std::lock_guard<std::mutex> guard(lock);
        changed.notify_all();
    });
    int code = exitcode::kConverted;
    for (size_t i = 0; i < count; ++i) {
        if (workers.empty() && StopSignal() == 0) {
            convert(i);
        } else if (!workers.empty()) {
            std::unique_lock<std::mutex> guard(lock);
            changed.wait(guard, [&] { return converted[i] != 0 || StopSignal() != 0; });
        }
        // A request to stop ends the run between two files: every file written so far is whole
        // and listed, and this one is not written at all.
        if (const int signal = StopSignal()) {
            Say(err, Text(strid::kStoppedBySignal, signal == SIGINT ? L"SIGINT" : L"SIGTERM"));
            code = exitcode::kStoppedBySignal + signal;
            break;
        }
        retryAlone(i);
        lvx::CLunavexTask& task = *planned[i].task;
        task.SaveEncoded();
        task.ReleaseImages();
        if (task.errorId != 0) {
            Say(err, task.errorText);
            code = exitcode::kTaskFailed;
            break;
        }
        if (!SayPath(out, task.outputFile)) {
            Say(err, Text(strid::kPathListUnwritable));
            code = exitcode::kTaskFailed;
            break;
        }
        {
            std::lock_guard<std::mutex> guard(lock);
            ++written;
        }
        changed.notify_all();
    }
    {
        std::lock_guard<std::mutex> guard(lock);
        stop = true;
    }
    changed.notify_all();
    for (std::thread& worker : workers)
        worker.join();
    return code;
}

int RunChecked(const BatchOptions& options, const CSetting& settings, std::ostream& out,
               std::ostream& err) {
    if (options.files.empty()) {
        Say(err, Text(strid::kNoFilesGiven));
        return exitcode::kUsage;
    }
    std::vector<PlannedFile> planned;
    try {
        planned = PlanBatch(options.files, settings, nullptr);
    } catch (const my::CException& e) {
        Say(err, e.text);
        return exitcode::kRefused;
    }
    if (options.overwrite) {
        AllowReplacing(planned);
    } else {
        const std::vector<std::wstring> existing = ExistingOutputs(planned);
        if (!existing.empty()) {
            Say(err, Text(strid::kOutputsExist));
            for (const std::wstring& path : existing)
                Say(err, L"  " + path);
            return exitcode::kRefused;
        }
    }
    return ConvertInOrder(planned, options.jobs, static_cast<u64>(settings.maxMemoryMb) << 20, out,
                          err);
}

} // namespace

int RunBatch(const BatchOptions& options, const CSetting& settings, std::ostream& out,
             std::ostream& err) {
    // Anything thrown on the way (memory running out, above all) ends the run with its message.
    int code = exitcode::kTaskFailed;
    CSimpleErr failure;
    GuardedCall(failure, [&] { code = RunChecked(options, settings, out, err); });
    if (failure.id == 0)
        return code;
    Say(err, failure.text);
    return exitcode::kTaskFailed;
}

} // namespace lvx
