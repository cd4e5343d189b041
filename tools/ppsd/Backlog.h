#ifndef TLG_TOOLS_PPSD_BACKLOG_H
#define TLG_TOOLS_PPSD_BACKLOG_H

#include <cstddef>
#include <deque>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>

#include "tools/ppsd/Object.h"

namespace ppsd {

/// A packet, shared by all subscribers it waits for.
using Packet = std::shared_ptr<const std::string>;

/// What waits to be sent to a subscriber. A delta subscriber's packets are kept in order up to a bound. Past it they
/// are merged to the newest value of each attribute. Where even the names are too many, or memory runs out, the whole
/// state is sent again. A subscriber of whole states needs the newest one only. Not thread-safe.
class Backlog {
public:
    /// Packets of more bytes than this are merged.
    static constexpr std::size_t kMaxBytes = 256U * 1024U;
    /// Where the names of merged attributes take more bytes than this, the whole state is sent again.
    static constexpr std::size_t kMaxNameBytes = 40U * 1024U;

    bool Empty() const noexcept { return m_packets.empty() && !m_merging && !m_stateDue; }

    /// Adds one group of a delta subscriber.
    ///
    /// @param limit the number of bytes up to which Cost() may grow
    void Add(const Packet& group, std::size_t limit = kUnlimited) noexcept;

    /// Notes that a delta subscriber missed a group that could not be made.
    ///
    /// @param mark how the group would have begun: '+', '-', '#', or anything else for a plain change
    void Lose(char mark) noexcept;

    /// Notes that the state has changed, for a subscriber of whole states.
    void AddState() noexcept { m_stateDue = true; }

    /// The next packet to send. Where changes were merged, it is made from the object as it is now. Only when not
    /// Empty(). It stays the next one until RemoveNext().
    ///
    /// @param scratch holds the packet where it has to be made; its memory suffices for the largest packet
    std::string_view Next(const Object& object, std::string& scratch) const;

    /// Removes the packet that Next() returned.
    void RemoveNext() noexcept;

    /// The approximate number of bytes of memory it takes. A shared packet counts in full for each subscriber.
    std::size_t Cost() const noexcept { return m_bytes + m_packets.size() * kPacketCost + NameCost(); }

private:
    static constexpr std::size_t kPacketCost = 96;
    static constexpr std::size_t kNameCost = 128;

    std::size_t NameCost() const noexcept { return m_nameBytes + m_names.size() * kNameCost; }
    bool Keep(const Packet& group, std::size_t limit);
    void Note(char mark) noexcept;
    void Merge(std::string_view group, std::size_t limit);
    void Resynchronise() noexcept;
    void ClearPackets() noexcept;
    void ClearNames() noexcept;

    std::deque<Packet> m_packets;
    std::size_t m_bytes = 0;
    bool m_stateDue = false;
    bool m_merging = false;
    bool m_resync = false;  // the whole state is to be sent again
    bool m_deleted = false; // the object was deleted meanwhile, and not made again
    std::list<std::string> m_names;
    std::unordered_set<std::string_view> m_known; // points into m_names
    std::size_t m_nameBytes = 0;
};

} // namespace ppsd

#endif
