// Blocks that the simulated MCU receives: a packet holds what is there and what its header announces, and what is told
// of it is one line that ends with its payload.
#include <algorithm>
#include <cstdint>
#include <string>

#include "fuzz/Require.h"
#include "tools/mculink/Packet.h"

namespace {

void CheckLine(const std::string& line, const mculink::Bytes& payload) {
    Require(std::all_of(line.begin(), line.end(), [](char c) { return c >= ' ' && c <= '~'; }));
    const std::size_t begin = line.rfind('[');
    Require(begin != std::string::npos && line.back() == ']');
    const std::string bytes = line.substr(begin + 1, line.size() - begin - 2);
    Require(bytes.size() == (payload.empty() ? 0 : 3 * payload.size() - 1));
    for (std::size_t i = 0; i < payload.size(); ++i) {
        Require(std::stoi(bytes.substr(3 * i, 2), nullptr, 16) == payload[i]);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view block(reinterpret_cast<const char*>(data), size);
    mculink::Packet packet;
    Require(mculink::ParsePacket(block, packet) == (size >= sizeof packet.header));
    if (size < sizeof packet.header) {
        return 0;
    }
    const auto announced = static_cast<std::size_t>(std::max(packet.header.PacketSize, 0));
    Require(packet.payload.size() == std::min(size - sizeof packet.header, announced));
    CheckLine(mculink::Describe(packet), packet.payload);

    const mculink::Bytes made = mculink::MakePacket(packet.payload, packet.header.PacketNo);
    mculink::Packet again;
    Require(mculink::ParsePacket({reinterpret_cast<const char*>(made.data()), made.size()}, again));
    Require(again.payload == packet.payload && again.header.PacketNo == packet.header.PacketNo);
    return 0;
}
