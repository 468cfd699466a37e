// The idle scheduling policy for threads of this process: the calling thread, any thread by its
// id, and the threads that a library started under a name of its own.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

// Puts thread tid of this process (0: the calling thread) under the idle policy (SCHED_IDLE): it
// runs only when no other thread of the system wants the processor. An unprivileged thread cannot
// leave that policy again. False when the system refuses, or when the thread has ended.
bool SetIdlePriority(pid_t tid = 0);

// The ids of this process's threads whose name (/proc/self/task/<tid>/comm, at most 15 bytes) is
// name, in no particular order.
std::vector<pid_t> ThreadsNamed(const std::string& name);

// Puts every thread of this process named name under the idle policy; returns how many threads
// of that name there were. A thread that ends meanwhile is passed over.
size_t SetIdlePriorityOfThreadsNamed(const std::string& name);
