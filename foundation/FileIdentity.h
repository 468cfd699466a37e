// What a path names on the file system, so that two spellings of one file (a "." folder, a
// relative path, a link) compare equal, whether the file exists yet or not.
// Any thread.
#pragma once

#include <compare>
#include <string>

#include "foundation/Types.h"

// An existing file is its device and inode. A file that does not exist yet is the real path of
// its nearest existing folder (links resolved) followed by the missing components, normalised:
// the name it will have once it is made.
struct FileIdentity {
    bool exists = false;
    u64 device = 0;
    u64 inode = 0;
    std::string location;
    auto operator<=>(const FileIdentity&) const = default;
};

FileIdentity IdentifyFile(const std::wstring& path);
