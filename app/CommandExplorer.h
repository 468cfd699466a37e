// Shows a path in the file manager; the application's form shows the output folder.
// The main thread only, as every command (app/Command.h).
#pragma once

#include <string>

#include "app/Command.h"
#include "foundation/ItemIdList.h"

// openFolder opens a folder in a window of its own rather than showing it selected in its parent.
// The target is path; when path is empty, the path of item.
class CCommandExplorer : public CCommand {
public:
    explicit CCommandExplorer(::CMsg* msg) : CCommand(msg) {}
    void OnExecute(bool run) override;

    bool openFolder = false;
    CItemIDList item;
    std::wstring path;
};

namespace lvx {

// The folder of the last results (outputPath of the settings), opened as a folder.
class CCommandExplorerOutputPath : public CCommandExplorer {
public:
    explicit CCommandExplorerOutputPath(::CMsg* msg) : CCommandExplorer(msg) { openFolder = true; }
    void OnExecute(bool run) override;
};

} // namespace lvx
