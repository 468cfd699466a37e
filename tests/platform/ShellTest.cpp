// Tests of the desktop hand-over with stand-ins for xdg-open and gdbus first on PATH. A recording
// child watch holds the children, so that a test decides when their answers arrive.
#include "platform/Shell.h"

#include <gtest/gtest.h>

#include <deque>
#include <filesystem>
#include <vector>

#include "foundation/Exception.h"
#include "foundation/Paths.h"
#include "foundation/ResString.h"
#include "foundation/ResultText.h"
#include "resources/StringIds.h"
#include "support/Files.h"
#include "support/StandInShell.h"
#include "support/Thrown.h"

namespace {

// Keeps the children that it is given; Finish waits for each in turn on the test's thread and
// calls back, children that the callbacks start included.
class CRecordingChildWatch : public CChildWatch {
public:
    CRecordingChildWatch() : previous_(Install(this)) {}
    ~CRecordingChildWatch() override {
        Install(previous_);
        for (auto& child : pending)
            previous_->Watch(child.pid, {});
    }

    void Watch(pid_t pid, EndHandler onEnd) override { pending.push_back({pid, std::move(onEnd)}); }

    void Finish() {
        while (!pending.empty()) {
            Child child = std::move(pending.front());
            pending.pop_front();
            int status = Reap(child.pid);
            if (child.onEnd)
                child.onEnd(status);
        }
    }

    struct Child {
        pid_t pid;
        EndHandler onEnd;
    };
    std::deque<Child> pending;

private:
    CChildWatch* previous_;
};

class ShellTest : public ::testing::Test {
protected:
    // The handler given to a hand-over: it keeps every failure that arrives.
    ShellFailureHandler Recorder() {
        return [this](const my::CException& failure) { failures.push_back(failure); };
    }

    CStandInShell shell;
    CRecordingChildWatch watch;
    std::vector<my::CException> failures;
};

// The other exit statuses of xdg-open reach the commands' boxes (CommandOpenUrlTest,
// CommandExplorerTest).
TEST_F(ShellTest, TheOpenerIsNotWaitedForAndItsFailureArrivesWithItsEnd) {
    shell.Set("xdg-open", 2, true);
    ShellOpen(L"/nowhere/x.png", L"--y", Recorder());
    ASSERT_TRUE(shell.WaitUntilStarted("xdg-open"));
    EXPECT_FALSE(shell.Released("xdg-open")) << "the call returned while the opener waited";
    EXPECT_TRUE(failures.empty());

    shell.Release("xdg-open");
    watch.Finish();
    ASSERT_EQ(failures.size(), 1u);
    EXPECT_EQ(failures[0].id, strid::kShellOpenFailed);
    EXPECT_EQ(failures[0].hr, 0x80070002u);
    EXPECT_EQ(failures[0].text, L"ファイルを開けませんでした - " + ResultText(0x80070002) +
                                    L"\n\n/nowhere/x.png --y");
    EXPECT_EQ(shell.Calls(), "xdg-open\n/nowhere/x.png\n--y\n--\n");
}

TEST_F(ShellTest, AnOpenerThatCannotStartAndAMissingPathAreThrownAtOnce) {
    shell.Remove("xdg-open");
    const auto e =
        testutil::Thrown([&] { ShellOpen(L"https://harrowmere.example/", L"", Recorder()); });
    EXPECT_EQ(e.id, strid::kShellOpenFailed);
    EXPECT_EQ(e.hr, 0x80070483u);
    EXPECT_TRUE(watch.pending.empty());

    const auto e2 = testutil::Thrown(
        [&] { ShowInExplorer(FromFileSystemPath((shell.Dir() / "gone").string()), Recorder()); });
    EXPECT_EQ(e2.id, strid::kShellOpenFailed);
    EXPECT_EQ(e2.hr, 0x80070003u);
    EXPECT_TRUE(watch.pending.empty());
    EXPECT_EQ(shell.Calls(), "");
}

TEST_F(ShellTest, ShowSelectsTheItemOverDBusWithItsBytesIntact) {
    auto file = shell.Dir() / "a,b c\xE9.png";
    testutil::WriteText(file, "x");
    ShowInExplorer(FromFileSystemPath(file.string()), Recorder());
    watch.Finish();
    std::string uri = "file://" + shell.Dir().string() + "/a%2Cb%20c%E9.png";
    EXPECT_EQ(
        shell.Calls(),
        "gdbus\ncall\n--session\n--timeout\n5\n--dest\norg.freedesktop.FileManager1\n--object-"
        "path\n"
        "/org/freedesktop/FileManager1\n--method\norg.freedesktop.FileManager1.ShowItems\n['" +
            uri + "']\n\n--\n");
    EXPECT_TRUE(failures.empty());
}

// Without gdbus the folder opens at once; without a file manager on the bus it opens once the
// answer has arrived; a failure of that fall-back, or an opener that cannot start, is reported
// with the folder and never thrown.
TEST_F(ShellTest, WithoutAFileManagerTheFolderOpensAndItsFailureIsReported) {
    auto folder = shell.Dir() / "out";
    std::filesystem::create_directories(folder);
    shell.Remove("gdbus");
    ShowInExplorer(FromFileSystemPath(folder.string()), Recorder());
    watch.Finish();
    EXPECT_EQ(shell.Calls(), "xdg-open\n" + folder.string() + "\n--\n");

    auto file = shell.Dir() / "photo.jpg";
    testutil::WriteText(file, "x");
    shell.Set("gdbus", 1);
    ShowInExplorer(FromFileSystemPath(file.string()), Recorder());
    EXPECT_EQ(watch.pending.size(), 1u) << "only the D-Bus call has started";
    watch.Finish();
    std::string calls = shell.Calls();
    EXPECT_NE(calls.find("--\nxdg-open\n" + shell.Dir().string() + "\n--\n"), std::string::npos)
        << calls;
    EXPECT_TRUE(failures.empty());

    shell.Set("xdg-open", 2);
    ShowInExplorer(FromFileSystemPath(file.string()), Recorder());
    watch.Finish();
    ASSERT_EQ(failures.size(), 1u);
    EXPECT_EQ(failures[0].hr, 0x80070002u);
    EXPECT_EQ(failures[0].text, L"ファイルを開けませんでした - " + ResultText(0x80070002) +
                                    L"\n\n" + FromFileSystemPath(shell.Dir().string()) + L" ");

    shell.Remove("xdg-open");
    ShowInExplorer(FromFileSystemPath(file.string()), Recorder());
    EXPECT_NO_THROW(watch.Finish());
    ASSERT_EQ(failures.size(), 2u);
    EXPECT_EQ(failures[1].id, strid::kShellOpenFailed);
    EXPECT_EQ(failures[1].hr, 0x80070483u);
}

} // namespace
