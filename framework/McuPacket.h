// A packet on the MCU device, all fields little-endian:
//
//   bytes      field
//   0 to 3     PacketSize   payload length in bytes, header not included
//   4 to 7     Cmd          command id, repeated in payload byte 0
//   8 to 11    Reply        command id with which the receiver answers
//   12 to 15   Report       138 for key commands, which a report follows; otherwise 0
//   16 to 23   Fixed        always 200, then 3
//   24 to 27   PacketNo     1 and up; 0 for packets that are not numbered
//   28 onward  payload      PacketSize bytes, at most 252
#ifndef TLG_FRAMEWORK_MCUPACKET_H
#define TLG_FRAMEWORK_MCUPACKET_H

#include <cstdint>

namespace TLG::ZOCAR {

struct PacketHeader_s {
    std::int32_t PacketSize;
    std::int32_t Cmd;
    std::int32_t Reply;
    std::int32_t Report;
    std::int32_t Fixed[2];
    std::int32_t PacketNo;
};

constexpr int kMcuHeaderSize = 28;
constexpr int kMcuPayloadSize = 252;

/// One whole packet: the transmit buffer, and the record of a sent packet kept until acknowledged.
struct SendPacket_s {
    PacketHeader_s Header;
    unsigned char Payload[kMcuPayloadSize];
};

static_assert(sizeof(PacketHeader_s) == kMcuHeaderSize);
static_assert(sizeof(SendPacket_s) == kMcuHeaderSize + kMcuPayloadSize);
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "headers are copied to and from the device as they are");

} // namespace TLG::ZOCAR

#endif
