// Tests of the UTF-16 log: exact bytes, the byte order mark, and the default place.
#include "foundation/Log.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <vector>

#include <sys/stat.h>

#include "foundation/Paths.h"
#include "support/Files.h"
#include "support/HomeSandbox.h"

namespace {

using namespace testutil;

// The bytes of a log file into which text was written.
std::vector<u8> Logged(const wchar_t* text) {
    CTempDir temp;
    CLogFile log;
    EXPECT_TRUE(log.Open(FromFileSystemPath((temp / "LOG.txt").string())));
    log.Write(text);
    log.Close();
    return ReadBytes(temp / "LOG.txt");
}

TEST(LogTest, LineEndsBecomeCrLfAndCharactersBeyondTheBasicPlaneSurrogatePairs) {
    for (const wchar_t* text : {L"a\nb", L"a\r\nb"})
        EXPECT_EQ(Logged(text), (std::vector<u8>{0xFF, 0xFE, 0x61, 0, 0x0D, 0, 0x0A, 0, 0x62, 0}));
    EXPECT_EQ(Logged(L"\U0001F600あ"),
              (std::vector<u8>{0xFF, 0xFE, 0x3D, 0xD8, 0x00, 0xDE, 0x42, 0x30}));
}

TEST(LogTest, StartLogMakesTheFolderAndLeavesOnlyTheMarkOrAClosedStreamWhenItCannot) {
    CHomeSandbox sandbox;
    const auto state = sandbox.Root() / "state";
    // An earlier run's log is cut.
    std::filesystem::create_directories(state / "Harrowmere" / "Lunavex32");
    testutil::WriteText(state / "Harrowmere" / "Lunavex32" / "LOG.txt", "old contents");
    StartLog();
    ASSERT_TRUE(TheLog());
    EXPECT_TRUE(TheLog()->good());
    StopLog();
    EXPECT_FALSE(TheLog());
    std::vector<u8> expected{0xFF, 0xFE};
    EXPECT_EQ(ReadBytes(state / "Harrowmere" / "Lunavex32" / "LOG.txt"), expected);

    testutil::WriteText(state / "file", "x");
    ::setenv("XDG_STATE_HOME", (state / "file").c_str(), 1); // a file where the folder should be
    StartLog();
    ASSERT_TRUE(TheLog());
    EXPECT_FALSE(TheLog()->good());
    TheLog()->Write(L"ignored");
    StopLog();
}

TEST(LogTest, ALinkInTheLogsPlaceIsReplacedAndItsTargetLeftAlone) {
    CTempDir temp;
    const auto dir = temp.Path();
    testutil::WriteText(dir / "victim", "precious");
    std::filesystem::create_symlink(dir / "victim", dir / "LOG.txt");
    std::filesystem::create_symlink(dir / "nowhere", dir / "LOG2.txt");
    for (const char* name : {"LOG.txt", "LOG2.txt"}) {
        CLogFile log;
        ASSERT_TRUE(log.Open(FromFileSystemPath((dir / name).string()))) << name;
        log.Write(L"x");
        log.Close();
        EXPECT_FALSE(std::filesystem::is_symlink(dir / name)) << name;
        std::vector<u8> expected{0xFF, 0xFE, 0x78, 0};
        EXPECT_EQ(ReadBytes(dir / name), expected) << name;
    }
    std::vector<u8> untouched{'p', 'r', 'e', 'c', 'i', 'o', 'u', 's'};
    EXPECT_EQ(ReadBytes(dir / "victim"), untouched);
    EXPECT_FALSE(std::filesystem::exists(dir / "nowhere"));

    // A pipe in its place is replaced too, without waiting for a reader.
    ASSERT_EQ(::mkfifo((dir / "LOG3.txt").c_str(), 0600), 0);
    CLogFile log;
    EXPECT_TRUE(log.Open(FromFileSystemPath((dir / "LOG3.txt").string())));
    log.Close();
    EXPECT_TRUE(std::filesystem::is_regular_file(dir / "LOG3.txt"));
}

} // namespace
