// Planning a batch: outputs, tasks and the checks that keep every source safe.
#include "batch/BatchPlan.h"

#include <map>

#include <boost/make_shared.hpp>

#include "batch/Setting.h"
#include "foundation/Exception.h"
#include "foundation/FileIdentity.h"
#include "foundation/Paths.h"
#include "resources/StringIds.h"

namespace lvx {
namespace {

template <typename... Paths> [[noreturn]] void Refuse(i32 id, const Paths&... paths) {
    CSimpleErr error;
    error.SetError(id, paths...);
    throw my::CException(error);
}

// The output folder, or a folder above it, must be a folder wherever something exists already.
void CheckOutputFolder(const std::wstring& output) {
    const std::wstring folder = ParentPath(output);
    if (folder.empty())
        return;
    const std::wstring nearest = NearestExistingFolder(folder);
    if (!nearest.empty() && FileExists(nearest) && !IsDirectory(nearest))
        Refuse(strid::kFileAtOutputFolder, nearest);
}

} // namespace

std::vector<PlannedFile> PlanBatch(const std::vector<std::wstring>& sources,
                                   const CSetting& settings, CLunavexTaskClient* client) {
    for (const std::wstring& source : sources) {
        if (!IsExistingFile(source))
            throw my::CException(strid::kFileNotFound, source);
    }
    std::vector<FileIdentity> sourceIds;
    std::map<FileIdentity, size_t> sourceAt;
    for (size_t i = 0; i < sources.size(); ++i) {
        sourceIds.push_back(IdentifyFile(sources[i]));
        sourceAt.emplace(sourceIds.back(), i);
    }

    std::map<FileIdentity, size_t> outputOf;
    std::vector<PlannedFile> planned;
    planned.reserve(sources.size());
    for (size_t i = 0; i < sources.size(); ++i) {
        const std::wstring& source = sources[i];
        std::wstring output;
        MakeOutputPath(output, source, settings);
        const FileIdentity identity = IdentifyFile(output);
        if (identity.exists) {
            if (identity == sourceIds[i])
                Refuse(strid::kOutputIsSource, source, output);
            if (auto hit = sourceAt.find(identity); hit != sourceAt.end())
                Refuse(strid::kOutputIsOtherSource, source, sources[hit->second]);
            if (IsDirectory(output))
                Refuse(strid::kFolderAtOutput, output);
        }
        CheckOutputFolder(output);
        // a.png and a.jpg both become round/a.jpg: the second would replace the first's result.
        auto [first, added] = outputOf.emplace(identity, i);
        if (!added)
            Refuse(strid::kSameOutput, sources[first->second], source, output);

        auto task = boost::make_shared<CLunavexTask>();
        task->Init(source, output, client);
        task->SetShrink(settings.shrink);
        task->SetRound(settings.round);
        task->SetMaxPixels(settings.maxPixels);
        task->limits.maxMemoryMb = settings.maxMemoryMb;
        if (Failed(task->PrepareEncoder(settings.saveType, settings.jpegQuality)))
            throw my::CException(strid::kNoEncoderLibrary);
        planned.push_back({task, identity.exists});
    }
    return planned;
}

void AllowReplacing(const std::vector<PlannedFile>& planned) {
    for (const PlannedFile& file : planned)
        file.task->replaceExisting = file.outputExists;
}

} // namespace lvx
