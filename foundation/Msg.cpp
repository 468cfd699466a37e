// The questions of the program: which text, which flags, which answer counts.
#include "foundation/Msg.h"

#include "foundation/Numbers.h"
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

void CMsg::Notify(const CSimpleErr& error) {
    Error(error);
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

bool CMsg::QueryFolderRun(std::size_t folders, std::size_t images, std::size_t skipped) {
    return QueryOkCancel(strid::kQueryFolderRun,
                         {ToText(static_cast<i64>(folders)), ToText(static_cast<i64>(images)),
                          ToText(static_cast<i64>(skipped))});
}
