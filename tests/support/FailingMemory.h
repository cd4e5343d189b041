#ifndef TLG_TESTS_SUPPORT_FAILINGMEMORY_H
#define TLG_TESTS_SUPPORT_FAILINGMEMORY_H

#include <limits>

/// While it lives, memory runs out for this thread: from one allocation on, all of them fail.
class FailingMemory {
public:
    /// @param allocations this number succeeds
    explicit FailingMemory(long allocations);
    ~FailingMemory();
    FailingMemory(const FailingMemory&) = delete;
    FailingMemory& operator=(const FailingMemory&) = delete;

private:
    long m_former;
};

/// While it lives, the thread has memory again.
class EnoughMemory : private FailingMemory {
public:
    EnoughMemory() : FailingMemory(std::numeric_limits<long>::max()) {}
};

#endif
