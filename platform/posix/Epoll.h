#ifndef TLG_PLATFORM_POSIX_EPOLL_H
#define TLG_PLATFORM_POSIX_EPOLL_H

#include <sys/epoll.h>

#include <array>
#include <cstdint>

#include "platform/posix/UniqueFd.h"

/// An epoll set. The caller gives each descriptor a number, which comes with its events.
class Epoll {
public:
    /// False with errno set when the set could not be made.
    bool Open() {
        m_fd.Reset(::epoll_create1(EPOLL_CLOEXEC));
        return static_cast<bool>(m_fd);
    }
    void Close() { m_fd.Reset(); }

    bool Add(int fd, std::uint32_t events, std::uint64_t id) const { return Control(EPOLL_CTL_ADD, fd, events, id); }
    bool Modify(int fd, std::uint32_t events, std::uint64_t id) const { return Control(EPOLL_CTL_MOD, fd, events, id); }
    bool Remove(int fd) const { return Control(EPOLL_CTL_DEL, fd, 0, 0); }

    /// Waits for events, at most @p timeoutMs milliseconds (-1: without limit), and calls
    /// @p handle(id, events) for each. An interruption counts as no event.
    template <typename Handle>
    void Wait(int timeoutMs, Handle handle) const {
        std::array<epoll_event, 64> events{};
        const int count = ::epoll_wait(m_fd.Get(), events.data(), static_cast<int>(events.size()), timeoutMs);
        for (int i = 0; i < count; ++i) {
            const epoll_event& event = events[static_cast<std::size_t>(i)];
            handle(event.data.u64, event.events);
        }
    }

private:
    bool Control(int operation, int fd, std::uint32_t events, std::uint64_t id) const {
        epoll_event event{};
        event.events = events;
        event.data.u64 = id;
        return ::epoll_ctl(m_fd.Get(), operation, fd, &event) == 0;
    }

    UniqueFd m_fd;
};

#endif
