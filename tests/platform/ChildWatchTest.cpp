// Tests of the process's child watch: the default one, which waits on a thread of its own, and
// the exchange of the watch in use.
#include "platform/ChildWatch.h"

#include <gtest/gtest.h>

#include <spawn.h>
#include <unistd.h>

#include <chrono>
#include <future>
#include <thread>

extern char** environ;

namespace {

// Starts "sh -c script" and returns its pid.
pid_t StartShell(const char* script) {
    char* argv[] = {const_cast<char*>("sh"), const_cast<char*>("-c"), const_cast<char*>(script),
                    nullptr};
    pid_t pid = 0;
    if (::posix_spawnp(&pid, "sh", nullptr, nullptr, argv, environ) != 0)
        return -1;
    return pid;
}

struct Ending {
    int status;
    std::thread::id thread;
};

// The status and the thread of the callback for a child that runs script, under the default
// watch; a minute is only a bound that keeps a broken test from hanging.
Ending EndUnderTheDefaultWatch(const char* script) {
    std::promise<Ending> ended;
    std::future<Ending> result = ended.get_future();
    pid_t pid = StartShell(script);
    EXPECT_GT(pid, 0);
    CChildWatch::Current().Watch(pid, [&ended](int status) {
        ended.set_value({status, std::this_thread::get_id()});
    });
    EXPECT_EQ(result.wait_for(std::chrono::minutes(1)), std::future_status::ready);
    return result.get();
}

class CNullWatch : public CChildWatch {
public:
    void Watch(pid_t, EndHandler) override {}
};

TEST(ChildWatchTest, TheDefaultWatchCallsBackWithTheExitStatusOnAThreadOfItsOwn) {
    Ending ending = EndUnderTheDefaultWatch("exit 3");
    EXPECT_EQ(ending.status, 3);
    EXPECT_NE(ending.thread, std::this_thread::get_id());
    EXPECT_EQ(EndUnderTheDefaultWatch("kill -9 $$").status, 128 + 9);
}

TEST(ChildWatchTest, InstallAndReapAnswerWithTheirWatchAndTheirChild) {
    CChildWatch* defaultWatch = &CChildWatch::Current();
    CNullWatch mine;
    EXPECT_EQ(CChildWatch::Install(&mine), defaultWatch); // the watch in use is ShellTest's
    EXPECT_EQ(CChildWatch::Install(nullptr), &mine);
    EXPECT_EQ(&CChildWatch::Current(), defaultWatch);

    pid_t pid = StartShell("exit 7");
    ASSERT_GT(pid, 0);
    EXPECT_EQ(CChildWatch::Reap(pid), 7);
    EXPECT_EQ(CChildWatch::Reap(pid), -1) << "reaped once only";
    EXPECT_EQ(CChildWatch::Reap(::getpid()), -1);
}

} // namespace
