// Tests of the idle policy for threads found by their name, on threads that the test names. That
// the calling thread keeps its policy is BatchRunnerTest's.
#include "foundation/ThreadPriority.h"

#include <gtest/gtest.h>

#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <future>
#include <latch>
#include <thread>

namespace {

// Threads that take a name, report their id, and stay until the test lets them end.
class CNamedThreads {
public:
    CNamedThreads(const std::vector<std::string>& names) : named_(names.size()) {
        ids_.resize(names.size());
        std::shared_future<void> release = release_.get_future().share();
        for (size_t i = 0; i < names.size(); ++i) {
            threads_.emplace_back([this, i, name = names[i], release] {
                ::pthread_setname_np(::pthread_self(), name.c_str());
                ids_[i] = ::gettid();
                named_.count_down();
                release.wait();
            });
        }
        named_.wait();
    }
    ~CNamedThreads() {
        release_.set_value();
        for (std::thread& thread : threads_)
            thread.join();
    }

    pid_t Id(size_t i) const { return ids_[i]; }

private:
    std::latch named_;
    std::promise<void> release_;
    std::vector<pid_t> ids_;
    std::vector<std::thread> threads_;
};

TEST(ThreadPriorityTest, ThreadsAreFoundByTheirWholeNameAndOnlyTheyOrTheCallerGoIdle) {
    CNamedThreads threads({"lvx-probe", "lvx-other", "lvx-probe", "lvx-probe2"});
    std::vector<pid_t> found = ThreadsNamed("lvx-probe");
    std::sort(found.begin(), found.end());
    std::vector<pid_t> expected{threads.Id(0), threads.Id(2)};
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(found, expected);
    EXPECT_TRUE(ThreadsNamed("lvx-absent").empty());

    // Only the threads of the whole name go idle.
    EXPECT_EQ(SetIdlePriorityOfThreadsNamed("lvx-probe"), 2u);
    EXPECT_EQ(::sched_getscheduler(threads.Id(0)), SCHED_IDLE);
    EXPECT_EQ(::sched_getscheduler(threads.Id(2)), SCHED_IDLE);
    EXPECT_EQ(::sched_getscheduler(threads.Id(1)), SCHED_OTHER);
    EXPECT_EQ(::sched_getscheduler(threads.Id(3)), SCHED_OTHER);

    std::packaged_task<int()> probe(
        [] { return SetIdlePriority() ? ::sched_getscheduler(0) : -1; });
    std::future<int> policy = probe.get_future();
    std::thread(std::move(probe)).join();
    EXPECT_EQ(policy.get(), SCHED_IDLE);
}

} // namespace
