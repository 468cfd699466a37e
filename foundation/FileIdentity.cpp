// File identities: device and inode, or the resolved place of a file still to be made.
#include "foundation/FileIdentity.h"

#include <sys/stat.h>

#include <filesystem>

#include "foundation/Paths.h"

FileIdentity IdentifyFile(const std::wstring& path) {
    namespace fs = std::filesystem;
    const std::string bytes = ToFileSystemPath(path);
    FileIdentity identity;
    struct stat info {};
    if (!bytes.empty() && ::stat(bytes.c_str(), &info) == 0) {
        identity.exists = true;
        identity.device = static_cast<u64>(info.st_dev);
        identity.inode = static_cast<u64>(info.st_ino);
        return identity;
    }
    std::error_code ec;
    fs::path whole = fs::absolute(fs::path(bytes), ec);
    if (ec)
        whole = fs::path(bytes);
    // Walk up to the nearest folder that exists; what lies below it is still to be made.
    fs::path existing = whole.parent_path();
    fs::path missing = whole.filename();
    while (!existing.empty() && existing != existing.root_path() &&
           ::stat(existing.c_str(), &info) != 0) {
        missing = existing.filename() / missing;
        existing = existing.parent_path();
    }
    fs::path real = fs::canonical(existing, ec);
    if (ec)
        real = existing;
    identity.location = (real / missing).lexically_normal().string();
    return identity;
}
