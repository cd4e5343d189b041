#include "tools/mculink/Packet.h"

#include <algorithm>
#include <cstring>

#include "tools/mculink/PacketFields.h"

namespace mculink {

using TLG::ZOCAR::PacketHeader_s;

Bytes MakePacket(const Bytes& payload, std::int32_t number) {
    const PacketHeader_s header{
        static_cast<std::int32_t>(payload.size()), payload.empty() ? 0 : payload[0], 0, 0, {200, 3}, number};
    Bytes packet(sizeof header + payload.size());
    std::memcpy(packet.data(), &header, sizeof header);
    std::copy(payload.begin(), payload.end(), packet.begin() + sizeof header);
    return packet;
}

bool ParsePacket(std::string_view block, Packet& packet) {
    if (block.size() < sizeof packet.header) {
        return false;
    }
    std::memcpy(&packet.header, block.data(), sizeof packet.header);
    const std::size_t there = block.size() - sizeof packet.header;
    const auto announced = static_cast<std::size_t>(std::max(packet.header.PacketSize, 0));
    const auto* payload = reinterpret_cast<const std::uint8_t*>(block.data()) + sizeof packet.header;
    packet.payload.assign(payload, payload + std::min(there, announced));
    return true;
}

std::string Describe(const Packet& packet) {
    std::string text = "no=" + std::to_string(packet.header.PacketNo);
    text += " size=" + std::to_string(packet.header.PacketSize);
    text += " cmd=" + std::to_string(packet.header.Cmd);
    text += " reply=" + std::to_string(packet.header.Reply) + "," + std::to_string(packet.header.Report) + "," +
            std::to_string(packet.header.Fixed[0]) + "," + std::to_string(packet.header.Fixed[1]) + " ";
    const PacketFields fields = FieldsOf(packet);
    text += fields.command + (fields.record.empty() ? "" : " " + fields.record) + TextOf(fields);
    return text + " [" + HexOf(packet.payload) + "]";
}

std::string HexOf(const Bytes& bytes) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        text.append(i == 0 ? "" : " ");
        text += kDigits[bytes[i] >> 4];
        text += kDigits[bytes[i] & 0xF];
    }
    return text;
}

} // namespace mculink
