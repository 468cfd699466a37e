// Tests of loading and saving the settings: the file that a save leaves, hand-written files with
// wrong types and odd counts, names that are not UTF-8, and a store that cannot be written. What
// several processes, interrupted writes and damaged files do to the store is the registry file's
// (RegistryFileTest).
#include "persist/Settings.h"

#include <string>

#include <gtest/gtest.h>

#include "batch/Setting.h"
#include "foundation/Paths.h"
#include "foundation/Utf8.h"
#include "support/XdgSandbox.h"

namespace {

const std::string kKey = "[HKEY_CURRENT_USER\\Software\\Harrowmere\\Lunavex32\\Setting";

// The store's first lines: its header and the keys above the settings.
const std::wstring kStoreHead = L"Windows Registry Editor Version 5.00\r\n\r\n"
                                L"[HKEY_CURRENT_USER\\Software]\r\n\r\n"
                                L"[HKEY_CURRENT_USER\\Software\\Harrowmere]\r\n\r\n"
                                L"[HKEY_CURRENT_USER\\Software\\Harrowmere\\Lunavex32]\r\n\r\n";

// The section of the settings' sub-key key (empty: the settings' key itself) with its lines.
std::wstring Section(const std::wstring& key, std::initializer_list<std::wstring> lines) {
    std::wstring text =
        L"[HKEY_CURRENT_USER\\Software\\Harrowmere\\Lunavex32\\Setting" + key + L"]\r\n";
    for (const std::wstring& line : lines)
        text += line + L"\r\n";
    return text + L"\r\n";
}

// A complete store in UTF-8, as a user might write it by hand; tests replace lines of it.
std::string ValidFile() {
    std::wstring text =
        L"Windows Registry Editor Version 5.00\r\n\r\n" +
        Section(L"", {L"\"OutputPath\"=\"/srv/out\"", L"\"SaveType\"=dword:00000001",
                      L"\"JpegQuality\"=dword:0000005a"}) +
        Section(L"\\Shrink", {L"\"ShrinkType\"=dword:00000001", L"\"ShrinkWidth\"=dword:ffffffff",
                              L"\"ShrinkHeight\"=dword:00000002", L"\"CustomWidth\"=dword:00000003",
                              L"\"CustomHeight\"=dword:00000004"}) +
        Section(L"\\Round", {L"\"BkColor\"=dword:00010203", L"\"Transparent\"=dword:00000007",
                             L"\"EdgeType\"=dword:00000001", L"\"BlurType\"=dword:00000002"}) +
        Section(L"\\Round\\Edge",
                {L"\"UnitType\"=dword:00000001", L"\"PixelLength\"=dword:00000005",
                 L"\"RateLength\"=dword:00000006"}) +
        Section(L"\\Round\\Blur",
                {L"\"UnitType\"=dword:00000001", L"\"PixelLength\"=dword:00000007",
                 L"\"RateLength\"=dword:00000008"}) +
        Section(L"\\Window", {L"\"FullScreen\"=dword:00000001", L"\"Left\"=dword:0000000a",
                              L"\"Top\"=dword:00000014", L"\"Right\"=dword:0000001e",
                              L"\"Bottom\"=dword:00000028"}) +
        Section(L"\\SubFolder", {L"\"Count\"=dword:00000002"}) +
        Section(L"\\SubFolder\\00", {L"@=\"a\""}) + Section(L"\\SubFolder\\01", {L"@=\"b\""});
    std::erase(text, L'\r');
    return Utf8FromWide(text);
}

std::string Replace(std::string text, const std::string& from, const std::string& to) {
    std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    if (at != std::string::npos)
        text.replace(at, from.size(), to);
    return text;
}

std::vector<std::wstring> Entries(const CHistoryList& list) {
    return {list.begin(), list.end()};
}

class SettingsTest : public ::testing::Test {
protected:
    // Loads the given file text into a settings object with its defaults.
    bool LoadFrom(const std::string& text, CSetting& settings) {
        testutil::WriteText(sandbox_.StoreFile(), text);
        ResetTheRegistryFile();
        return LoadSetting(settings, CRegKey::CurrentUser());
    }

