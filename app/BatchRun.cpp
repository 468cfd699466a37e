// The headless batch run.
#include "app/BatchRun.h"

#include <map>
#include <vector>

#include <boost/make_shared.hpp>

#include "batch/LunavexTask.h"
#include "batch/Setting.h"
#include "foundation/Exception.h"
#include "foundation/GuardedCall.h"
#include "foundation/Paths.h"
#include "foundation/ResString.h"
#include "foundation/Utf8.h"

namespace lvx {
namespace {

constexpr u32 kIdNoFiles = 62003;
constexpr u32 kIdOutputsExist = 62004;
constexpr u32 kIdOutputIsSource = 62005;
constexpr i32 kIdSameOutput = 62006;
constexpr i32 kIdFileNotFound = 189;
constexpr i32 kIdNoEncoder = 190;

void Say(std::ostream& stream, const std::wstring& text) {
    stream << Utf8FromWide(text) << '\n';
}

std::wstring Text(u32 id, const std::wstring& argument = {}) {
    std::wstring text;
    FormatResString(text, id, {argument});
    return text;
}

struct PlannedTask {
    boost::shared_ptr<CLunavexTask> task;
    bool outputExists = false;
};

// Builds every task; throws my::CException on the first file that cannot be converted.
std::vector<PlannedTask> PlanTasks(const BatchOptions& options, const CSetting& settings) {
    std::vector<PlannedTask> planned;
    for (const std::wstring& path : options.files) {
        if (!IsExistingFile(path))
            throw my::CException(kIdFileNotFound, path);
    }
    std::map<std::wstring, std::wstring> sourceOfOutput;
    for (const std::wstring& path : options.files) {
        std::wstring output;
        MakeOutputPath(output, path, settings);
        if (IsSameFile(path, output))
            throw my::CException(kIdOutputIsSource, output);
        // a.png and a.jpg both become round/a.jpg: the second would replace the first's result.
        auto [first, added] = sourceOfOutput.emplace(output, path);
        if (!added) {
            CSimpleErr error;
            error.SetError(kIdSameOutput, first->second, path, output);
            throw my::CException(error);
        }
        auto task = boost::make_shared<CLunavexTask>();
        task->Init(path, output, nullptr);
        task->SetShrink(settings.shrink);
        task->SetRound(settings.round);
        task->SetMaxPixels(settings.maxPixels);
        if (Failed(task->PrepareEncoder(settings.saveType, settings.jpegQuality)))
            throw my::CException(kIdNoEncoder);
        planned.push_back({task, FileExists(output)});
    }
    return planned;
}

int RunChecked(const BatchOptions& options, const CSetting& settings, std::ostream& out,
               std::ostream& err) {
    if (options.files.empty()) {
        Say(err, Text(kIdNoFiles));
        return exitcode::kUsage;
    }
    std::vector<PlannedTask> planned;
    try {
        planned = PlanTasks(options, settings);
    } catch (const my::CException& e) {
        Say(err, e.text);
        return exitcode::kRefused;
    }
    if (!options.overwrite) {
        std::vector<std::wstring> existing;
        for (const PlannedTask& p : planned) {
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
    for (const PlannedTask& p : planned) {
        p.task->Run();
        p.task->ReleaseImages();
        if (p.task->errorId != 0) {
            Say(err, p.task->errorText);
            return exitcode::kTaskFailed;
        }
        Say(out, p.task->outputFile);
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
