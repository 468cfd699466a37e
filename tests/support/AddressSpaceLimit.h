// Tests that cap a process's address space cannot run where the address sanitizer reserves its
// shadow memory: the reservation alone is terabytes of address space.
#pragma once

#include <fstream>
#include <string>

#include <sys/resource.h>

#include <gtest/gtest.h>

#if defined(__SANITIZE_ADDRESS__)
#define LVX_SKIP_UNDER_ADDRESS_LIMIT()                                                             \
    GTEST_SKIP() << "the address sanitizer's shadow memory does not fit under an address-space "   \
                    "limit"
#else
#define LVX_SKIP_UNDER_ADDRESS_LIMIT() static_cast<void>(0)
#endif

// Caps the address space of this process at what it uses now plus `headroom` bytes; for a child
// of a death test, which then shows how the code under test meets the end of memory.
inline void CapAddressSpaceAbovePresent(rlim_t headroom) {
    std::ifstream status("/proc/self/status");
    std::string line;
    rlim_t used = 0;
    while (std::getline(status, line)) {
        if (line.rfind("VmSize:", 0) == 0)
            used = std::stoull(line.substr(7)) * 1024;
    }
    const rlimit cap{used + headroom, used + headroom};
    setrlimit(RLIMIT_AS, &cap);
}
