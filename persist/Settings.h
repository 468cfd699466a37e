// Loading and saving the settings object: the key Software\Harrowmere\Lunavex32\Setting below
// HKEY_CURRENT_USER and its sub-keys Shrink, Round (with Edge and Blur), Window and SubFolder.
// The main thread only, as TheSetting() (batch/Setting.h) and the store.
#pragma once

#include "platform/Registry.h"

class CSetting;

// Reads every stored value into settings, value by value: what is missing or of another type
// keeps what the field holds, and makes the result false. The values of "Window" and "Count",
// "MaxPixels" and "MaxMemory" do not count. Creates the application key when it is missing. A
// stored saveType of savetype::kBmp comes back as savetype::kPng, a JpegQuality above 100 as 100,
// a MaxPixels or MaxMemory (MiB) of 0 keeps the field. Nothing throws but an allocation failure.
bool LoadSetting(CSetting& settings, const CRegKey& root);
// Writes every field, creating the keys; false when making a key or a write failed (again apart
// from "Window" and "Count"). All values go to the store's file in one write.
bool SaveSetting(const CSetting& settings, const CRegKey& root);

// The same for TheSetting() and the store of this process (HKEY_CURRENT_USER).
bool LoadSetting();
bool SaveSetting();
