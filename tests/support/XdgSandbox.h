// A private home for one test: HOME and the XDG folders point into a fresh temporary folder, and
// the registry store of the process is made anew from there.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include <unistd.h>

#include "foundation/Types.h"
#include "platform/RegistryFile.h"

class XdgSandbox {
public:
    XdgSandbox() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "lvx-persist-XXXXXX").string();
        root_ = ::mkdtemp(pattern.data());
        std::filesystem::create_directories(Home());
        Keep("HOME", Home());
        Keep("XDG_CONFIG_HOME", root_ / "config");
        Keep("XDG_STATE_HOME", root_ / "state");
        ResetTheRegistryFile();
    }
    XdgSandbox(const XdgSandbox&) = delete;
    XdgSandbox& operator=(const XdgSandbox&) = delete;
    ~XdgSandbox() {
        ResetTheRegistryFile();
        for (auto& [name, value] : saved_) {
            if (value)
                ::setenv(name.c_str(), value->c_str(), 1);
            else
                ::unsetenv(name.c_str());
        }
        std::error_code error;
        std::filesystem::permissions(ConfigFolder(), std::filesystem::perms::owner_all,
                                     std::filesystem::perm_options::add, error);
        std::filesystem::remove_all(root_, error);
    }

    std::filesystem::path Root() const { return root_; }
    std::filesystem::path Home() const { return root_ / "home"; }
    std::filesystem::path ConfigFolder() const { return root_ / "config" / "Harrowmere"; }
    std::filesystem::path StoreFile() const { return ConfigFolder() / "Lunavex32.reg"; }
    std::wstring StoreFileW() const { return StoreFile().wstring(); }

    static std::vector<u8> ReadBytes(const std::filesystem::path& path) {
        std::ifstream in(path, std::ios::binary);
        return std::vector<u8>(std::istreambuf_iterator<char>(in),
                               std::istreambuf_iterator<char>());
    }
    static void WriteBytes(const std::filesystem::path& path, const std::string& bytes) {
        std::filesystem::create_directories(path.parent_path());
        std::ofstream out(path, std::ios::binary | std::ios::trunc);
        out << bytes;
    }
    // The text of a UTF-16LE file behind its byte order mark.
    static std::wstring ReadUtf16File(const std::filesystem::path& path) {
        std::vector<u8> bytes = ReadBytes(path);
        if (bytes.size() < 2)
            return {};
        return WideFromUtf16Le(bytes.data() + 2, bytes.size() - 2);
    }
    // The files of the config folder whose names begin with prefix.
    std::vector<std::filesystem::path> FilesStartingWith(const std::string& prefix) const {
        std::vector<std::filesystem::path> found;
        std::error_code error;
        for (const auto& entry : std::filesystem::directory_iterator(ConfigFolder(), error)) {
            if (entry.path().filename().string().starts_with(prefix))
                found.push_back(entry.path());
        }
        return found;
    }

private:
    void Keep(const std::string& name, const std::filesystem::path& value) {
        const char* old = std::getenv(name.c_str());
        saved_.emplace_back(name, old ? std::optional<std::string>(old) : std::nullopt);
        ::setenv(name.c_str(), value.c_str(), 1);
    }

    std::filesystem::path root_;
    std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};
