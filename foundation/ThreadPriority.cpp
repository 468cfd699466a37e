// Thread scheduling through sched_setscheduler and setpriority, and thread names from
// /proc/self/task.
#include "foundation/ThreadPriority.h"

#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

bool SetBelowNormalPriority(pid_t tid) {
    // On Linux the nice value belongs to each thread, named by its id.
    const id_t id = static_cast<id_t>(tid != 0 ? tid : ::gettid());
    sched_param param{};
    param.sched_priority = 0;
    const bool batch = ::sched_setscheduler(static_cast<pid_t>(id), SCHED_BATCH, &param) == 0;
    errno = 0;
    const int nice = ::getpriority(PRIO_PROCESS, id);
    if (errno != 0)
        return false;
    // A thread that is nicer already stays so: going back up would need privileges.
    if (nice >= kBelowNormalNice)
        return batch;
    return ::setpriority(PRIO_PROCESS, id, kBelowNormalNice) == 0 && batch;
}

std::vector<pid_t> ThreadsNamed(const std::string& name) {
    std::vector<pid_t> threads;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task", error)) {
        std::string comm;
        std::getline(std::ifstream(entry.path() / "comm"), comm);
        if (comm == name)
            threads.push_back(static_cast<pid_t>(std::atol(entry.path().filename().c_str())));
    }
    return threads;
}

size_t SetBelowNormalPriorityOfThreadsNamed(const std::string& name) {
    std::vector<pid_t> threads = ThreadsNamed(name);
    for (pid_t tid : threads)
        SetBelowNormalPriority(tid);
    return threads.size();
}
