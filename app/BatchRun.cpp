// The headless batch run.
#include "app/BatchRun.h"

#include <vector>

#include "batch/BatchPlan.h"
#include "batch/LunavexTask.h"
#include "batch/Setting.h"
#include "foundation/Exception.h"
#include "foundation/GuardedCall.h"
#include "foundation/ResString.h"
#include "foundation/Utf8.h"

namespace lvx {
namespace {

constexpr u32 kIdNoFiles = 62003;
constexpr u32 kIdOutputsExist = 62004;

// Messages go to standard error with every byte of a file name that is not UTF-8 shown as \xNN.
void Say(std::ostream& stream, const std::wstring& text) {
    stream << Utf8FromWide(ReadableText(text)) << '\n';
}

// A written file's path goes to standard output byte for byte, for the scripts that read it.
void SayPath(std::ostream& stream, const std::wstring& path) {
    stream << Utf8FromWide(path) << '\n';
}

std::wstring Text(u32 id, const std::wstring& argument = {}) {
    std::wstring text;
    FormatResString(text, id, {argument});
    return text;
}

int RunChecked(const BatchOptions& options, const CSetting& settings, std::ostream& out,
               std::ostream& err) {
    if (options.files.empty()) {
        Say(err, Text(kIdNoFiles));
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
        std::vector<std::wstring> existing;
        for (const PlannedFile& p : planned) {
            if (p.outputExists)
                existing.push_back(p.task->outputFile);
        }
        if (!existing.empty()) {
            Say(err, Text(kIdOutputsExist));
            for (const std::wstring& path : existing)
                Say(err, L"  " + path);
            return exitcode::kRefused;
        }
    }
    for (const PlannedFile& p : planned) {
        // Nothing shows the images here: each file goes from its bytes to the output's in one
        // pass of rows.
        p.task->keepsImages = false;
        p.task->Run();
        p.task->ReleaseImages();
        if (p.task->errorId != 0) {
            Say(err, p.task->errorText);
            return exitcode::kTaskFailed;
        }
        SayPath(out, p.task->outputFile);
    }
    return exitcode::kConverted;
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
