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
        const bool isPossible = *size <= sizeof(PacketHeader_s) + kMaxPayload;
        if (isPossible && Waiting().size() < (m_isLost ? sizeof(PacketHeader_s) + 1 : *size)) {
            break;
        }
        if (!isPossible || (m_isLost && !IsConvincing(*size))) {
            PassOver();
            continue;
        }
        if (Waiting().size() < *size) {
            break;
        }
        m_isLost = false;
        return m_bytes.substr(std::exchange(m_next, m_next + *size), *size);
    }
    return std::nullopt;
}

/// After noise a size is not enough: the end of the noise and the beginning of a header are often one that makes sense.
/// The command id has to be there, and again as the first byte of the payload.
bool PacketStream::IsConvincing(std::size_t size) const {
    std::int32_t command = 0;
    std::memcpy(&command, Waiting().data() + offsetof(PacketHeader_s, Cmd), sizeof command);
    const auto first = static_cast<unsigned char>(Waiting()[sizeof(PacketHeader_s)]);
    return size > sizeof(PacketHeader_s) && command != 0 && command == first;
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
