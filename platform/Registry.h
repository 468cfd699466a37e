// Registry keys over the per-user store: open, create, query and set values, with the Win32
// codes that the logic expects from RegOpenKeyExW, RegCreateKeyExW, RegQueryValueExW and
// RegSetValueExW.
// The main thread only, as the store (platform/RegistryFile.h).
#pragma once

#include <memory>
#include <string>

#include "foundation/Types.h"
#include "platform/RegistryFile.h"

namespace reg {
// Value types.
constexpr u32 kNone = 0;
constexpr u32 kSz = 1;
constexpr u32 kExpandSz = 2;
constexpr u32 kBinary = 3;
constexpr u32 kDword = 4;
constexpr u32 kMultiSz = 7;
constexpr u32 kQword = 11;

// Access rights of a key handle.
constexpr u32 kQueryValue = 0x0001;
constexpr u32 kSetValue = 0x0002;
constexpr u32 kCreateSubKey = 0x0004;
constexpr u32 kEnumerateSubKeys = 0x0008;
constexpr u32 kNotify = 0x0010;
constexpr u32 kReadControl = 0x00020000;
constexpr u32 kKeyRead = 0x00020019;      // KEY_READ
constexpr u32 kKeyReadWrite = 0x0002001F; // KEY_READ with KEY_SET_VALUE and KEY_CREATE_SUB_KEY

// Win32 codes of the registry calls beside those of foundation/Win32Error.h.
constexpr i32 kErrorInvalidHandle = 6;
constexpr i32 kErrorInvalidData = 13;
constexpr i32 kErrorBadPathname = 161;
constexpr i32 kErrorMoreData = 234;
} // namespace reg

// A key handle: the store, the key's path below HKEY_CURRENT_USER and the rights it was opened
// with. Copies are independent handles of the same key. Every operation answers with a Win32
// code: 0 success, 2 no such key or value, 5 a right that the handle lacks, 6 a closed handle,
// 234 a buffer that is too small (with the size that is needed), or the code of a failed write
// of the store's file. Nothing throws but an allocation failure.
class CRegKey {
public:
    CRegKey() = default;

    // The predefined root HKEY_CURRENT_USER of this process's store, with all rights.
    static CRegKey CurrentUser();
    // The root of the given store, for tests.
    static CRegKey RootOf(std::shared_ptr<CRegistryFile> store);

    // Opens the existing key path below parent (an empty path opens parent's key again).
    i32 Open(const CRegKey& parent, const std::wstring& path, u32 access = reg::kKeyRead);
    // Opens the key, creating it with all missing parents when it does not exist.
    i32 Create(const CRegKey& parent, const std::wstring& path, u32 access = reg::kKeyReadWrite);

    // As RegQueryValueExW: a null name is the default value. With data null, bytes receives the
    // size. With a buffer of *bytes bytes that is too small, bytes receives the size and the
    // result is 234. type, when not null, receives the type in both cases.
    i32 QueryValue(const wchar_t* name, u32* type, void* data, u32* bytes) const;
    // As RegSetValueExW: stores bytes bytes of data with type; a null name is the default value.
    i32 SetValue(const wchar_t* name, u32 type, const void* data, u32 bytes);

    i32 Close();
    bool IsOpen() const { return store_ != nullptr; }
    const std::wstring& Path() const { return path_; }
    u32 Access() const { return access_; }
    const std::shared_ptr<CRegistryFile>& Store() const { return store_; }

private:
    i32 Resolve(const CRegKey& parent, const std::wstring& path, std::wstring& full) const;

    std::shared_ptr<CRegistryFile> store_;
    std::wstring path_;
    u32 access_ = 0;
};

// Gathers the writes made while it lives into one write of the store's file. Commit (or the
// destructor) ends it; Commit answers with the code of that write.
class CRegWriteBatch {
public:
    explicit CRegWriteBatch(const CRegKey& key);
    CRegWriteBatch(const CRegWriteBatch&) = delete;
    CRegWriteBatch& operator=(const CRegWriteBatch&) = delete;
    ~CRegWriteBatch();
    i32 Commit();

private:
    std::shared_ptr<CRegistryFile> store_;
};
