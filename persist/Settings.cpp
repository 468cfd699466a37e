// The settings object in the registry: the key layout, the value names and their types.
#include "persist/Settings.h"

#include <cwchar>
#include <string>

#include "batch/Setting.h"
#include "image/SaveType.h"
#include "persist/RegValue.h"
#include "resources/StringIds.h"

namespace {

// A "Count" beyond this is taken as this many entries, so that a damaged value cannot make the
// start-up build a list of billions of empty names.
constexpr u32 kMostListEntries = 0xFFFF;

// The key of a list entry: "%s\%02d" of the list's key and the entry's index.
std::wstring EntryKeyName(const std::wstring& list, std::size_t index) {
    wchar_t number[24];
    std::swprintf(number, 24, L"%02zu", index);
    return list + L"\\" + number;
}

bool LoadLength(const CRegKey& parent, const wchar_t* name, LengthValue& length) {
    CRegKey key;
    if (key.Open(parent, name, reg::kKeyRead) != 0)
        return false;
    bool ok = ReadDwordValue(key, L"UnitType", length.unit);
    ok &= ReadDwordValue(key, L"PixelLength", length.tenths);
    ok &= ReadDwordValue(key, L"RateLength", length.thousandths);
    return ok;
}

bool LoadShrink(const CRegKey& setting, ShrinkSettings& shrink) {
    CRegKey key;
    if (key.Open(setting, L"Shrink", reg::kKeyRead) != 0)
        return false;
    bool ok = ReadDwordValue(key, L"ShrinkType", shrink.shrinkType);
    ok &= ReadDwordValue(key, L"ShrinkWidth", shrink.shrinkWidth);
    ok &= ReadDwordValue(key, L"ShrinkHeight", shrink.shrinkHeight);
    ok &= ReadDwordValue(key, L"CustomWidth", shrink.customWidth);
    ok &= ReadDwordValue(key, L"CustomHeight", shrink.customHeight);
    return ok;
}

bool LoadRound(const CRegKey& setting, RoundSettings& round) {
    CRegKey key;
    if (key.Open(setting, L"Round", reg::kKeyRead) != 0)
        return false;
    bool ok = ReadDwordValue(key, L"BkColor", round.backgroundColor);
    ok &= ReadBoolValue(key, L"Transparent", round.transparent);
    ok &= ReadDwordValue(key, L"EdgeType", round.corners);
    ok &= ReadDwordValue(key, L"BlurType", round.edges);
    ok &= LoadLength(key, L"Edge", round.radius);
    ok &= LoadLength(key, L"Blur", round.blurWidth);
    return ok;
}

// The values of the window record do not count towards the result; the key does.
bool LoadWindow(const CRegKey& setting, WindowSetting& window) {
    CRegKey key;
    if (key.Open(setting, L"Window", reg::kKeyRead) != 0)
        return false;
    ReadBoolValue(key, L"FullScreen", window.fullScreen);
    ReadWindowRect(key, L"", window.rect);
    return true;
}

// "Count" decides the length of the list, whatever it holds; an entry that cannot be read keeps
// its text and makes the result false.
bool LoadHistory(const CRegKey& setting, const wchar_t* name, CHistoryList& list) {
    CRegKey key;
    if (key.Open(setting, name, reg::kKeyRead) != 0)
        return false;
    u32 count = 0;
    ReadDwordValue(key, L"Count", count);
    list.Resize(count < kMostListEntries ? count : kMostListEntries);
    bool ok = true;
    std::size_t index = 0;
    for (std::wstring& entry : list) {
        CRegKey entryKey;
        bool read = entryKey.Open(setting, EntryKeyName(name, index++), reg::kKeyRead) == 0 &&
                    ReadStringValue(entryKey, nullptr, entry);
        ok &= read;
    }
    return ok;
}

bool SaveLength(const CRegKey& parent, const wchar_t* name, const LengthValue& length) {
    CRegKey key;
    if (key.Create(parent, name, reg::kKeyReadWrite) != 0)
        return false;
    bool ok = WriteDwordValue(key, L"UnitType", length.unit) == 0;
    ok &= WriteDwordValue(key, L"PixelLength", static_cast<u32>(length.tenths)) == 0;
    ok &= WriteDwordValue(key, L"RateLength", static_cast<u32>(length.thousandths)) == 0;
    return ok;
}

bool SaveShrink(const CRegKey& setting, const ShrinkSettings& shrink) {
    CRegKey key;
    if (key.Create(setting, L"Shrink", reg::kKeyReadWrite) != 0)
        return false;
    bool ok = WriteDwordValue(key, L"ShrinkType", shrink.shrinkType) == 0;
    ok &= WriteDwordValue(key, L"ShrinkWidth", static_cast<u32>(shrink.shrinkWidth)) == 0;
    ok &= WriteDwordValue(key, L"ShrinkHeight", static_cast<u32>(shrink.shrinkHeight)) == 0;
    ok &= WriteDwordValue(key, L"CustomWidth", static_cast<u32>(shrink.customWidth)) == 0;
    ok &= WriteDwordValue(key, L"CustomHeight", static_cast<u32>(shrink.customHeight)) == 0;
    return ok;
}

bool SaveRound(const CRegKey& setting, const RoundSettings& round) {
    CRegKey key;
    if (key.Create(setting, L"Round", reg::kKeyReadWrite) != 0)
        return false;
    bool ok = WriteDwordValue(key, L"BkColor", round.backgroundColor) == 0;
    ok &= WriteDwordValue(key, L"Transparent", round.transparent ? 1 : 0) == 0;
    ok &= WriteDwordValue(key, L"EdgeType", round.corners) == 0;
    ok &= WriteDwordValue(key, L"BlurType", round.edges) == 0;
    ok &= SaveLength(key, L"Edge", round.radius);
    ok &= SaveLength(key, L"Blur", round.blurWidth);
    return ok;
}

bool SaveWindow(const CRegKey& setting, const WindowSetting& window) {
    CRegKey key;
    if (key.Create(setting, L"Window", reg::kKeyReadWrite) != 0)
        return false;
    WriteDwordValue(key, L"FullScreen", window.fullScreen ? 1 : 0);
    WriteWindowRect(key, L"", window.rect);
    return true;
}

// Entries that a longer list left behind stay in the store: "Count" decides what is read.
bool SaveHistory(const CRegKey& setting, const wchar_t* name, const CHistoryList& list) {
    CRegKey key;
    if (key.Create(setting, name, reg::kKeyReadWrite) != 0)
        return false;
    WriteDwordValue(key, L"Count", static_cast<u32>(list.size()));
    bool ok = true;
    std::size_t index = 0;
    for (const std::wstring& entry : list) {
        CRegKey entryKey;
        bool written =
            entryKey.Create(setting, EntryKeyName(name, index++), reg::kKeyReadWrite) == 0 &&
            WriteStringValue(entryKey, nullptr, entry) == 0;
        ok &= written;
    }
    return ok;
}

} // namespace