    // The settings that the file text gives over the defaults; complete is the load's answer.
    CSetting Loaded(const std::string& text, bool complete = true) {
        CSetting settings;
        EXPECT_EQ(LoadFrom(text, settings), complete);
        return settings;
    }

    XdgSandbox sandbox_;
};

} // namespace

TEST_F(SettingsTest, AFirstRunCreatesTheApplicationKeyAndKeepsTheDefaults) {
    CSetting settings;
    const CSetting defaults;
    EXPECT_FALSE(LoadSetting(settings, CRegKey::CurrentUser()));
    EXPECT_EQ(settings, defaults);
    EXPECT_EQ(XdgSandbox::ReadUtf16File(sandbox_.StoreFile()), kStoreHead);

    // The process's own object and store.
    EXPECT_FALSE(LoadSetting());
    EXPECT_TRUE(SaveSetting());
    EXPECT_TRUE(LoadSetting());
}

TEST_F(SettingsTest, ASaveWritesEveryValueWithItsType) {
    CSetting settings;
    settings.outputPath = L"/home/u/Pictures";
    int writes = 0;
    TheRegistryFile()->SetBeforeReplaceHook([&writes] {
        ++writes;
        return true;
    });
    ASSERT_TRUE(SaveSetting(settings, CRegKey::CurrentUser()));
    EXPECT_EQ(writes, 2) << "the application's key, then the whole record in one write";
    EXPECT_EQ(
        XdgSandbox::ReadUtf16File(sandbox_.StoreFile()),
        kStoreHead +
            Section(L"", {L"\"OutputPath\"=\"/home/u/Pictures\"", L"\"SaveType\"=dword:00000002",
                          L"\"JpegQuality\"=dword:00000050", L"\"MaxPixels\"=dword:0fff8001",
                          L"\"MaxMemory\"=dword:000003e8", L"\"KeepOrientation\"=dword:00000000",
                          L"\"Metadata\"=dword:00000000", L"\"KeepDates\"=dword:00000000"}) +
            Section(L"\\Round", {L"\"BkColor\"=dword:00ffffff", L"\"Transparent\"=dword:00000000",
                                 L"\"EdgeType\"=dword:0000000f", L"\"BlurType\"=dword:0000000f"}) +
            Section(L"\\Round\\Blur",
                    {L"\"UnitType\"=dword:00000000", L"\"PixelLength\"=dword:0000000a",
                     L"\"RateLength\"=dword:0000000a"}) +
            Section(L"\\Round\\Edge",
                    {L"\"UnitType\"=dword:00000000", L"\"PixelLength\"=dword:00000064",
                     L"\"RateLength\"=dword:00000032"}) +
            Section(L"\\Shrink",
                    {L"\"ShrinkType\"=dword:00000000", L"\"ShrinkWidth\"=dword:00000000",
                     L"\"ShrinkHeight\"=dword:00000000", L"\"CustomWidth\"=dword:000000c8",
                     L"\"CustomHeight\"=dword:000003e8"}) +
            Section(L"\\SubFolder", {L"\"Count\"=dword:00000001"}) +
            Section(L"\\SubFolder\\00", {L"@=\"round\""}) +
            Section(L"\\Window", {L"\"FullScreen\"=dword:00000000", L"\"Left\"=dword:00000000",
                                  L"\"Top\"=dword:00000000", L"\"Right\"=dword:00000000",
                                  L"\"Bottom\"=dword:00000000"}));
}

