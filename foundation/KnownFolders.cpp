// Known folders from the XDG environment, read anew at each call so that tests can move them.
#include "foundation/KnownFolders.h"

#include <cstdlib>
#include <fstream>
#include <string>

#include "foundation/Paths.h"

namespace {

std::string Env(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

// $VAR if it is an absolute path, else $HOME/fallback; empty without either.
std::string XdgBase(const char* var, const char* fallback) {
    std::string value = Env(var);
    if (!value.empty() && value[0] == '/')
        return value;
    std::string home = Env("HOME");
    return home.empty() ? std::string() : home + "/" + fallback;
}

// Reads XDG_PICTURES_DIR="$HOME/..." from user-dirs.dirs; empty when absent.
std::string PicturesFromUserDirs(const std::string& configHome, const std::string& home) {
    std::ifstream in(configHome + "/user-dirs.dirs");
    std::string line;
    const std::string key = "XDG_PICTURES_DIR=";
    while (std::getline(in, line)) {
        if (line.compare(0, key.size(), key) != 0)
            continue;
        std::string value = line.substr(key.size());
        if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
            value = value.substr(1, value.size() - 2);
        if (value.compare(0, 5, "$HOME") == 0)
            value = home + value.substr(5);
        if (!value.empty() && value[0] == '/')
            return value;
    }
    return {};
}

} // namespace

std::wstring AppDataFolder() {
    std::string base = XdgBase("XDG_STATE_HOME", ".local/state");
    return base.empty() ? std::wstring() : FromFileSystemPath(base + "/Harrowmere/Lunavex32");
}

std::wstring PicturesFolder() {
    std::string home = Env("HOME");
    std::string configHome = XdgBase("XDG_CONFIG_HOME", ".config");
    std::string dir = configHome.empty() ? std::string() : PicturesFromUserDirs(configHome, home);
    if (dir.empty() && !home.empty())
        dir = home + "/Pictures";
    return FromFileSystemPath(dir);
}

std::wstring SettingsFilePath() {
    std::string base = XdgBase("XDG_CONFIG_HOME", ".config");
    return base.empty() ? std::wstring() : FromFileSystemPath(base + "/Harrowmere/Lunavex32.reg");
}
