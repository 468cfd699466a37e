// Showing a path, or the output folder, in the file manager.
#include "app/CommandExplorer.h"

#include "batch/Setting.h"
#include "foundation/Msg.h"
#include "foundation/Paths.h"
#include "foundation/ResString.h"
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
        // The question names both places: the one that is missing and the one that would open.
        const std::wstring nearest = NearestExistingFolder(target);
        std::wstring question;
        FormatResString(question, strid::kQueryOpenNearestFolder, {target, nearest});
        if (msg->Show(question, mb::kOkCancel) != mb::kIdOk)
            return;
        target = nearest;
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
