// Planning a batch: outputs, tasks and the checks that keep every source safe.
#include "batch/BatchPlan.h"

#include <map>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <boost/make_shared.hpp>

#include "batch/Setting.h"
#include "batch/SubFolderRule.h"
#include "foundation/Exception.h"
#include "foundation/FileIdentity.h"
#include "foundation/FileIo.h"
#include "foundation/FolderChain.h"
#include "foundation/Paths.h"
#include "foundation/ResultText.h"
#include "resources/StringIds.h"

namespace lvx {
namespace {

template <typename... Paths> [[noreturn]] void Refuse(i32 id, const Paths&... paths) {
    CSimpleErr error;
    error.SetError(id, paths...);
    throw my::CException(error);
}

// A source must be a regular file that this process can read: a pipe or a device would be found
// out only once the files before it are written, and a pipe could stop the run in its open.
void CheckSource(const std::wstring& source) {
    const std::string path = ToFileSystemPath(source);
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) {
        if (errno == ENOENT && ::lstat(path.c_str(), &info) == 0 && S_ISLNK(info.st_mode))
            Refuse(strid::kSourceDanglingLink, source);
        if (errno == ENOENT || errno == ENOTDIR)
            throw my::CException(strid::kFileNotFound, source);
        Refuse(strid::kSourceUnreadable, ResultText(ResultFromErrno(errno)), source);
    }
    if (S_ISDIR(info.st_mode))
        throw my::CException(strid::kFileNotFound, source);
    if (!S_ISREG(info.st_mode))
        Refuse(strid::kSourceNotRegular, source);
    CFileDescriptor fd(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!fd.Valid())
        Refuse(strid::kSourceUnreadable, ResultText(ResultFromErrno(errno)), source);
}

// The output's folder, reached from the source's folder through plain names only, so that the
// output lies inside the source's folder however the path resolves: a link among those folders
// is refused, and so is a file where a folder must be made. The task gets what was seen, and its
// save checks that it writes into those very folders.
void PlanOutputFolder(CLunavexTask& task, const std::wstring& source, const std::wstring& output) {
    std::wstring base = source;
    std::wstring name;
    SplitLastComponent(base, name);
    std::wstring folder = output;
    SplitLastComponent(folder, name);
    // MakeOutputPath put the sub-folder between the source's folder and the output's name.
    const std::vector<std::wstring> names =
        SubFolderNames(folder.substr(base.size(), folder.size() - base.size() - 1));
    std::vector<FolderId> seen;
    FolderChainStop stop = FolderChainStop::kNone;
    if (i32 code = LookAtFolderChain(base, names, seen, stop))
        Refuse(strid::kSourceUnreadable, ResultText(ResultFromWin32(code)), base);
    if (stop == FolderChainStop::kLink || stop == FolderChainStop::kNotFolder) {
        std::wstring blocked = base;
        for (size_t i = 0; i < seen.size(); ++i)
            AppendPath(blocked, names[i]);
        Refuse(stop == FolderChainStop::kLink ? strid::kOutputFolderIsLink
                                              : strid::kFileAtOutputFolder,
               blocked);
    }
    task.SetOutputPlace(base, names, seen);
}

} // namespace

std::vector<PlannedFile> PlanBatch(const std::vector<std::wstring>& sources,
                                   const CSetting& settings, CLunavexTaskClient* client) {
    for (const std::wstring& source : sources)
        CheckSource(source);
    std::vector<FileIdentity> sourceIds;
    std::map<FileIdentity, size_t> sourceAt;
    for (size_t i = 0; i < sources.size(); ++i) {
        sourceIds.push_back(IdentifyFile(sources[i]));
        sourceAt.emplace(sourceIds.back(), i);
    }

    const OutputChoice choice = settings.Output();
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
        // a.png and a.jpg both become round/a.jpg: the second would replace the first's result.
        auto [first, added] = outputOf.emplace(identity, i);
        if (!added)
            Refuse(strid::kSameOutput, sources[first->second], source, output);

        auto task = boost::make_shared<CLunavexTask>();
        task->Init(source, output, client);
        PlanOutputFolder(*task, source, output);
        task->SetShrink(settings.shrink);
        task->SetRound(settings.round);
        task->SetMaxPixels(settings.maxPixels);
        task->limits.maxMemoryMb = settings.maxMemoryMb;
        task->SetOutput(choice);
        planned.push_back({task, identity.exists});
    }
    // A source may carry any name, one of a leftover temporary file's included.
    for (const std::wstring& source : sources)
        KeepFromSweeps(source);
    return planned;
}

std::vector<std::wstring> ExistingOutputs(const std::vector<PlannedFile>& planned) {
    std::vector<std::wstring> existing;
    for (const PlannedFile& file : planned) {
        if (file.outputExists)
            existing.push_back(file.task->outputFile);
    }
    return existing;
}

void AllowReplacing(const std::vector<PlannedFile>& planned) {
    for (const PlannedFile& file : planned)
        file.task->replaceExisting = file.outputExists;
}

} // namespace lvx
