// The application's identity from the string table and the version block.
#include "persist/AppInfo.h"

#include "foundation/Numbers.h"
#include "foundation/ResString.h"
#include "persist/VersionInfo.h"

void CAppInfo::Init(u32 makerId, u32 productId, u32 titleId, u32 iconId) {
    std::lock_guard guard(lock_);
    if (initialised_)
        return;
    LoadResString(maker_, makerId, true);
    LoadResString(product_, productId, true);
    LoadResString(title_, titleId, true);
    iconId_ = iconId;
    CVersionInfo info(ProgramFilePath());
    version_ = info.ReadProductVersion();
    copyright_ = info.ReadLegalCopyright();
    initialised_ = true;
}

void CAppInfo::SetHomeAddress(u32 id) {
    std::lock_guard guard(lock_);
    LoadResString(homeAddress_, id, true);
}

std::wstring CAppInfo::TitleAndVersion() const {
    std::wstring text = title_ + L"  ";
    for (std::size_t i = 0; i < version_.size(); ++i) {
        if (i > 0)
            text += L'.';
        text += ToText(version_[i]);
    }
    return text;
}

CAppInfo& TheAppInfo() {
    static CAppInfo info;
    return info;
}
