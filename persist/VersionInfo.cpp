// Reading the product version and the copyright from the version block.
#include "persist/VersionInfo.h"

#include <cwchar>
#include <filesystem>
#include <system_error>
#include <vector>

#include "foundation/Exception.h"
#include "foundation/Paths.h"
#include "foundation/TextUtil.h"
#include "foundation/Win32Error.h"
#include "resources/StringIds.h"

namespace {

constexpr const wchar_t* kTranslationBlock = L"\\VarFileInfo\\Translation";
constexpr const wchar_t* kStringBlock = L"\\StringFileInfo\\";

std::wstring TranslationKey(u16 language, u16 codePage) {
    wchar_t text[16];
    std::swprintf(text, 16, L"%04x%04x", static_cast<unsigned>(language),
                  static_cast<unsigned>(codePage));
    return text;
}

bool IsProgramFile(const std::wstring& path) {
    std::wstring program = ProgramFilePath();
    if (program.empty())
        return false;
    if (path == program)
        return true;
    std::error_code error;
    return std::filesystem::equivalent(ToFileSystemPath(path), ToFileSystemPath(program), error);
}

} // namespace

std::wstring ProgramFilePath() {
    std::error_code error;
    std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::wstring() : FromFileSystemPath(program.string());
}

bool QueryVersionString(const res::VersionBlock& block, const std::wstring& subBlock,
                        std::wstring& out) {
    const std::wstring prefix = kStringBlock;
    if (subBlock.compare(0, prefix.size(), prefix) != 0 || subBlock.size() < prefix.size() + 8)
        return false;
    std::wstring key = subBlock.substr(prefix.size(), 8);
    std::wstring name = subBlock.substr(prefix.size() + 8);
    bool known = false;
    for (std::size_t i = 0; i + 1 < block.translations.size(); i += 2)
        known = known || key == TranslationKey(block.translations[i], block.translations[i + 1]);
    if (!known)
        return false;
    const wchar_t* value = nullptr;
    if (name == L"\\ProductVersion")
        value = block.productVersion;
    else if (name == L"\\LegalCopyright")
        value = block.legalCopyright;
    else if (name == L"\\FileDescription")
        value = block.fileDescription;
    if (!value)
        return false;
    out = value;
    return true;
}

CVersionInfo::CVersionInfo(const std::wstring& path) : path_(path), block_(&res::ProgramVersion()) {
    if (IsProgramFile(path))
        return;
    // Any other file: missing, or present without a version resource.
    std::error_code error;
    bool exists = std::filesystem::exists(ToFileSystemPath(path), error);
    i32 code = exists ? win32::kResourceNameNotFound : win32::kFileNotFound;
    throw my::CException(strid::kVersionSizeFailed, ResultFromWin32(code), path);
}

CVersionInfo::CVersionInfo(const std::wstring& path, const res::VersionBlock& block)
    : path_(path), block_(&block) {}

std::wstring CVersionInfo::ReadVersionString(const std::wstring& name) const {
    const std::span<const u16> table = block_->translations;
    if (table.size() < 2)
        throw my::CException(strid::kVersionValueEmpty, path_, std::wstring(kTranslationBlock));
    for (std::size_t i = 0; i + 1 < table.size(); i += 2) {
        std::wstring subBlock = kStringBlock + TranslationKey(table[i], table[i + 1]) + name;
        std::wstring value;
        if (!QueryVersionString(*block_, subBlock, value) || value.empty())
            continue;
        std::size_t zero = value.find(L'\0');
        return zero == std::wstring::npos ? value : value.substr(0, zero);
    }
    throw my::CException(strid::kVersionValueMissing, path_,
                         std::wstring(kStringBlock) + L"[ALL_TRANSLATES]" + name);
}

std::array<u16, 4> CVersionInfo::ReadProductVersion() const {
    std::array<u16, 4> version{};
    std::wstring text = ReadVersionString(L"\\ProductVersion");
    std::vector<std::wstring> parts;
    SplitAny(text, L".,", parts);
    for (std::size_t i = 0; i < parts.size() && i < version.size(); ++i) {
        std::wstring part = parts[i];
        TrimIf(part, IsBlankChar);
        u32 number = 0;
        if (!ParseUnsigned(number, part))
            throw my::CException(strid::kBadVersion, path_, text);
        if (number >= 0x10000)
            ThrowCastError(L"DWORD", L"WORD", number);
        version[i] = static_cast<u16>(number);
    }
    return version;
}

std::wstring CVersionInfo::ReadLegalCopyright() const {
    return ReadVersionString(L"\\LegalCopyright");
}
