// Tests of the lunavex-batch program as a whole: what it says about a damaged settings file, and
// that a settings file that once exhausted memory is read at once under a memory limit.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "foundation/ResString.h"
#include "foundation/Utf8.h"
#include "resources/StringIds.h"
#include "support/AddressSpaceLimit.h"
#include "support/Files.h"
#include "support/LanguageGuard.h"
#include "support/PixelTestUtil.h"
#include "support/ShellCommand.h"

using namespace testutil;

namespace {

// Runs lunavex-batch with a shell prefix (such as a ulimit) and the given arguments, English
// texts, the store below config; standard error only goes to errors.
int RunBatchExe(const std::filesystem::path& config, const std::string& prefix,
                const std::string& args, std::string& errors) {
    std::string command = prefix + "XDG_CONFIG_HOME=" + config.string() +
                          " LANG=C.UTF-8 LC_ALL= " + LVX_BATCH_EXE + " " + args +
                          " 2>&1 >/dev/null";
    return RunShellCommand(command, errors);
}

std::string Utf16Store(const std::string& asciiBody) {
    std::string bytes = "\xFF\xFE";
    for (char c : "Windows Registry Editor Version 5.00\r\n\r\n" + asciiBody) {
        bytes += c;
        bytes += '\0';
    }
    return bytes;
}

} // namespace

TEST(LunavexBatchMainTest, ADamagedStoreIsKeptAsideAndSaidOnStandardError) {
    CLanguageGuard english(1033);
    testutil::CTempDir temp;
    const auto dir = temp.Path();
    auto folder = dir / "config" / "Harrowmere";
    std::filesystem::create_directories(folder);
    const std::string latin1 = "Windows Registry Editor Version 5.00\r\n\r\n"
                               "[HKEY_CURRENT_USER\\Software\\Harrowmere\\Lunavex32\\Setting]\r\n"
                               "\"OutputPath\"=\"/home/u/Bilder-\xC4\"\r\n";
    std::ofstream(folder / "Lunavex32.reg", std::ios::binary) << latin1;
    ASSERT_TRUE(SaveImage(*Solid(8, 8, 1, 2, 3), L"image/png", dir / "a.png"));

    std::string errors;
    EXPECT_EQ(RunBatchExe(dir / "config", "", "--format=png " + (dir / "a.png").string(), errors),
              0);
    std::filesystem::path kept;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().filename().string().starts_with("Lunavex32.reg.damaged-"))
            kept = entry.path();
    }
    ASSERT_FALSE(kept.empty());
    EXPECT_EQ(ReadText(kept), latin1);
    std::wstring warning;
    LoadResString(warning, strid::kSettingsKeptAside, true);
    const std::string template8 = Utf8FromWide(warning);
    const std::size_t slot = template8.find("%s");
    ASSERT_NE(slot, std::string::npos);
    // One line: the English text with the kept file's name in its place.
    EXPECT_EQ(errors,
              template8.substr(0, slot) + kept.string() + template8.substr(slot + 2) + "\n");
    EXPECT_TRUE(std::filesystem::exists(dir / "round" / "a.png"));
}

TEST(LunavexBatchMainTest, AStoreTooDeepToReadIsDamagedEvenUnderAMemoryLimit) {
    LVX_SKIP_UNDER_ADDRESS_LIMIT();
    CLanguageGuard english(1033);
    testutil::CTempDir temp;
    const auto dir = temp.Path();
    auto folder = dir / "config" / "Harrowmere";
    std::filesystem::create_directories(folder);
    std::string deep = "[HKEY_CURRENT_USER\\Software";
    for (int i = 0; i < 20000; ++i)
        deep += "\\k";
    std::ofstream(folder / "Lunavex32.reg", std::ios::binary)
        << Utf16Store(deep + "]\r\n\"x\"=dword:00000001\r\n");
    ASSERT_TRUE(SaveImage(*Solid(8, 8, 1, 2, 3), L"image/png", dir / "a.png"));

    std::string errors;
    EXPECT_EQ(RunBatchExe(dir / "config", "ulimit -v 1048576; ",
                          "--format=png " + (dir / "a.png").string(), errors),
              0)
        << errors;
    EXPECT_NE(errors.find("Lunavex32.reg.damaged-"), std::string::npos) << errors;
    EXPECT_TRUE(std::filesystem::exists(dir / "round" / "a.png"));
}
