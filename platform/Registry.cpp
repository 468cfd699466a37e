// Registry key handles over the per-user store.
#include "platform/Registry.h"

#include <cstring>

#include "foundation/Win32Error.h"

CRegKey CRegKey::CurrentUser() {
    return RootOf(TheRegistryFile());
}

CRegKey CRegKey::RootOf(std::shared_ptr<CRegistryFile> store) {
    CRegKey root;
    root.store_ = std::move(store);
    root.access_ = 0x000F003F; // KEY_ALL_ACCESS
    return root;
}

i32 CRegKey::Resolve(const CRegKey& parent, const std::wstring& path, std::wstring& full) const {
    if (!parent.IsOpen())
        return reg::kErrorInvalidHandle;
    if (!path.empty() &&
        (path.front() == L'\\' || path.back() == L'\\' || path.find(L"\\\\") != std::wstring::npos))
        return reg::kErrorBadPathname;
    full = parent.path_;
    if (!full.empty() && !path.empty())
        full += L'\\';
    full += path;
    return 0;
}

i32 CRegKey::Open(const CRegKey& parent, const std::wstring& path, u32 access) {
    std::wstring full;
    if (i32 code = Resolve(parent, path, full))
        return code;
    std::shared_ptr<CRegistryFile> store = parent.store_;
    if (!store->KeyExists(full))
        return win32::kFileNotFound;
    Close();
    store_ = std::move(store);
    path_ = std::move(full);
    access_ = access;
    return 0;
}

i32 CRegKey::Create(const CRegKey& parent, const std::wstring& path, u32 access) {
    std::wstring full;
    if (i32 code = Resolve(parent, path, full))
        return code;
    std::shared_ptr<CRegistryFile> store = parent.store_;
    if (!store->KeyExists(full)) {
        if ((parent.access_ & reg::kCreateSubKey) == 0)
            return win32::kAccessDenied;
        bool created = false;
        if (i32 code = store->CreateKey(full, created))
            return code;
    }
    Close();
    store_ = std::move(store);
    path_ = std::move(full);
    access_ = access;
    return 0;
}

i32 CRegKey::QueryValue(const wchar_t* name, u32* type, void* data, u32* bytes) const {
    if (!IsOpen())
        return reg::kErrorInvalidHandle;
    if ((access_ & reg::kQueryValue) == 0)
        return win32::kAccessDenied;
    if (data && !bytes)
        return win32::kNoAccess;
    RegValueData value;
    if (!store_->QueryValue(path_, name ? name : L"", value))
        return win32::kFileNotFound;
    if (type)
        *type = value.type;
    u32 size = static_cast<u32>(value.bytes.size());
    if (!data) {
        if (bytes)
            *bytes = size;
        return 0;
    }
    if (*bytes < size) {
        *bytes = size;
        return reg::kErrorMoreData;
    }
    if (size)
        std::memcpy(data, value.bytes.data(), size);
    *bytes = size;
    return 0;
}

i32 CRegKey::SetValue(const wchar_t* name, u32 type, const void* data, u32 bytes) {
    if (!IsOpen())
        return reg::kErrorInvalidHandle;
    if ((access_ & reg::kSetValue) == 0)
        return win32::kAccessDenied;
    if (!data && bytes)
        return win32::kNoAccess;
    RegValueData value{type, {}};
    if (bytes) {
        const u8* begin = static_cast<const u8*>(data);
        value.bytes.assign(begin, begin + bytes);
    }
    return store_->SetValue(path_, name ? name : L"", value);
}

i32 CRegKey::Close() {
    store_.reset();
    path_.clear();
    access_ = 0;
    return 0;
}

CRegWriteBatch::CRegWriteBatch(const CRegKey& key) : store_(key.Store()) {
    if (store_)
        store_->BeginWriteBatch();
}

CRegWriteBatch::~CRegWriteBatch() {
    Commit();
}

i32 CRegWriteBatch::Commit() {
    if (!store_)
        return 0;
    i32 code = store_->EndWriteBatch();
    store_.reset();
    return code;
}
