#ifndef TLG_PLATFORM_POSIX_MUTEX_H
#define TLG_PLATFORM_POSIX_MUTEX_H

#include <pthread.h>

#include "platform/posix/ThreadSafety.h"

/// A POSIX mutex with default attributes. Wait on a std::condition_variable_any with it in a loop, not with a
/// predicate: clang's analysis does not know that a predicate is called with the lock held.
class TLG_CAPABILITY("mutex") Mutex {
public:
    Mutex() noexcept { pthread_mutex_init(&m_mutex, nullptr); }
    ~Mutex() { pthread_mutex_destroy(&m_mutex); }
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() noexcept TLG_ACQUIRE() { pthread_mutex_lock(&m_mutex); }
    void unlock() noexcept TLG_RELEASE() { pthread_mutex_unlock(&m_mutex); }

    /// For a lambda that is only called with the lock held: the analysis takes it as held from here on. Does nothing.
    void AssumeHeld() const noexcept TLG_ASSERT_HELD() {}

private:
    pthread_mutex_t m_mutex;
};

/// Holds a mutex for a scope; std::lock_guard has no annotations.
class TLG_SCOPED_CAPABILITY MutexLock {
public:
    explicit MutexLock(Mutex& mutex) noexcept TLG_ACQUIRE(mutex) : m_mutex(mutex) { m_mutex.lock(); }
    ~MutexLock() TLG_RELEASE() { m_mutex.unlock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

private:
    Mutex& m_mutex;
};

#endif
