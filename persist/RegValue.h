// The typed layer between the settings and the registry: a value is read whole and of its type,
// or not at all. Nothing here throws but an allocation failure; a failed read leaves its
// destination as it was.
// The main thread only, as the store (platform/RegistryFile.h).
#pragma once

#include <string>

#include "foundation/Types.h"
#include "platform/Registry.h"

// The application's key "Software\<maker>\<product>32" below a root, with the root it lies in.
class CAppRegKey {
public:
    // Loads the maker and product strings and creates the key with read and write rights.
    // Returns the Win32 code.
    i32 Open(const CRegKey& root, u32 makerId, u32 productId);
    // The path of the application key + "\" + section, for opening from Root(); touches nothing.
    std::wstring OpenSection(const std::wstring& section) const;

    CRegKey& Key() { return key_; }
    const CRegKey& Root() const { return root_; }
    const std::wstring& Maker() const { return maker_; }
    const std::wstring& Product() const { return product_; }
    std::wstring KeyPath() const;

private:
    CRegKey key_;
    CRegKey root_;
    std::wstring maker_;
    std::wstring product_;
};

// A REG_DWORD of exactly four bytes; signed numbers as their 32 bits. A null name is the
// default value.
bool ReadDwordValue(const CRegKey& key, const wchar_t* name, u32& out);
bool ReadDwordValue(const CRegKey& key, const wchar_t* name, i32& out);
// A REG_DWORD; any value but 0 is true.
bool ReadBoolValue(const CRegKey& key, const wchar_t* name, bool& out);
// Writes a REG_DWORD; the Win32 code.
i32 WriteDwordValue(CRegKey& key, const wchar_t* name, u32 value);

// A REG_SZ or REG_EXPAND_SZ (not expanded) of an even number of bytes that ends in its
// terminator; characters behind an inner zero stay in the text. The buffer starts at 1024
// characters and doubles while the value does not fit.
bool ReadStringValue(const CRegKey& key, const wchar_t* name, std::wstring& out);
// Writes a REG_SZ with its terminator counted; a null text fails with ERROR_INVALID_DATA.
i32 WriteStringValue(CRegKey& key, const wchar_t* name, const wchar_t* text);
i32 WriteStringValue(CRegKey& key, const wchar_t* name, const std::wstring& text);

// prefix + "Left", "Top", "Right", "Bottom"; out changes only when all four were read.
bool ReadWindowRect(const CRegKey& key, const std::wstring& prefix, Rect& out);
// Writes all four; true when all four were written.
bool WriteWindowRect(CRegKey& key, const std::wstring& prefix, const Rect& rect);
