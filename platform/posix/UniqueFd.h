#ifndef TLG_PLATFORM_POSIX_UNIQUEFD_H
#define TLG_PLATFORM_POSIX_UNIQUEFD_H

#include <unistd.h>

#include <utility>

/// Owns one file descriptor and closes it at the end. Not thread-safe.
class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) noexcept : m_fd(fd) {}
    UniqueFd(UniqueFd&& other) noexcept : m_fd(other.Release()) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        Reset(other.Release());
        return *this;
    }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    ~UniqueFd() { Reset(); }

    /// The descriptor, or -1.
    int Get() const noexcept { return m_fd; }
    explicit operator bool() const noexcept { return m_fd >= 0; }

    /// Returns the descriptor, which the caller then owns.
    int Release() noexcept { return std::exchange(m_fd, -1); }

    /// Closes the descriptor, if any, and owns @p fd from now on.
    void Reset(int fd = -1) noexcept {
        if (m_fd >= 0) {
            ::close(m_fd);
        }
        m_fd = fd;
    }

private:
    int m_fd = -1;
};

#endif