bool LoadSetting(CSetting& settings, const CRegKey& root) {
    CAppRegKey app;
    if (app.Open(root, strid::kMakerName, strid::kProductName) != 0)
        return false;
    CRegKey setting;
    if (setting.Open(app.Root(), app.OpenSection(L"Setting"), reg::kKeyRead) != 0)
        return false;
    bool ok = ReadStringValue(setting, L"OutputPath", settings.outputPath);
    ok &= ReadDwordValue(setting, L"SaveType", settings.saveType);
    ok &= ReadDwordValue(setting, L"JpegQuality", settings.jpegQuality);
    ok &= LoadShrink(setting, settings.shrink);
    ok &= LoadRound(setting, settings.round);
    ok &= LoadWindow(setting, settings.window);
    ok &= LoadHistory(setting, L"SubFolder", settings.subFolders);
    if (settings.saveType == savetype::kBmp)
        settings.saveType = savetype::kPng;
    if (settings.jpegQuality > kBestJpegQuality)
        settings.jpegQuality = kBestJpegQuality;
    // Stores written before the pixel limit existed lack it, so it does not count; a limit of 0
    // would refuse every file and keeps what the field holds.
    u32 maxPixels = 0;
    if (ReadDwordValue(setting, L"MaxPixels", maxPixels) && maxPixels != 0)
        settings.maxPixels = maxPixels;
    // The same for the memory limit, in MiB.
    u32 maxMemoryMb = 0;
    if (ReadDwordValue(setting, L"MaxMemory", maxMemoryMb) && maxMemoryMb != 0)
        settings.maxMemoryMb = maxMemoryMb;
    // Stores from before the choices of orientation, metadata and dates lack them; only the
    // values that they define are taken.
    u32 keepOrientation = 0;
    if (ReadDwordValue(setting, L"KeepOrientation", keepOrientation) && keepOrientation <= 1)
        settings.keepStoredOrientation = keepOrientation == 1;
    u32 metadata = 0;
    if (ReadDwordValue(setting, L"Metadata", metadata) && metadata <= metadatakept::kAll)
        settings.metadata = metadata;
    u32 keepDates = 0;
    if (ReadDwordValue(setting, L"KeepDates", keepDates) && keepDates <= 1)
        settings.keepDates = keepDates == 1;
    return ok;
}

bool SaveSetting(const CSetting& settings, const CRegKey& root) {
    CAppRegKey app;
    if (app.Open(root, strid::kMakerName, strid::kProductName) != 0)
        return false;
    // One write of the store for the whole record.
    CRegWriteBatch batch(app.Root());
    CRegKey setting;
    if (setting.Create(app.Root(), app.OpenSection(L"Setting"), reg::kKeyReadWrite) != 0)
        return false;
    bool ok = WriteStringValue(setting, L"OutputPath", settings.outputPath) == 0;
    ok &= WriteDwordValue(setting, L"SaveType", settings.saveType) == 0;
    ok &= WriteDwordValue(setting, L"JpegQuality", settings.jpegQuality) == 0;
    ok &= SaveShrink(setting, settings.shrink);
    ok &= SaveRound(setting, settings.round);
    ok &= SaveWindow(setting, settings.window);
    ok &= SaveHistory(setting, L"SubFolder", settings.subFolders);
    ok &= WriteDwordValue(setting, L"MaxPixels", settings.maxPixels) == 0;
    ok &= WriteDwordValue(setting, L"MaxMemory", settings.maxMemoryMb) == 0;
    ok &= WriteDwordValue(setting, L"KeepOrientation", settings.keepStoredOrientation ? 1 : 0) == 0;
    ok &= WriteDwordValue(setting, L"Metadata", settings.metadata) == 0;
    ok &= WriteDwordValue(setting, L"KeepDates", settings.keepDates ? 1 : 0) == 0;
    ok &= batch.Commit() == 0;
    return ok;
}

bool LoadSetting() {
    return LoadSetting(TheSetting(), CRegKey::CurrentUser());
}

bool SaveSetting() {
    return SaveSetting(TheSetting(), CRegKey::CurrentUser());
}
