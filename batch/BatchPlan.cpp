// Planning a batch: outputs, tasks and the checks that keep every source safe.
#include "batch/BatchPlan.h"

#include <map>

#include <boost/make_shared.hpp>

#include "batch/Setting.h"
#include "foundation/Exception.h"
#include "foundation/FileIdentity.h"
#include "foundation/Paths.h"

namespace lvx {
namespace {

constexpr i32 kIdFileNotFound = 189;
constexpr i32 kIdNoEncoder = 190;
constexpr i32 kIdOutputIsSource = 62005;
constexpr i32 kIdSameOutput = 62006;
constexpr i32 kIdOutputIsOtherSource = 62030;
constexpr i32 kIdFolderAtOutput = 62031;
constexpr i32 kIdFileAtOutputFolder = 62032;

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
        Refuse(kIdFileAtOutputFolder, nearest);
}

} // namespace

std::vector<PlannedFile> PlanBatch(const std::vector<std::wstring>& sources,
                                   const CSetting& settings, CLunavexTaskClient* client) {
    for (const std::wstring& source : sources) {
        if (!IsExistingFile(source))
            throw my::CException(kIdFileNotFound, source);
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
                Refuse(kIdOutputIsSource, source, output);
            if (auto hit = sourceAt.find(identity); hit != sourceAt.end())
                Refuse(kIdOutputIsOtherSource, source, sources[hit->second]);
            if (IsDirectory(output))
                Refuse(kIdFolderAtOutput, output);
        }
        CheckOutputFolder(output);
        // a.png and a.jpg both become round/a.jpg: the second would replace the first's result.
        auto [first, added] = outputOf.emplace(identity, i);
        if (!added)
            Refuse(kIdSameOutput, sources[first->second], source, output);

        auto task = boost::make_shared<CLunavexTask>();
        task->Init(source, output, client);
        task->SetShrink(settings.shrink);
        task->SetRound(settings.round);
        task->SetMaxPixels(settings.maxPixels);
        if (Failed(task->PrepareEncoder(settings.saveType, settings.jpegQuality)))
            throw my::CException(kIdNoEncoder);
        planned.push_back({task, identity.exists});
    }
    return planned;
}

void AllowReplacing(const std::vector<PlannedFile>& planned) {
    for (const PlannedFile& file : planned)
        file.task->replaceExisting = file.outputExists;
}

} // namespace lvx
