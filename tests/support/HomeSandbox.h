// A private home for one test: HOME and the XDG folders point into a fresh temporary folder and
// are given back at the end.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "support/Files.h"

class CHomeSandbox {
public:
    CHomeSandbox() {
        std::filesystem::create_directories(Home());
        Keep("HOME", Home());
        Keep("XDG_CONFIG_HOME", Root() / "config");
        Keep("XDG_STATE_HOME", Root() / "state");
    }
    CHomeSandbox(const CHomeSandbox&) = delete;
    CHomeSandbox& operator=(const CHomeSandbox&) = delete;
    ~CHomeSandbox() {
        for (auto& [name, value] : saved_) {
            if (value)
                ::setenv(name.c_str(), value->c_str(), 1);
            else
                ::unsetenv(name.c_str());
        }
    }

    const std::filesystem::path& Root() const { return root_.Path(); }
    std::filesystem::path Home() const { return Root() / "home"; }

private:
    void Keep(const std::string& name, const std::filesystem::path& value) {
        const char* old = std::getenv(name.c_str());
        saved_.emplace_back(name, old ? std::optional<std::string>(old) : std::nullopt);
        ::setenv(name.c_str(), value.c_str(), 1);
    }

    testutil::CTempDir root_;
    std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};