TEST_F(SettingsTest, FolderNamesThatAreNotUtf8KeepTheirBytes) {
    // The last output folder and a sub-folder name from an old archive: Latin-1 and Shift_JIS.
    CSetting saved;
    saved.outputPath = FromFileSystemPath("/srv/Bilder-\xC4/");
    saved.subFolders.Add(FromFileSystemPath("\x8E\xCA\x90^"));
    ASSERT_TRUE(SaveSetting(saved, CRegKey::CurrentUser()));
    ResetTheRegistryFile();
    CSetting loaded;
    EXPECT_TRUE(LoadSetting(loaded, CRegKey::CurrentUser()));
    EXPECT_EQ(ToFileSystemPath(loaded.outputPath), "/srv/Bilder-\xC4/");
    EXPECT_EQ(ToFileSystemPath(loaded.subFolders.front()), "\x8E\xCA\x90^");
}

TEST_F(SettingsTest, AHandWrittenFileLoadsValueByValue) {
    const CSetting settings = Loaded(ValidFile());
    EXPECT_EQ(settings.outputPath, L"/srv/out");
    EXPECT_EQ(settings.saveType, 1u);
    EXPECT_EQ(settings.jpegQuality, 90u);
    EXPECT_EQ(settings.shrink, (ShrinkSettings{1, -1, 2, 3, 4}));
    EXPECT_EQ(settings.round.backgroundColor, 0x00010203u);
    EXPECT_TRUE(settings.round.transparent);
    EXPECT_EQ(settings.round.corners, 1u);
    EXPECT_EQ(settings.round.edges, 2u);
    EXPECT_EQ(settings.round.radius, (LengthValue{1, 5, 6}));
    EXPECT_EQ(settings.round.blurWidth, (LengthValue{1, 7, 8}));
    EXPECT_EQ(settings.window, (WindowSetting{true, {10, 20, 30, 40}}));
    EXPECT_EQ(Entries(settings.subFolders), (std::vector<std::wstring>{L"a", L"b"}));

    // Wrong types: a REG_SZ number, a REG_QWORD number, REG_BINARY text. Each keeps its default.
    std::string file = Replace(ValidFile(), "\"SaveType\"=dword:00000001", "\"SaveType\"=\"1\"");
    file = Replace(file, "\"JpegQuality\"=dword:0000005a",
                   "\"JpegQuality\"=hex(b):5a,00,00,00,00,00,00,00");
    file = Replace(file, "\"CustomWidth\"=dword:00000003", "\"CustomWidth\"=hex:03,00,00,00");
    file = Replace(file, "\"OutputPath\"=\"/srv/out\"", "\"OutputPath\"=hex:2f,00,00,00");
    const CSetting defaults;
    const CSetting typed = Loaded(file, false);
    EXPECT_EQ(typed.outputPath, defaults.outputPath);
    EXPECT_EQ(typed.saveType, 2u);
    EXPECT_EQ(typed.jpegQuality, 80u);
    EXPECT_EQ(typed.shrink, (ShrinkSettings{1, -1, 2, 200, 4}));
    EXPECT_EQ(typed.round.radius, (LengthValue{1, 5, 6}));
    EXPECT_EQ(Entries(typed.subFolders), (std::vector<std::wstring>{L"a", L"b"}));

    // REG_EXPAND_SZ is taken as it stands: "$HOME/x".
    file = Replace(ValidFile(), "\"OutputPath\"=\"/srv/out\"",
                   "\"OutputPath\"=hex(2):24,00,48,00,4f,00,4d,00,45,00,2f,00,78,00,00,00");
    EXPECT_EQ(Loaded(file).outputPath, L"$HOME/x");

    // A stored BMP comes back as PNG.
    CSetting bmp = Loaded(
        Replace(ValidFile(), "dword:00000001\n\"JpegQuality\"", "dword:00000000\n\"JpegQuality\""));
    EXPECT_EQ(bmp.saveType, 1u);

    // A missing key counts; the window's values do not.
    const CSetting noShrink =
        Loaded(Replace(ValidFile(), kKey + "\\Shrink]", kKey + "\\Shrunk]"), false);
    EXPECT_EQ(noShrink.shrink, ShrinkSettings{});
    EXPECT_EQ(noShrink.jpegQuality, 90u);
    CSetting partialWindow;
    partialWindow.window.rect = {1, 2, 3, 4};
    EXPECT_TRUE(LoadFrom(Replace(ValidFile(), "\"Bottom\"=dword:00000028\n", ""), partialWindow));
    EXPECT_EQ(partialWindow.window, (WindowSetting{true, {1, 2, 3, 4}}));
    EXPECT_FALSE(
        Loaded(Replace(ValidFile(), "\"FullScreen\"=dword:00000001", "\"FullScreen\"=\"1\""))
            .window.fullScreen);
}

