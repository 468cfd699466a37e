// The questions of the program: which text, which flags, which answer counts.
#include "foundation/Msg.h"

#include "foundation/GuardedCall.h"
#include "foundation/Numbers.h"
#include "foundation/Paths.h"
#include "foundation/ResString.h"
#include "resources/StringIds.h"

namespace {

CMsg::FocusHandler g_focusHandler = nullptr;

constexpr std::size_t kListedPaths = 10;

} // namespace

void CMsg::SetFocusHandler(FocusHandler handler) {
    g_focusHandler = handler;
}

void CMsg::FocusControl(CtrlHandle control) {
    if (control && g_focusHandler)
        g_focusHandler(control);
}

i32 CMsg::Error(const CSimpleErr& error) {
    return Show(error.text, mb::kError);
}

i32 CMsg::Show(const std::wstring&, u32) {
    return 0;
}

i32 CMsg::ShowId(u32 id, u32 flags) {
    std::wstring text;
    if (id != 0)
        LoadResString(text, id, true);
    return Show(text, flags);
}

bool CMsg::QueryOkCancel(u32 id, std::initializer_list<FormatArg> args) {
    std::wstring text;
    FormatResString(text, id, args);
    return Show(text, mb::kOkCancel) == mb::kIdOk;
}

bool CMsg::QueryLoseWork() {
    return QueryOkCancel(strid::kQueryLoseWork);
}

bool CMsg::QueryCreateFolder(const std::wstring& path) {
    return QueryOkCancel(strid::kQueryCreateFolder, {path});
}

bool CMsg::CreateFolderIfAgreed(const std::wstring& path) {
    if (!QueryCreateFolder(path))
        return false;
    my::CCtrlException holder;
    GuardedCall(holder, [&path] {
        i32 code = CreateFolderTree(path);
        if (code != 0)
            throw my::CException(strid::kCreateFolderFailed, ResultFromWin32(code), path);
    });
    if (holder.id == 0)
        return true;
    FocusControl(holder.ctrl);
    Error(holder);
    return false;
}

bool CMsg::QueryOverwrite(const std::wstring& path) {
    return QueryOkCancel(strid::kQueryOverwrite, {path});
}

bool CMsg::QueryOverwriteIfExists(const std::wstring& path) {
    if (!FileExists(path))
        return true;
    return QueryOverwrite(path);
}

std::wstring OverwriteListText(const std::vector<std::wstring>& paths) {
    std::wstring list;
    for (std::size_t i = 0; i < paths.size() && i < kListedPaths; ++i) {
        if (i > 0)
            list += L"\r\n";
        list += paths[i];
    }
    if (paths.size() > kListedPaths)
        list += L"\r\n...";
    return list;
}

bool CMsg::QueryOverwriteFiles(const std::vector<std::wstring>& paths) {
    return QueryOkCancel(strid::kQueryOverwriteFiles,
                         {ToText(static_cast<i64>(paths.size())), OverwriteListText(paths)});
}

bool CMsg::QueryOverwriteFiles(const std::list<std::wstring>& paths) {
    std::vector<std::wstring> copy(paths.begin(), paths.end());
    return QueryOkCancel(strid::kQueryOverwriteFiles,
                         {ToText(static_cast<i64>(copy.size())), OverwriteListText(copy)});
}

bool CMsg::QueryFolderRun(std::size_t folders, std::size_t images, std::size_t skipped) {
    return QueryOkCancel(strid::kQueryFolderRun,
                         {ToText(static_cast<i64>(folders)), ToText(static_cast<i64>(images)),
                          ToText(static_cast<i64>(skipped))});
}

bool CMsg::QueryResetShortcuts() {
    return QueryOkCancel(strid::kQueryResetShortcuts);
}

bool CMsg::QueryReplaceShortcut(const std::wstring& keyDescription) {
    return QueryOkCancel(strid::kQueryReplaceShortcut, {keyDescription});
}

bool CMsg::QueryBadSettings(const CSimpleErr& error) {
    return QueryOkCancel(strid::kQueryBadSettings, {error.text});
}

bool CMsg::QueryBadSettingsFile(const std::wstring& path, const CSimpleErr& error) {
    return QueryOkCancel(strid::kQueryBadSettingsFile, {path, error.text});
}

bool CMsg::QueryNewerSettingsFile() {
    return QueryOkCancel(strid::kQueryNewerSettingsFile);
}

bool CMsg::QueryStopPrinting() {
    std::wstring text;
    LoadResString(text, strid::kQueryStopPrinting, true);
    return Show(text, mb::kYesNo) == mb::kIdYes;
}
