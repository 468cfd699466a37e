// A priority below normal for threads of this process: the calling thread, any thread by its id,
// and the threads that a library started under a name of its own.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

// The nice value of a thread below normal priority. The scheduler shares a processor by weights
// that fall by about a fifth a step: at nice 2 a thread gets about two fifths of a processor that
// a normal thread also wants (655 against 1024), and all of it when nothing else does. At nice 10
// (110) a batch beside two busy programs took more than three times as long as at nice 0.
inline constexpr int kBelowNormalNice = 2;

// Puts thread tid of this process (0: the calling thread) under the batch policy (SCHED_BATCH: it
// does not preempt others on waking) at nice kBelowNormalNice, or keeps a nicer value that it has
// already. It runs below normal priority but is never starved, unlike under the idle policy. An
// unprivileged thread cannot lower its nice value again. False when the system refuses either,
// or when the thread has ended. Any thread.
bool SetBelowNormalPriority(pid_t tid = 0);

// The ids of this process's threads whose name (/proc/self/task/<tid>/comm, at most 15 bytes) is
// name, in no particular order. Any thread.
std::vector<pid_t> ThreadsNamed(const std::string& name);

// Puts every thread of this process named name below normal priority; returns how many threads
// of that name there were. A thread that ends meanwhile is passed over. Any thread.
size_t SetBelowNormalPriorityOfThreadsNamed(const std::string& name);
