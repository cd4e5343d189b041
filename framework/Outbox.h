#ifndef TLG_FRAMEWORK_OUTBOX_H
#define TLG_FRAMEWORK_OUTBOX_H

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

namespace TLG::ZOCAR {

/// The packets to one file that wait for room, in order and bounded, and the number of those that were lost.
/// It logs when losses begin and when they end, not once for each packet. Not thread-safe.
class Outbox {
public:
    static constexpr std::size_t kMaxPackets = 1024;

    /// @param path names the file in the log
    explicit Outbox(std::string path) : m_path(std::move(path)) {}

    bool Empty() const { return m_packets.empty(); }

    /// Keeps a packet after those that wait. False where the bound is reached or there is no memory; then the packet
    /// counts as lost.
    bool Keep(const unsigned char* data, std::size_t length);

    /// The packet to write next, or what is left of it. Only when not Empty().
    const std::vector<unsigned char>& Front() const { return m_packets.front(); }
    /// Notes that @p length bytes of Front() were written.
    void Written(std::size_t length);

    /// Counts packets that can't be written.
    /// @param reason is logged with the first one
    void CountLost(std::size_t count, const char* reason);
    /// Throws away the waiting packets; they count as lost.
    void Drop(const char* reason);
    /// Notes that nothing waits and the last write succeeded: losses, if there were any, have ended.
    void Recover();
    /// Throws away the waiting packets and logs how many were lost in all, since nothing more will be written.
    void Close();

private:
    void SayLost(const char* what);

    std::string m_path;
    std::deque<std::vector<unsigned char>> m_packets;
    std::size_t m_lost = 0; // since losses began
};

} // namespace TLG::ZOCAR

#endif
