// A folder below a base folder, reached one plain name at a time and never through a link: what
// the plan of a batch sees of an output folder, and the writer's descriptor of that same folder.
// Any thread.
#pragma once

#include <compare>
#include <string>
#include <vector>

#include "foundation/FileIo.h"
#include "foundation/Types.h"

struct FolderId {
    u64 device = 0;
    u64 inode = 0;
    auto operator<=>(const FolderId&) const = default;
};

// What stops a walk down the names before their end.
enum class FolderChainStop { kNone, kMissing, kLink, kNotFolder };

// Looks at base (links followed: it is the user's own path, empty for the working folder) and
// then at each name below it without following a link. seen gets the identity of base and of
// each name that is a folder, in order, up to the first that is not; stop says what that one is
// (kNone when every name is a folder). 0 or the Win32 code of a base that cannot be looked at.
i32 LookAtFolderChain(const std::wstring& base, const std::vector<std::wstring>& names,
                      std::vector<FolderId>& seen, FolderChainStop& stop);

// Opens base and each name below it with O_DIRECTORY | O_NOFOLLOW, making the names that were
// missing when seen was taken (mode 0777 before the umask), and checks that each folder that
// existed then is still that folder (device and inode). out holds the last folder. 0, or
// kFolderChanged when a folder was replaced, a link or a file appeared, or a folder went; else the
// Win32 code of the failed call.
constexpr i32 kFolderChanged = -1;
i32 OpenFolderChain(const std::wstring& base, const std::vector<std::wstring>& names,
                    const std::vector<FolderId>& seen, CFileDescriptor& out);
