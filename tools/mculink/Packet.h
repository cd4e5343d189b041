#ifndef TLG_TOOLS_MCULINK_PACKET_H
#define TLG_TOOLS_MCULINK_PACKET_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "framework/McuPacket.h"

namespace mculink {

using Bytes = std::vector<std::uint8_t>;

/// A packet from the MCU: header and payload as they go over the device. Byte 0 of the payload is the
/// command id. The number is that of the command being answered, or 0.
Bytes MakePacket(const Bytes& payload, std::int32_t number);

/// The bytes as text.
inline std::string_view View(const Bytes& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// A received packet. The payload has the announced length, or is shorter where the block is.
struct Packet {
    TLG::ZOCAR::PacketHeader_s header{};
    Bytes payload;
};

/// False when the block is shorter than a header.
bool ParsePacket(std::string_view block, Packet& packet);

/// One line with every field of a packet, and its payload in hexadecimal.
std::string Describe(const Packet& packet);

/// Bytes in hexadecimal, with a blank between two.
std::string HexOf(const Bytes& bytes);

} // namespace mculink

#endif
