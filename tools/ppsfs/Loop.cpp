#include "tools/ppsfs/Loop.h"

#include "tools/common/Time.h"

namespace ppsfs {

Loop::Id Loop::Add(int fd, const std::weak_ptr<Watched>& watched) {
    if (!m_epoll.Add(fd, EPOLLIN, ++m_last)) {
        return 0;
    }
    m_entries[m_last].watched = watched;
    return m_last;
}

void Loop::Remove(Id id, int fd) {
    SetDue(id, Clock::time_point::max());
    m_epoll.Remove(fd);
    m_entries.erase(id);
}

void Loop::WatchForRoom(Id id, int fd, bool watch) const {
    m_epoll.Modify(fd, watch ? EPOLLIN | EPOLLOUT : EPOLLIN, id);
}

void Loop::SetDue(Id id, Clock::time_point due) {
    const auto found = m_entries.find(id);
    if (found == m_entries.end() || found->second.due == due) {
        return;
    }
    m_dues.erase({found->second.due, id});
    found->second.due = due;
    if (due != Clock::time_point::max()) {
        m_dues.emplace(due, id);
    }
}

void Loop::Turn() {
    m_epoll.Wait(m_dues.empty() ? -1 : MillisecondsUntil(m_dues.begin()->first), [this](Id id, std::uint32_t events) {
        const auto found = m_entries.find(id);
        if (found == m_entries.end()) {
            return; // removed by another event of this turn
        }
        if (const std::shared_ptr<Watched> watched = found->second.watched.lock()) {
            watched->OnEvents(events);
        }
    });
    HandleDue();
}

void Loop::End() {
    const std::map<Id, Entry> entries = m_entries; // which the calls remove
    for (const auto& [id, entry] : entries) {
        if (const std::shared_ptr<Watched> watched = entry.watched.lock()) {
            watched->OnEnd();
        }
    }
}

void Loop::HandleDue() {
    const Clock::time_point now = Clock::now();
    while (!m_dues.empty() && m_dues.begin()->first <= now) {
        Entry& entry = m_entries[m_dues.begin()->second];
        entry.due = Clock::time_point::max();
        m_dues.erase(m_dues.begin());
        if (const std::shared_ptr<Watched> watched = entry.watched.lock()) {
            watched->OnDue();
        }
    }
}

} // namespace ppsfs
