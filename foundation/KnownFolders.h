// The per-user folders of the freedesktop layout that the program uses.
// Any thread: each call reads the environment and the files afresh.
#pragma once

#include <string>

// $XDG_STATE_HOME/Harrowmere/Lunavex32 (default ~/.local/state/...): the log lies directly in it.
std::wstring AppDataFolder();
// The user's pictures folder by the xdg-user-dirs rules ($XDG_CONFIG_HOME/user-dirs.dirs,
// XDG_PICTURES_DIR, default ~/Pictures); empty when there is no home folder.
std::wstring PicturesFolder();
// $XDG_CONFIG_HOME/Harrowmere/Lunavex32.reg (default ~/.config/...): the settings store.
std::wstring SettingsFilePath();
