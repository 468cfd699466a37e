// The one rule for the output sub-folder, for the window and lunavex-batch alike: a relative path
// of plain names below the source's folder. Any thread.
#pragma once

#include <string>
#include <vector>

#include "foundation/Types.h"

namespace lvx {

// The window's control that holds the sub-folder, named by the failures of this rule.
constexpr i32 kSubFolderControl = 165;

// 0 when subFolder is a relative path of plain names: not empty, not absolute, no empty, "." or
// ".." name, no control character, each name at most 255 bytes. Otherwise the strid:: id of the
// message that says why (its %s takes the sub-folder): kEmptySubFolder, kSubFolderNotRelative,
// kSubFolderDotName, kSubFolderControlChar, kSubFolderNameTooLong.
u32 SubFolderProblem(const std::wstring& subFolder);

// The names of a sub-folder, in order, split at its separators.
std::vector<std::wstring> SubFolderNames(const std::wstring& subFolder);

} // namespace lvx
