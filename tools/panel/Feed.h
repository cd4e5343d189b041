#ifndef TLG_TOOLS_PANEL_FEED_H
#define TLG_TOOLS_PANEL_FEED_H

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "tools/mculink/LinkPacket.h"
#include "tools/ppsd/Object.h"

namespace panel {

/// What pages show: the objects as they are now, and the packets of the link, as far back as there is room. Each page
/// has its own place in it, so that a slow one delays nobody. Any thread may call it.
class Feed {
public:
    /// The packets that are kept, of which a page may be behind: a minute's at 2,000 a second.
    static constexpr std::size_t kMaxPackets = 131072;
    /// The changes that are kept, in bytes of JSON. A page that is further behind gets the objects' states.
    static constexpr std::size_t kMaxChangeBytes = 4U << 20U;

    /// How far a page has read.
    struct Place {
        std::optional<std::uint64_t> packet; ///< number of the next packet; nothing: the first that is kept
        std::uint64_t change = 0;            ///< number of the next change
        std::uint64_t peers = 0;             ///< the state of the peers that it has
        bool hasObjects = false;             ///< whether it has the objects' states
    };

    /// Takes in what an object's subscriber reads, from its state on.
    void AddText(const std::string& path, std::string_view text);

    /// @param json the packet as pages get it
    void AddPacket(const mculink::LinkPacket& packet, std::string json);

    /// @param json who is there, as a JSON object
    void SetPeers(const std::string& json);

    /// @param text what is wrong with the recording of the link, for people; empty: nothing
    void SetLink(const std::string& text);

    /// The next update for a page, as JSON: what is new since its place, which it then has. It waits up to @p limit for
    /// something new, and returns an empty text without.
    ///
    ///   {"first": N, "packets": [..], "lost": N, "objects": [..], "states": [..], "peers": {..}, "link": TEXT}
    ///
    /// "first" is the number of the first packet, "lost" the number of those that went by before the page read them.
    /// "states" are the whole objects, for a page that is new or was far behind.
    std::string Next(Place& place, std::chrono::milliseconds limit);

    /// A packet by its number; nothing where it is not kept any more.
    std::optional<mculink::LinkPacket> PacketOf(std::uint64_t number) const;

    /// Ends all waits, from now on.
    void Stop();
    bool IsStopped() const;

private:
    struct Packet {
        mculink::LinkPacket packet;
        std::string json;
    };

    bool HasNews(const Place& place) const;
    void AppendPackets(std::string& json, Place& place) const;
    void AppendObjects(std::string& json, Place& place) const;

    mutable std::mutex m_mutex;
    std::condition_variable m_isNew;
    bool m_isStopped = false;
    std::map<std::string, ppsd::Object> m_objects; // by their paths
    std::deque<std::string> m_changes;             // as JSON
    std::uint64_t m_firstChange = 0;               // the number of the first one kept
    std::size_t m_changeBytes = 0;
    std::deque<Packet> m_packets;
    std::uint64_t m_firstPacket = 0;
    std::string m_peers = "{}";
    std::string m_link;
    std::uint64_t m_peersNumber = 1;
};

} // namespace panel

#endif
