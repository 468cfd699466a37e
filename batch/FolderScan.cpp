// Walking the folders of a batch's sources for their images.
#include "batch/FolderScan.h"

#include <algorithm>
#include <cerrno>
#include <memory>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "batch/Setting.h"
#include "batch/SubFolderRule.h"
#include "foundation/Exception.h"
#include "foundation/FileIo.h"
#include "foundation/Paths.h"
#include "foundation/ResultText.h"
#include "image/Decode.h"
#include "resources/StringIds.h"

namespace lvx {
namespace {

// Enough of a file's start for every reader to know its format.
constexpr size_t kHeadBytes = 4096;

struct DirClose {
    void operator()(DIR* dir) const { ::closedir(dir); }
};

// The names in a folder, sorted by their bytes, without "." and "..".
std::vector<std::string> NamesIn(const std::string& folder, const std::wstring& shown) {
    std::unique_ptr<DIR, DirClose> dir(::opendir(folder.c_str()));
    if (!dir) {
        CSimpleErr error;
        error.SetError(strid::kSourceUnreadable, ResultText(ResultFromErrno(errno)), shown);
        throw my::CException(error);
    }
    std::vector<std::string> names;
    while (const dirent* entry = ::readdir(dir.get())) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..")
            names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

// Whether the regular file's first bytes are an image's; a file that cannot be read counts as
// one, so that the plan refuses it by name.
bool ImageOrUnreadable(const std::string& path) {
    CFileDescriptor fd(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!fd.Valid())
        return true;
    std::vector<u8> head(kHeadBytes);
    const ssize_t got = ::read(fd.Get(), head.data(), head.size());
    if (got < 0)
        return true;
    return LooksLikeImage(head.data(), static_cast<size_t>(got));
}

class CFolderWalk {
public:
    CFolderWalk(const CSetting& settings, SourceScan& scan)
        : output_(SubFolderNames(settings.OutputSubFolder())), scan_(scan) {}

    // The folder at `path` (the user's form) and below, `below` the names from the named folder.
    void Walk(const std::wstring& path, std::vector<std::wstring>& below) {
        ++scan_.folders;
        for (const std::string& byteName : NamesIn(ToFileSystemPath(path), path)) {
            if (byteName[0] == '.')
                continue;
            std::wstring child = path;
            const std::wstring name = FromFileSystemPath(byteName);
            AppendPath(child, name);
            const std::string childBytes = ToFileSystemPath(child);
            struct stat info {};
            if (::lstat(childBytes.c_str(), &info) != 0) {
                ++scan_.skipped;
                continue;
            }
            const bool link = S_ISLNK(info.st_mode);
            if (link && ::stat(childBytes.c_str(), &info) != 0) {
                ++scan_.skipped; // a link that leads nowhere
                continue;
            }
            if (S_ISDIR(info.st_mode)) {
                below.push_back(name);
                if (!link && !IsOutputFolder(below))
                    Walk(child, below);
                below.pop_back();
            } else if (S_ISREG(info.st_mode) && ImageOrUnreadable(childBytes)) {
                scan_.files.push_back(child);
            } else {
                ++scan_.skipped;
            }
        }
    }

private:
    // The folder's names below the named folder end with the output sub-folder's: it holds the
    // outputs of the folder above them.
    bool IsOutputFolder(const std::vector<std::wstring>& below) const {
        return !output_.empty() && below.size() >= output_.size() &&
               std::equal(output_.begin(), output_.end(), below.end() - output_.size());
    }

    std::vector<std::wstring> output_;
    SourceScan& scan_;
};

} // namespace

SourceScan ExpandFolders(const std::vector<std::wstring>& sources, const CSetting& settings) {
    SourceScan scan;
    CFolderWalk walk(settings, scan);
    for (const std::wstring& source : sources) {
        if (!IsDirectory(source)) {
            scan.files.push_back(source);
            continue;
        }
        std::vector<std::wstring> below;
        walk.Walk(source, below);
    }
    return scan;
}

} // namespace lvx
