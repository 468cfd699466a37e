// The rule for the output sub-folder: where an output may go.
#include "batch/SubFolderRule.h"

#include "foundation/Paths.h"
#include "resources/StringIds.h"

namespace lvx {
namespace {

// The longest name a folder takes on the usual file systems.
constexpr size_t kMostNameBytes = 255;

bool IsControl(wchar_t c) {
    return c < 0x20 || (c >= 0x7F && c < 0xA0);
}

} // namespace

std::vector<std::wstring> SubFolderNames(const std::wstring& subFolder) {
    std::vector<std::wstring> names(1);
    for (wchar_t c : subFolder) {
        if (IsPathSeparator(c))
            names.emplace_back();
        else
            names.back() += c;
    }
    return names;
}

u32 SubFolderProblem(const std::wstring& subFolder) {
    if (subFolder.empty())
        return strid::kEmptySubFolder;
    if (IsPathSeparator(subFolder.front()))
        return strid::kSubFolderNotRelative;
    for (wchar_t c : subFolder) {
        if (IsControl(c))
            return strid::kSubFolderControlChar;
    }
    for (const std::wstring& name : SubFolderNames(subFolder)) {
        if (name.empty() || name == L"." || name == L"..")
            return strid::kSubFolderDotName;
        if (ToFileSystemPath(name).size() > kMostNameBytes)
            return strid::kSubFolderNameTooLong;
    }
    return 0;
}

} // namespace lvx
