// Tests of the window program's child watch: a child's end arrives on the main thread's loop.
#include "platform/qt/QtChildWatch.h"

#include <gtest/gtest.h>

#include <fstream>
#include <thread>

#include <QTest>

#include "platform/Shell.h"
#include "support/StandInShell.h"

namespace {

constexpr int kArrivalBoundMs = 30000;

class QtChildWatchTest : public ::testing::Test {
protected:
    // Starts the stand-in name; each end appends its status to statuses, on the thread it came.
    void Start(const std::string& name, CChildWatch::EndHandler then = {}) {
        int startErrno = 0;
        ASSERT_TRUE(StartProgram({name}, startErrno, [this, then](int status) {
            statuses.push_back(status);
            threads.push_back(std::this_thread::get_id());
            if (then)
                then(status);
        }));
    }

    CStandInShell shell;
    std::vector<int> statuses;
    std::vector<std::thread::id> threads;
};

TEST_F(QtChildWatchTest, TheEndArrivesOnTheMainThreadWithTheStatus) {
    CQtChildWatch watch;
    EXPECT_EQ(&CChildWatch::Current(), &watch);
    shell.Set("xdg-open", 5, true);
    Start("xdg-open");
    ASSERT_TRUE(shell.WaitUntilStarted("xdg-open"));
    EXPECT_EQ(watch.Watching(), 1u);
    QCoreApplication::processEvents();
    EXPECT_TRUE(statuses.empty()) << "the child still runs";

    shell.Release("xdg-open");
    ASSERT_TRUE(QTest::qWaitFor([this] { return !statuses.empty(); }, kArrivalBoundMs));
    EXPECT_EQ(statuses, std::vector<int>{5});
    EXPECT_EQ(threads[0], std::this_thread::get_id());
    EXPECT_EQ(watch.Watching(), 0u);
}

TEST_F(QtChildWatchTest, ACallbackMayStartTheNextChild) {
    CQtChildWatch watch;
    shell.Set("gdbus", 1);
    shell.Set("xdg-open", 2);
    Start("gdbus", [this](int) { Start("xdg-open"); });
    ASSERT_TRUE(QTest::qWaitFor([this] { return statuses.size() == 2; }, kArrivalBoundMs));
    EXPECT_EQ(statuses, (std::vector<int>{1, 2}));
    EXPECT_EQ(watch.Watching(), 0u);
}

TEST_F(QtChildWatchTest, GoingAwayDropsTheCallbacksAndStillReapsTheChild) {
    CChildWatch* before = &CChildWatch::Current();
    shell.Set("xdg-open", 0, true);
    {
        CQtChildWatch watch;
        Start("xdg-open");
        ASSERT_TRUE(shell.WaitUntilStarted("xdg-open"));
    }
    EXPECT_EQ(&CChildWatch::Current(), before);
    pid_t pid = 0;
    ASSERT_TRUE(std::ifstream(shell.Dir() / "xdg-open.pid") >> pid);
    shell.Release("xdg-open");
    // Reaped by the watch that was handed the child: its process entry goes.
    ASSERT_TRUE(
        QTest::qWaitFor([pid] { return !std::filesystem::exists("/proc/" + std::to_string(pid)); },
                        kArrivalBoundMs));
    QCoreApplication::processEvents();
    EXPECT_TRUE(statuses.empty());
}

} // namespace
