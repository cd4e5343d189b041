#include "tools/mculink/LinkPacket.h"

#include <cstring>

#include "framework/McuPacket.h"

namespace mculink {

std::optional<std::size_t> AnnouncedSize(std::string_view block) {
    TLG::ZOCAR::PacketHeader_s header{};
    if (block.size() < sizeof header) {
        return std::nullopt;
    }
    std::memcpy(&header, block.data(), sizeof header);
    // As unsigned, a negative size is a large one.
    return sizeof header + static_cast<std::uint32_t>(header.PacketSize);
}

} // namespace mculink
