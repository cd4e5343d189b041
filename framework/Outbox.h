#ifndef TLG_FRAMEWORK_OUTBOX_H
#define TLG_FRAMEWORK_OUTBOX_H

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

namespace TLG::ZOCAR {

/// The packets to one file that wait for room, in order and bounded, and the account of those that were lost.
/// It says in the log when losses begin and when they end, not once for each packet. Not thread-safe.
class Outbox {
public:
    static constexpr std::size_t kMaxPackets = 1024;

    /// @param path names the file in the log
    explicit Outbox(std::string path) : m_path(std::move(path)) {}

    bool Empty() const { return m_packets.empty(); }

    /// Keeps a packet after those that wait; false, and the packet counts as lost, past the bound and where there is no
    /// memory.
    bool Keep(const unsigned char* data, std::size_t length);

    /// The packet to write next, or what is left of it. Only when not Empty().
    const std::vector<unsigned char>& Front() const { return m_packets.front(); }
    /// Notes that so many bytes of Front() were written.
    void Written(std::size_t length);

    /// Counts packets that can't be written.
    /// @param reason stands in the line that tells of the first one
    void CountLost(std::size_t count, const char* reason);
    /// Throws away what waits; it counts as lost.
    void Drop(const char* reason);
    /// Notes that nothing waits and the last write succeeded: losses, if there were any, have ended.
    void Recover();
    /// Throws away what waits, and says how many packets were lost in all: nothing more will be written.
    void End();

private:
    void SayLost(const char* what);

    std::string m_path;
    std::deque<std::vector<unsigned char>> m_packets;
    std::size_t m_lost = 0; // since losses began
};

} // namespace TLG::ZOCAR

#endif
