#ifndef TLG_PLATFORM_POSIX_MUTEX_H
#define TLG_PLATFORM_POSIX_MUTEX_H

#include <pthread.h>

/// A POSIX mutex with default attributes, for std::lock_guard and std::unique_lock.
class Mutex {
public:
    Mutex() noexcept { pthread_mutex_init(&m_mutex, nullptr); }
    ~Mutex() { pthread_mutex_destroy(&m_mutex); }
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() noexcept { pthread_mutex_lock(&m_mutex); }
    void unlock() noexcept { pthread_mutex_unlock(&m_mutex); }

private:
    pthread_mutex_t m_mutex;
};

#endif
