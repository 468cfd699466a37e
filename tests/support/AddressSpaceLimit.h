// Tests that cap a process's address space cannot run where the address sanitizer reserves its
// shadow memory: the reservation alone is terabytes of address space.
#pragma once

#include <gtest/gtest.h>

#if defined(__SANITIZE_ADDRESS__)
#define LVX_SKIP_UNDER_ADDRESS_LIMIT()                                                             \
    GTEST_SKIP() << "the address sanitizer's shadow memory does not fit under an address-space "   \
                    "limit"
#else
#define LVX_SKIP_UNDER_ADDRESS_LIMIT() static_cast<void>(0)
#endif
