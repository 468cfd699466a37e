// Tests of the desktop hand-over with recording stand-ins for xdg-open and gdbus first on PATH.
#include "platform/Shell.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "foundation/Exception.h"
#include "foundation/Paths.h"
#include "foundation/ResString.h"
#include "foundation/ResultText.h"

namespace {

// Puts scripts named xdg-open and gdbus first on PATH. Each appends its arguments, one per line
// and then "--", to a log, and exits with the status in XDG_OPEN_STATUS / GDBUS_STATUS.
class ShellTest : public ::testing::Test {
protected:
    void SetUp() override {
        SetUiLanguage(1041);
        dir_ = std::filesystem::temp_directory_path() / ("lvx-shell-" + std::to_string(::getpid()));
        std::filesystem::remove_all(dir_);
        std::filesystem::create_directories(dir_ / "bin");
        log_ = dir_ / "calls.log";
        WriteStandIn("xdg-open", "XDG_OPEN_STATUS");
        WriteStandIn("gdbus", "GDBUS_STATUS");
        oldPath_ = std::getenv("PATH") ? std::getenv("PATH") : "";
        ::setenv("PATH", ((dir_ / "bin").string() + ":" + oldPath_).c_str(), 1);
        ::setenv("XDG_OPEN_STATUS", "0", 1);
        ::setenv("GDBUS_STATUS", "0", 1);
    }
    void TearDown() override {
        ::setenv("PATH", oldPath_.c_str(), 1);
        std::filesystem::remove_all(dir_);
    }

    void WriteStandIn(const std::string& name, const std::string& statusVar) {
        auto path = dir_ / "bin" / name;
        std::ofstream(path) << "#!/bin/sh\necho \"" << name << "\" >> '" << log_.string()
                            << "'\nfor a in \"$@\"; do printf '%s\\n' \"$a\" >> '" << log_.string()
                            << "'; done\necho -- >> '" << log_.string() << "'\nexit ${" << statusVar
                            << ":-0}\n";
        ::chmod(path.c_str(), 0755);
    }

    std::string Calls() {
        std::ifstream in(log_);
        std::stringstream text;
        text << in.rdbuf();
        return text.str();
    }

    std::filesystem::path dir_, log_;
    std::string oldPath_;
};

TEST_F(ShellTest, OpenHandsTheAddressToXdgOpen) {
    ShellOpen(L"https://harrowmere.example/lunavex/", L"");
    EXPECT_EQ(Calls(), "xdg-open\nhttps://harrowmere.example/lunavex/\n--\n");
}

TEST_F(ShellTest, AFailedOpenThrowsWithTheSystemTextAndWhatWasToBeOpened) {
    ::setenv("XDG_OPEN_STATUS", "2", 1);
    try {
        ShellOpen(L"/nowhere/x.png", L"");
        ADD_FAILURE() << "xdg-open's failure is reported";
    } catch (const my::CException& e) {
        EXPECT_EQ(e.id, 58831);
        EXPECT_EQ(e.hr, 0x80070002u);
        EXPECT_EQ(e.text, L"ファイルを開けませんでした - " + ResultText(0x80070002) +
                              L"\n\n/nowhere/x.png ");
    }
    ::setenv("XDG_OPEN_STATUS", "3", 1);
    try {
        ShellOpen(L"x", L"");
        ADD_FAILURE();
    } catch (const my::CException& e) {
        EXPECT_EQ(e.hr, 0x80070483u) << "no program for it: ERROR_NO_ASSOCIATION";
    }
}

TEST_F(ShellTest, ShowSelectsTheItemOverDBusWithItsCommaIntact) {
    auto file = dir_ / "a,b c.png";
    std::ofstream(file) << "x";
    ShowInExplorer(FromFileSystemPath(file.string()));
    std::string uri = "file://" + dir_.string() + "/a%2Cb%20c.png";
    EXPECT_EQ(
        Calls(),
        "gdbus\ncall\n--session\n--timeout\n5\n--dest\norg.freedesktop.FileManager1\n--object-"
        "path\n"
        "/org/freedesktop/FileManager1\n--method\norg.freedesktop.FileManager1.ShowItems\n['" +
            uri + "']\n\n--\n");
}

TEST_F(ShellTest, WithoutAFileManagerTheFolderOpens) {
    auto file = dir_ / "photo.jpg";
    std::ofstream(file) << "x";
    ::setenv("GDBUS_STATUS", "1", 1);
    ShowInExplorer(FromFileSystemPath(file.string()));
    std::string calls = Calls();
    EXPECT_NE(calls.find("xdg-open\n" + dir_.string() + "\n--\n"), std::string::npos) << calls;
}

TEST_F(ShellTest, AHelperThatKeepsRunningCountsAsOpenedAndDoesNotHoldTheCaller) {
    // This xdg-open stays until the test lets it go (or its folder is gone), then reports failure.
    auto release = dir_ / "release";
    auto path = dir_ / "bin" / "xdg-open";
    std::ofstream(path) << "#!/bin/sh\nwhile [ ! -e '" << release.string() << "' ] && [ -d '"
                        << dir_.string() << "' ]; do sleep 0.05; done\nexit 4\n";
    ::chmod(path.c_str(), 0755);
    int startErrno = 0;
    EXPECT_EQ(RunProgram({"xdg-open", "x"}, startErrno, 0), kStillRunning);
    EXPECT_NO_THROW(ShellOpen(L"https://harrowmere.example/", L""));
    std::ofstream(release) << "go";
    EXPECT_EQ(RunProgram({"xdg-open", "x"}, startErrno), 4) << "without a limit the call waits";
}

TEST_F(ShellTest, AMissingPathIsRefusedBeforeAnyProgramRuns) {
    try {
        ShowInExplorer(FromFileSystemPath((dir_ / "gone").string()));
        ADD_FAILURE();
    } catch (const my::CException& e) {
        EXPECT_EQ(e.id, 58831);
        EXPECT_EQ(e.hr, 0x80070003u);
    }
    EXPECT_EQ(Calls(), "");
}

TEST(ShellResultTest, AnswersMapToWin32Codes) {
    EXPECT_EQ(ShellResultToWin32(33), 0);
    EXPECT_EQ(ShellResultToWin32(0), 14);
    EXPECT_EQ(ShellResultToWin32(26), 32);
    EXPECT_EQ(ShellResultToWin32(27), 1155);
    EXPECT_EQ(ShellResultToWin32(28), 1460);
    EXPECT_EQ(ShellResultToWin32(30), 170);
    EXPECT_EQ(ShellResultToWin32(32), 1157);
    EXPECT_EQ(ShellResultToWin32(17), 1);
}

} // namespace
