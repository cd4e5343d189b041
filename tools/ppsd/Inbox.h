#ifndef TLG_TOOLS_PPSD_INBOX_H
#define TLG_TOOLS_PPSD_INBOX_H

#include <sys/socket.h>

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace ppsd {

/// Room for the packets that are read at once. It asks for more than one, so that the same system call also tells
/// whether more may wait: a client that wrote one packet costs one call, not a second one that finds nothing.
class Inbox {
public:
    static constexpr std::size_t kPackets = 4;

    Inbox() = default;
    ~Inbox() = default;
    Inbox(const Inbox&) = delete;
    Inbox& operator=(const Inbox&) = delete;

    /// Makes room for packets of at most @p size bytes; longer ones are cut. To be called before Receive().
    void Allocate(std::size_t size);

    /// Reads what waits at a socket, and does not wait for more. False with errno where there is nothing, or the
    /// connection is broken. At the end of a connection empty packets fill the rest of the room, so that it is full.
    bool Receive(int fd) noexcept;

    /// Whether more may wait.
    bool IsFull() const noexcept { return m_count == kPackets; }

    const std::string_view* begin() const noexcept { return m_packets.data(); }
    const std::string_view* end() const noexcept { return m_packets.data() + m_count; }

private:
    std::array<std::string, kPackets> m_room;
    std::array<iovec, kPackets> m_parts{};
    std::array<std::string_view, kPackets> m_packets;
    std::size_t m_count = 0;
};

} // namespace ppsd

#endif
