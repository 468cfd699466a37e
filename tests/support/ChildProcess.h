// Running part of a test in a child process, for tests of what two processes do to one file, and
// the pid of a process that is gone, for what a killed process left behind.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

// Runs body in a child process and returns its exit status (-1 when it did not exit normally).
template <class Body> int InChild(Body body) {
    pid_t pid = ::fork();
    if (pid == 0) {
        body();
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// The pid of a process that has ended and been reaped.
inline pid_t DeadPid() {
    pid_t pid = ::fork();
    if (pid == 0)
        ::_exit(0);
    ::waitpid(pid, nullptr, 0);
    return pid;
}
