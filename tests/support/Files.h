// Files and folders for the tests: a temporary folder removed with everything in it, whole files
// read and written as bytes, the names in a folder, and a file-system path as a wide string.
#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "foundation/Paths.h"
#include "foundation/Types.h"

namespace testutil {

// A fresh folder below the system's temporary folder, removed at the end with everything in it,
// whatever rights a test left on what lies inside.
class CTempDir {
public:
    CTempDir() {
        std::string pattern = (std::filesystem::temp_directory_path() / "lvx-test-XXXXXX").string();
        if (::mkdtemp(pattern.data()))
            path_ = pattern;
    }
    ~CTempDir() {
        std::error_code ignored;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(path_, ignored))
            std::filesystem::permissions(entry.path(), std::filesystem::perms::owner_all,
                                         std::filesystem::perm_options::add, ignored);
        std::filesystem::remove_all(path_, ignored);
    }
    CTempDir(const CTempDir&) = delete;
    CTempDir& operator=(const CTempDir&) = delete;

    const std::filesystem::path& Path() const { return path_; }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }
    std::string File(const std::string& name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

// The path as the program's functions take it: its bytes, as FromFileSystemPath reads them.
inline std::wstring W(const std::filesystem::path& path) {
    return FromFileSystemPath(path.string());
}

inline std::string ReadText(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline std::vector<u8> ReadBytes(const std::filesystem::path& path) {
    const std::string text = ReadText(path);
    return std::vector<u8>(text.begin(), text.end());
}

// Writes the whole file anew, making its folder first.
inline void WriteText(const std::filesystem::path& path, const std::string& text) {
    std::error_code ignored;
    std::filesystem::create_directories(path.parent_path(), ignored);
    std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

inline void WriteBytes(const std::filesystem::path& path, const std::vector<u8>& bytes) {
    WriteText(path, std::string(bytes.begin(), bytes.end()));
}

// prefix, the number and suffix as one name ("f" 3 ".png" is "f3.png"). Built by appending, which
// unlike "f" + std::to_string(n) gives GCC's -Wrestrict no false alarm at -O3.
inline std::string Numbered(const std::string& prefix, long long number,
                            const std::string& suffix) {
    std::string name = prefix;
    name += std::to_string(number);
    name += suffix;
    return name;
}

inline u64 InodeOf(const std::filesystem::path& path) {
    struct stat info {};
    return ::lstat(path.c_str(), &info) == 0 ? static_cast<u64>(info.st_ino) : 0;
}

// Writes text at folder/name and renames the file to the form of a temporary file that an atomic
// write left: ".lvx-<16 hex digits>-<its inode>.tmp". Returns the new name.
inline std::string Leftover(const std::filesystem::path& folder, const std::string& name,
                            const std::string& text = "left") {
    WriteText(folder / name, text);
    const std::string leftover =
        Numbered(".lvx-0123456789abcdef-", static_cast<long long>(InodeOf(folder / name)), ".tmp");
    std::filesystem::rename(folder / name, folder / leftover);
    return leftover;
}

// The names of the entries of a folder, sorted.
inline std::vector<std::string> FileNames(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(folder, ignored))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace testutil
