#ifndef TLG_TOOLS_MCULINK_PACKETSTREAM_H
#define TLG_TOOLS_MCULINK_PACKETSTREAM_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace mculink {

/// Puts packets together from a stream of bytes that may be cut anywhere. A header that announces less than 0 or more
/// than kMaxPayload bytes is noise: bytes are passed over, one at a time, until a header makes sense again.
class PacketStream {
public:
    void Add(std::string_view bytes);

    /// The next whole packet, if there is one. To be called until there is none.
    std::optional<std::string> Next();

    /// Whether the first bytes of a packet wait for its rest.
    bool IsWaiting() const { return m_next < m_bytes.size(); }

    /// The rest did not come: passes over the first byte of what waits, so that a packet among the others is found.
    void GiveUpWaiting();

    /// How many bytes were passed over since this was asked before.
    std::size_t TakePassedOver() { return std::exchange(m_passedOver, 0); }

private:
    std::string_view Waiting() const { return std::string_view(m_bytes).substr(m_next); }
    bool IsConvincing(std::size_t size) const;
    void PassOver();

    std::string m_bytes;
    std::size_t m_next = 0; // the first byte that is not used yet
    std::size_t m_passedOver = 0;
    bool m_isLost = false; // the last bytes were noise
};

} // namespace mculink

#endif
