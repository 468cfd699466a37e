// Showing a path, or the output folder, in the file manager.
#include "app/CommandExplorer.h"

#include "batch/Setting.h"
#include "foundation/Msg.h"
#include "foundation/Paths.h"
#include "platform/Shell.h"
#include "resources/StringIds.h"

void CCommandExplorer::OnExecute(bool run) {
    if (path.empty() && item.IsEmpty())
        throw my::CException(strid::kEmptyIdList);
    if (!run)
        return;
    std::wstring target = path;
    if (target.empty())
        target = item.GetPathOrThrow();
    if (!FileExists(target)) {
        if (msg->ShowId(strid::kQueryOpenNearestFolder, mb::kOkCancel) != mb::kIdOk)
            return;
        target = NearestExistingFolder(target);
    }
    if (openFolder && IsDirectory(target)) {
        ShellOpen(target, L"", LateFailureHandler());
        return;
    }
    ShowInExplorer(target, LateFailureHandler());
}

namespace lvx {

void CCommandExplorerOutputPath::OnExecute(bool run) {
    if (!run)
        return;
    const std::wstring& outputPath = TheSetting().outputPath;
    if (outputPath.empty())
        throw my::CException(strid::kNoOutputFolder);
    item.Clear();
    path = outputPath;
    openFolder = true;
    CCommandExplorer::OnExecute(run);
}

} // namespace lvx
