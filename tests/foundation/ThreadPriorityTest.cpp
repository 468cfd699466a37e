// Tests of the priority below normal for threads found by their name, on threads that the test
// names. That the calling thread keeps its priority is BatchRunnerTest's.
#include "foundation/ThreadPriority.h"

#include <gtest/gtest.h>

#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
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

// The policy and nice value of a thread of this process.
std::pair<int, int> PriorityOf(pid_t tid) {
    return {::sched_getscheduler(tid), ::getpriority(PRIO_PROCESS, static_cast<id_t>(tid))};
}

TEST(ThreadPriorityTest, ThreadsAreFoundByTheirWholeNameAndOnlyTheyOrTheCallerGoBelowNormal) {
    CNamedThreads threads({"lvx-probe", "lvx-other", "lvx-probe", "lvx-probe2"});
    std::vector<pid_t> found = ThreadsNamed("lvx-probe");
    std::sort(found.begin(), found.end());
    std::vector<pid_t> expected{threads.Id(0), threads.Id(2)};
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(found, expected);
    EXPECT_TRUE(ThreadsNamed("lvx-absent").empty());

    // Only the threads of the whole name go below normal (nice 2, or the nicer value that the
    // tests were started with); one that is nicer already stays so.
    const int started = PriorityOf(::gettid()).second;
    const int below = std::max(started, 2);
    ASSERT_EQ(::setpriority(PRIO_PROCESS, static_cast<id_t>(threads.Id(2)), below + 2), 0);
    EXPECT_EQ(SetBelowNormalPriorityOfThreadsNamed("lvx-probe"), 2u);
    EXPECT_EQ(PriorityOf(threads.Id(0)), std::make_pair(SCHED_BATCH, below));
    EXPECT_EQ(PriorityOf(threads.Id(2)), std::make_pair(SCHED_BATCH, below + 2));
    EXPECT_EQ(PriorityOf(threads.Id(1)), std::make_pair(SCHED_OTHER, started));
    EXPECT_EQ(PriorityOf(threads.Id(3)), std::make_pair(SCHED_OTHER, started));

    std::packaged_task<std::pair<int, int>()> probe(
        [] { return SetBelowNormalPriority() ? PriorityOf(::gettid()) : std::make_pair(-1, -1); });
    std::future<std::pair<int, int>> priority = probe.get_future();
    std::thread(std::move(probe)).join();
    EXPECT_EQ(priority.get(), std::make_pair(SCHED_BATCH, below));
    EXPECT_EQ(PriorityOf(::gettid()), std::make_pair(SCHED_OTHER, started)) << "the caller's stays";
}

} // namespace
