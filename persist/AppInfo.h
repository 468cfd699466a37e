// The application's identity: maker, product, title, home address, icon, version and copyright,
// read once from the program's own resources.
#pragma once

#include <array>
#include <mutex>
#include <string>

#include "foundation/Types.h"

// Filled by Init on the main thread at start-up and only read afterwards.
class CAppInfo {
public:
    // Loads the strings maker, product and title, keeps the icon's resource id (the window
    // loads the icon itself), and reads the version and copyright of the program's own file.
    // Throws my::CException on a missing string (strid::kStringMissing) or a bad version resource
    // (see CVersionInfo). Once it has succeeded, further calls do nothing.
    void Init(u32 makerId, u32 productId, u32 titleId, u32 iconId);
    void SetHomeAddress(u32 id);

    // The title, two blanks, and the four numbers of the version joined by ".".
    std::wstring TitleAndVersion() const;

    const std::wstring& Maker() const { return maker_; }
    const std::wstring& Product() const { return product_; }
    const std::wstring& Title() const { return title_; }
    const std::wstring& HomeAddress() const { return homeAddress_; }
    const std::array<u16, 4>& Version() const { return version_; }
    const std::wstring& Copyright() const { return copyright_; }

private:
    std::mutex lock_; // "AppInfo"
    bool initialised_ = false;
    std::wstring maker_;
    std::wstring product_;
    std::wstring title_;
    std::wstring homeAddress_;
    u32 iconId_ = 0;
    std::array<u16, 4> version_{};
    std::wstring copyright_;
};

// The one identity object of the process.
CAppInfo& TheAppInfo();
