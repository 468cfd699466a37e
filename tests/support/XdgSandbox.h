// A private home for one test whose registry store of the process is made anew from there, and
// given up again at the end.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "platform/RegistryFile.h"
#include "support/HomeSandbox.h"

class XdgSandbox : public CHomeSandbox {
public:
    XdgSandbox() { ResetTheRegistryFile(); }
    ~XdgSandbox() { ResetTheRegistryFile(); }

    std::filesystem::path ConfigFolder() const { return Root() / "config" / "Harrowmere"; }
    std::filesystem::path StoreFile() const { return ConfigFolder() / "Lunavex32.reg"; }
    std::wstring StoreFileW() const { return StoreFile().wstring(); }

    // The text of a UTF-16LE file behind its byte order mark.
    static std::wstring ReadUtf16File(const std::filesystem::path& path) {
        std::vector<u8> bytes = testutil::ReadBytes(path);
        if (bytes.size() < 2)
            return {};
        return WideFromUtf16Le(bytes.data() + 2, bytes.size() - 2);
    }
    // The files of the config folder whose names begin with prefix.
    std::vector<std::filesystem::path> FilesStartingWith(const std::string& prefix) const {
        std::vector<std::filesystem::path> found;
        for (const std::string& name : testutil::FileNames(ConfigFolder())) {
            if (name.starts_with(prefix))
                found.push_back(ConfigFolder() / name);
        }
        return found;
    }
};
