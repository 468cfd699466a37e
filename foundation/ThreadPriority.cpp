// Thread scheduling through sched_setscheduler, and thread names from /proc/self/task.
#include "foundation/ThreadPriority.h"

#include <sched.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

bool SetIdlePriority(pid_t tid) {
    sched_param param{};
    param.sched_priority = 0;
    return ::sched_setscheduler(tid, SCHED_IDLE, &param) == 0;
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

size_t SetIdlePriorityOfThreadsNamed(const std::string& name) {
    std::vector<pid_t> threads = ThreadsNamed(name);
    for (pid_t tid : threads)
        SetIdlePriority(tid);
    return threads.size();
}
