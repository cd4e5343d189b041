#ifndef TLG_TESTS_SUPPORT_FAILINGMEMORY_H
#define TLG_TESTS_SUPPORT_FAILINGMEMORY_H

/// While it lives, memory runs out for this thread: from one allocation on, all of them fail. One at a time.
class FailingMemory {
public:
    /// @param allocations so many succeed
    explicit FailingMemory(int allocations);
    ~FailingMemory();
    FailingMemory(const FailingMemory&) = delete;
    FailingMemory& operator=(const FailingMemory&) = delete;

    /// Whether an allocation has failed.
    static bool HasFailed();
};

/// While it lives, the thread has memory again.
class EnoughMemory {
public:
    EnoughMemory();
    ~EnoughMemory();
    EnoughMemory(const EnoughMemory&) = delete;
    EnoughMemory& operator=(const EnoughMemory&) = delete;

private:
    int m_left;
};

#endif
