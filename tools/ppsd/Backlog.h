#ifndef TLG_TOOLS_PPSD_BACKLOG_H
#define TLG_TOOLS_PPSD_BACKLOG_H

#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "platform/pps/Object.h"

/// A packet, shared by all subscribers it waits for.
using Packet = std::shared_ptr<const std::string>;

/// What a subscriber has not taken yet. A delta subscriber's packets are kept in order up to a bound;
/// past it they are merged to the newest value of each attribute. A subscriber of whole states needs
/// the newest one only. Not thread-safe.
class Backlog {
public:
    /// Packets of more bytes than this are merged.
    static constexpr std::size_t kMaxBytes = 256U * 1024U;
    /// Where the names of merged attributes take more bytes than this, the whole state is told anew.
    static constexpr std::size_t kMaxNameBytes = 40U * 1024U;

    bool Empty() const { return m_packets.empty() && !m_merging && !m_stateDue; }

    /// Adds one group of a delta subscriber.
    void Add(Packet group);

    /// Notes that a subscriber of whole states has a new one to take.
    void AddState() { m_stateDue = true; }

    /// The next packet to send, made from the object as it is now where changes were merged.
    /// Only when not Empty(). The same packet comes back until it is taken.
    Packet Next(const pps::Object& object) const;

    /// Takes away what Next() gave.
    void Taken();

private:
    void MergeNames(std::string_view group);

    std::deque<Packet> m_packets;
    std::size_t m_bytes = 0;
    bool m_stateDue = false;
    bool m_merging = false;
    bool m_resync = false;  // deletions that nobody can name any more
    bool m_deleted = false; // the object was deleted meanwhile, and not made anew
    std::vector<std::string> m_names;
    std::unordered_set<std::string> m_known;
    std::size_t m_nameBytes = 0;
};

#endif
