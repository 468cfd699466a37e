// The headless batch run.
#include "app/BatchRun.h"

#include <csignal>
#include <functional>
#include <string>
#include <vector>

#include "app/StopSignals.h"
#include "batch/BatchPlan.h"
#include "batch/BatchRunner.h"
#include "batch/FolderScan.h"
#include "batch/LunavexTask.h"
#include "batch/Setting.h"
#include "foundation/Exception.h"
#include "foundation/GuardedCall.h"
#include "foundation/Numbers.h"
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

// What the run says as it goes: each written file's path on out, a failure's text on err.
class CBatchReport : public CBatchRunClient {
public:
    CBatchReport(std::ostream& out, std::ostream& err) : out_(out), err_(err) {}

    bool StopAsked() const override { return StopSignal() != 0; }
    bool OnFileWritten(const CLunavexTask& task) override {
        if (SayPath(out_, task.outputFile))
            return true;
        Say(err_, Text(strid::kPathListUnwritable));
        return false;
    }
    void OnFileFailed(const CLunavexTask& task) override { Say(err_, task.errorText); }

private:
    std::ostream& out_;
    std::ostream& err_;
};

// The exit code of a run that ended so, with the line that says why a signal stopped it.
int ExitCodeOf(BatchEnd end, std::ostream& err) {
    if (end == BatchEnd::kAllDone)
        return exitcode::kConverted;
    if (end != BatchEnd::kStopped)
        return exitcode::kTaskFailed;
    const int signal = StopSignal();
    Say(err, Text(strid::kStoppedBySignal, signal == SIGINT ? L"SIGINT" : L"SIGTERM"));
    return exitcode::kStoppedBySignal + signal;
}

// Converts the files on `jobs` threads (0: one per processor) while this thread writes them and
// reports them in their order, so that the files on disk and the lines printed are those of a
// run of one file at a time (CBatchRunner::RunInOrder). The files in work together need no more
// than `memoryBudget` bytes as their headers tell (one file alone may need more).
int ConvertInOrder(const std::vector<PlannedFile>& planned, u32 jobs, u64 memoryBudget,
                   std::ostream& out, std::ostream& err) {
    std::vector<TaskPtr> tasks;
    for (const PlannedFile& p : planned) {
        // Nothing shows the images here: each file goes from its bytes to the output's in one
        // pass of rows, and its output waits for its turn to be written.
        p.task->keeps = lvx::TaskKeeps::kEncoded;
        tasks.push_back(p.task);
    }
    BatchRunOptions options;
    options.jobs = jobs;
    options.memoryBudget = memoryBudget;
    options.thrown = ThrownFailure::kFailsFile;
    CBatchRunner runner;
    CBatchReport report(out, err);
    // A stop signal wakes this thread from its wait for the next file.
    CStopWakerScope waker([&runner] { runner.Wake(); });
    const BatchEnd end = runner.RunInOrder(std::move(tasks), options, report);
    return ExitCodeOf(end, err);
}

// Refused (listed on err) when outputs exist and the options do not allow replacing them.
bool MayReplaceOutputs(const BatchOptions& options, const std::vector<PlannedFile>& planned,
                       std::ostream& err) {
    if (options.overwrite) {
        AllowReplacing(planned);
        return true;
    }
    const std::vector<std::wstring> existing = ExistingOutputs(planned);
    if (existing.empty())
        return true;
    Say(err, Text(strid::kOutputsExist));
    for (const std::wstring& path : existing)
        Say(err, L"  " + path);
    return false;
}

int RunChecked(const BatchOptions& options, const CSetting& settings, std::ostream& out,
               std::ostream& err) {
    if (options.files.empty()) {
        Say(err, Text(strid::kNoFilesGiven));
        return exitcode::kUsage;
    }
    std::vector<PlannedFile> planned;
    try {
        const SourceScan scan = ExpandFolders(options.files, settings);
        if (scan.files.empty())
            throw my::CException(strid::kNoImagesInFolders, options.files.front());
        if (scan.skipped > 0)
            Say(err, Text(strid::kSkippedNotImages, ToText(static_cast<i64>(scan.skipped))));
        planned = PlanBatch(scan.files, settings, nullptr);
    } catch (const my::CException& e) {
        Say(err, e.text);
        return exitcode::kRefused;
    }
    if (!MayReplaceOutputs(options, planned, err))
        return exitcode::kRefused;
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