TEST_F(SettingsTest, ThePhotoChoicesAreReadOnlyWithinTheirValues) {
    // Absent (a store of an earlier version) or out of range: the defaults, upright, no metadata,
    // new dates; the store still loads as complete.
    const auto with = [](const char* values) {
        return Replace(ValidFile(), "\"JpegQuality\"=dword:0000005a\n",
                       std::string("\"JpegQuality\"=dword:0000005a\n") + values);
    };
    const CSetting chosen =
        Loaded(with("\"KeepOrientation\"=dword:00000001\n"
                    "\"Metadata\"=dword:00000001\n\"KeepDates\"=dword:00000001\n"));
    EXPECT_TRUE(chosen.keepStoredOrientation);
    EXPECT_EQ(chosen.metadata, metadatakept::kWithoutLocation);
    EXPECT_TRUE(chosen.keepDates);
    EXPECT_EQ(Loaded(with("\"Metadata\"=dword:00000002\n")).metadata, metadatakept::kAll);
    for (const CSetting& loaded :
         {Loaded(ValidFile()),
          Loaded(with("\"KeepOrientation\"=dword:00000002\n"
                      "\"Metadata\"=dword:00000003\n\"KeepDates\"=\"1\"\n"))}) {
        EXPECT_FALSE(loaded.keepStoredOrientation);
        EXPECT_EQ(loaded.metadata, metadatakept::kNone);
        EXPECT_FALSE(loaded.keepDates);
    }
}

TEST_F(SettingsTest, QualityAndPixelLimitAreReadWithinTheirRange) {
    // Above the encoder's best quality: read as the best.
    for (const char* stored : {"\"JpegQuality\"=dword:00000096", "\"JpegQuality\"=dword:00000064"})
        EXPECT_EQ(
            Loaded(Replace(ValidFile(), "\"JpegQuality\"=dword:0000005a", stored)).jpegQuality,
            100u)
            << stored;

    // The pixel and memory limits: read when stored; missing, 0 or of another type, the default
    // stays, and a store of an earlier version (without them) still loads as complete.
    const CSetting defaults;
    const std::string withLimit = Replace(ValidFile(), "\"JpegQuality\"=dword:0000005a\n",
                                          "\"JpegQuality\"=dword:0000005a\n\"MaxPixels\"=dword:"
                                          "000f4240\n\"MaxMemory\"=dword:00000190\n");
    EXPECT_EQ(Loaded(withLimit).maxPixels, 1000000u);
    EXPECT_EQ(Loaded(withLimit).maxMemoryMb, 400u);
    EXPECT_EQ(Loaded(Replace(withLimit, "=dword:00000190", "=dword:00000000")).maxMemoryMb,
              defaults.maxMemoryMb);
    EXPECT_EQ(Loaded(ValidFile()).maxPixels, defaults.maxPixels);
    for (const char* other : {"\"MaxPixels\"=dword:00000000", "\"MaxPixels\"=\"5\""})
        EXPECT_EQ(Loaded(Replace(withLimit, "\"MaxPixels\"=dword:000f4240", other)).maxPixels,
                  defaults.maxPixels)
            << other;
}

