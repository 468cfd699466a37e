// Opening an address of the string table in the browser.
#include "app/CommandOpenUrl.h"

#include "foundation/ResString.h"
#include "platform/Shell.h"

void CCommandOpenUrl::OnExecute(bool run) {
    if (!run)
        return;
    std::wstring address;
    LoadResString(address, stringId, true);
    ShellOpen(address, L"", LateFailureHandler());
}
