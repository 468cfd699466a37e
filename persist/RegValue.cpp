// Typed registry values: numbers, flags, texts and rectangles, read whole or not at all.
#include "persist/RegValue.h"

#include <cwchar>
#include <vector>

#include "foundation/ResString.h"

i32 CAppRegKey::Open(const CRegKey& root, u32 makerId, u32 productId) {
    LoadResString(maker_, makerId, false);
    LoadResString(product_, productId, false);
    root_ = root;
    return key_.Create(root_, KeyPath(), reg::kKeyReadWrite);
}

std::wstring CAppRegKey::KeyPath() const {
    return L"Software\\" + maker_ + L"\\" + product_ + L"32";
}

std::wstring CAppRegKey::OpenSection(const std::wstring& section) const {
    return KeyPath() + L"\\" + section;
}

bool ReadDwordValue(const CRegKey& key, const wchar_t* name, u32& out) {
    u8 bytes[4] = {};
    u32 size = sizeof bytes;
    u32 type = 0;
    if (key.QueryValue(name, &type, bytes, &size) != 0 || type != reg::kDword || size != 4)
        return false;
    out = bytes[0] | (static_cast<u32>(bytes[1]) << 8) | (static_cast<u32>(bytes[2]) << 16) |
          (static_cast<u32>(bytes[3]) << 24);
    return true;
}

bool ReadDwordValue(const CRegKey& key, const wchar_t* name, i32& out) {
    u32 value = 0;
    if (!ReadDwordValue(key, name, value))
        return false;
    out = static_cast<i32>(value);
    return true;
}

bool ReadBoolValue(const CRegKey& key, const wchar_t* name, bool& out) {
    u32 value = 0;
    if (!ReadDwordValue(key, name, value))
        return false;
    out = value != 0;
    return true;
}

i32 WriteDwordValue(CRegKey& key, const wchar_t* name, u32 value) {
    const u8 bytes[4] = {static_cast<u8>(value), static_cast<u8>(value >> 8),
                         static_cast<u8>(value >> 16), static_cast<u8>(value >> 24)};
    return key.SetValue(name, reg::kDword, bytes, sizeof bytes);
}

bool ReadStringValue(const CRegKey& key, const wchar_t* name, std::wstring& out) {
    std::vector<u8> buffer(1024 * 2);
    u32 type = 0;
    u32 size = 0;
    i32 code = 0;
    for (;;) {
        size = static_cast<u32>(buffer.size());
        code = key.QueryValue(name, &type, buffer.data(), &size);
        if (code != reg::kErrorMoreData)
            break;
        buffer.resize(buffer.size() * 2);
    }
    if (code != 0 || (type != reg::kSz && type != reg::kExpandSz))
        return false;
    if (size == 0) {
        out.clear();
        return true;
    }
    if (size % 2 != 0 || buffer[size - 2] != 0 || buffer[size - 1] != 0)
        return false;
    out = WideFromUtf16Le(buffer.data(), size - 2);
    return true;
}

i32 WriteStringValue(CRegKey& key, const wchar_t* name, const wchar_t* text) {
    if (!text)
        return reg::kErrorInvalidData;
    return WriteStringValue(key, name, std::wstring(text, std::wcslen(text)));
}

i32 WriteStringValue(CRegKey& key, const wchar_t* name, const std::wstring& text) {
    std::vector<u8> bytes = Utf16LeFromWide(text);
    bytes.push_back(0);
    bytes.push_back(0);
    return key.SetValue(name, reg::kSz, bytes.data(), static_cast<u32>(bytes.size()));
}

bool ReadWindowRect(const CRegKey& key, const std::wstring& prefix, Rect& out) {
    Rect rect;
    if (!ReadDwordValue(key, (prefix + L"Left").c_str(), rect.left) ||
        !ReadDwordValue(key, (prefix + L"Top").c_str(), rect.top) ||
        !ReadDwordValue(key, (prefix + L"Right").c_str(), rect.right) ||
        !ReadDwordValue(key, (prefix + L"Bottom").c_str(), rect.bottom))
        return false;
    out = rect;
    return true;
}

bool WriteWindowRect(CRegKey& key, const std::wstring& prefix, const Rect& rect) {
    bool ok = WriteDwordValue(key, (prefix + L"Left").c_str(), static_cast<u32>(rect.left)) == 0;
    ok = WriteDwordValue(key, (prefix + L"Top").c_str(), static_cast<u32>(rect.top)) == 0 && ok;
    ok = WriteDwordValue(key, (prefix + L"Right").c_str(), static_cast<u32>(rect.right)) == 0 && ok;
    ok = WriteDwordValue(key, (prefix + L"Bottom").c_str(), static_cast<u32>(rect.bottom)) == 0 &&
         ok;
    return ok;
}
