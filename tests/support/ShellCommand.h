// Running a shell command line from a test and reading what it prints.
#pragma once

#include <sys/wait.h>

#include <cstdio>
#include <string>

// Runs the command through the shell, puts its standard output in output, and returns its exit
// status, or 128 plus the signal that ended it.
inline int RunShellCommand(const std::string& command, std::string& output) {
    FILE* pipe = ::popen(command.c_str(), "r");
    output.clear();
    if (!pipe)
        return -1;
    char buffer[4096];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0)
        output.append(buffer, n);
    const int status = ::pclose(pipe);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