TEST_F(SettingsTest, CountDecidesTheLengthOfTheList) {
    // Count missing, 0 or of another type: the list is empty (no "round" either), no failure.
    for (const char* count : {"", "\"Count\"=dword:00000000\n", "\"Count\"=\"2\"\n"})
        EXPECT_TRUE(
            Loaded(Replace(ValidFile(), "\"Count\"=dword:00000002\n", count)).subFolders.empty())
            << count;

    // More than stored: empty names fill up, and the result is false.
    EXPECT_EQ(
        Entries(Loaded(Replace(ValidFile(), "\"Count\"=dword:00000002", "\"Count\"=dword:00000004"),
                       false)
                    .subFolders),
        (std::vector<std::wstring>{L"a", L"b", L"", L""}));

    // An entry of the wrong type stays as it was (here: a new empty entry).
    EXPECT_EQ(
        Entries(Loaded(Replace(ValidFile(), "@=\"b\"", "@=dword:00000001"), false).subFolders),
        (std::vector<std::wstring>{L"a", L""}));

    // 17 stored names with a Count of 17 load as they stand: the limit is Add's rule.
    std::string file = Replace(ValidFile(), "\"Count\"=dword:00000002", "\"Count\"=dword:00000011");
    std::vector<std::wstring> expected;
    for (int i = 0; i < 17; ++i) {
        char name[8];
        std::snprintf(name, sizeof name, "%02d", i);
        if (i >= 2)
            file += "\n" + kKey + "\\SubFolder\\" + name + "]\n@=\"n" + name + "\"\n";
        expected.push_back(i == 0 ? L"a" : i == 1 ? L"b" : L"n" + std::wstring(name, name + 2));
    }
    const CSetting seventeen = Loaded(file);
    EXPECT_EQ(Entries(seventeen.subFolders), expected);
    EXPECT_EQ(seventeen.subFolders.limit(), 16u);
}

TEST_F(SettingsTest, TheListKeysHaveTwoDigitsAndLongerListsLeaveTheirKeys) {
    CSetting settings;
    for (int i = 0; i < 17; ++i)
        settings.subFolders.Add(L"s" + std::to_wstring(i));
    ASSERT_EQ(settings.subFolders.size(), 16u);
    ASSERT_TRUE(SaveSetting(settings, CRegKey::CurrentUser()));
    std::wstring file = XdgSandbox::ReadUtf16File(sandbox_.StoreFile());
    EXPECT_NE(file.find(L"\"Count\"=dword:00000010\r\n"), std::wstring::npos);
    EXPECT_NE(file.find(L"\\SubFolder\\09]\r\n@=\"s7\"\r\n"), std::wstring::npos);
    EXPECT_NE(file.find(L"\\SubFolder\\15]\r\n@=\"s1\"\r\n"), std::wstring::npos);
    EXPECT_EQ(file.find(L"\\SubFolder\\16]"), std::wstring::npos);

    settings.subFolders.Resize(1);
    ASSERT_TRUE(SaveSetting(settings, CRegKey::CurrentUser()));
    file = XdgSandbox::ReadUtf16File(sandbox_.StoreFile());
    EXPECT_NE(file.find(L"\"Count\"=dword:00000001\r\n"), std::wstring::npos);
    EXPECT_NE(file.find(L"\\SubFolder\\15]\r\n@=\"s1\"\r\n"), std::wstring::npos);
    ResetTheRegistryFile();
    CSetting loaded;
    EXPECT_TRUE(LoadSetting(loaded, CRegKey::CurrentUser()));
    EXPECT_EQ(Entries(loaded.subFolders), (std::vector<std::wstring>{L"s16"}));
}

TEST_F(SettingsTest, AStoreThatCannotBeWrittenFailsBothWays) {
    testutil::WriteText(sandbox_.Root() / "plain-file", "x");
    ::setenv("XDG_CONFIG_HOME", (sandbox_.Root() / "plain-file" / "config").c_str(), 1);
    ResetTheRegistryFile();
    CSetting settings;
    settings.jpegQuality = 1;
    CSetting before = settings;
    EXPECT_FALSE(LoadSetting(settings, CRegKey::CurrentUser()));
    EXPECT_EQ(settings, before);
    EXPECT_FALSE(SaveSetting(settings, CRegKey::CurrentUser()));
}
