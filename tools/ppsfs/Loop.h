#ifndef TLG_TOOLS_PPSFS_LOOP_H
#define TLG_TOOLS_PPSFS_LOOP_H

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <set>

#include "platform/posix/Epoll.h"

namespace ppsfs {

/// Something with a descriptor that the loop watches.
class Watched {
public:
    Watched() = default;
    Watched(const Watched&) = delete;
    Watched& operator=(const Watched&) = delete;
    virtual ~Watched() = default;

    /// @param events as epoll reports them
    virtual void OnEvents(std::uint32_t events) = 0;
    /// The time set with Loop::SetDue() has come.
    virtual void OnDue() {}
    /// The loop ends: those who wait for something are to be told.
    virtual void OnEnd() {}
};

/// The one loop of the program: everything happens on the thread that calls Turn().
class Loop {
public:
    using Clock = std::chrono::steady_clock;
    using Id = std::uint64_t;

    /// False with errno set where there is no descriptor for it.
    bool Open() { return m_epoll.Open(); }

    /// Watches a descriptor until Remove(). What is watched may be destroyed at any time, also by what it does itself.
    /// @return its number; 0 with errno set on failure
    Id Add(int fd, const std::weak_ptr<Watched>& watched);
    void Remove(Id id, int fd);

    /// Whether to wait for room to write too.
    void WatchForRoom(Id id, int fd, bool watch) const;

    /// Sets when OnDue() is called, once; time_point::max(): not at all.
    void SetDue(Id id, Clock::time_point due);

    /// Waits for something to happen, and handles it.
    void Turn();

    /// Calls OnEnd() for all that it watches.
    void End();

private:
    struct Entry {
        std::weak_ptr<Watched> watched;
        Clock::time_point due = Clock::time_point::max();
    };
    void HandleDue();

    Epoll m_epoll;
    Id m_last = 0;
    std::map<Id, Entry> m_entries;
    std::set<std::pair<Clock::time_point, Id>> m_dues;
};

} // namespace ppsfs

#endif
