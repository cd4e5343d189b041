#include "tools/mculink/PacketStream.h"

#include <cstddef>
#include <cstring>
#include <utility>

#include "framework/McuPacket.h"
#include "tools/mculink/LinkPacket.h"

namespace mculink {

using TLG::ZOCAR::PacketHeader_s;

void PacketStream::Add(std::string_view bytes) {
    m_bytes.erase(0, std::exchange(m_next, 0));
    m_bytes += bytes;
}

std::optional<std::string> PacketStream::Next() {
    while (const std::optional<std::size_t> size = AnnouncedSize(Waiting())) {
        if (!IsPlausible(*size)) {
            PassOver();
        } else if (Waiting().size() < *size) {
            break;
        } else {
            m_isLost = false;
            return m_bytes.substr(std::exchange(m_next, m_next + *size), *size);
        }
    }
    return std::nullopt;
}

/// After noise the command id has to make sense, too: the end of the noise and the beginning of a header are often a
/// size that does.
bool PacketStream::IsPlausible(std::size_t size) const {
    constexpr std::int32_t kLastCommand = 255;
    std::int32_t command = 0;
    std::memcpy(&command, Waiting().data() + offsetof(PacketHeader_s, Cmd), sizeof command);
    return size <= sizeof(PacketHeader_s) + kMaxPayload && (!m_isLost || (command >= 0 && command <= kLastCommand));
}

void PacketStream::PassOver() {
    ++m_next;
    ++m_passedOver;
    m_isLost = true;
}

void PacketStream::GiveUpWaiting() {
    if (IsWaiting()) {
        PassOver();
    }
}

} // namespace mculink
