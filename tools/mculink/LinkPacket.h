#ifndef TLG_TOOLS_MCULINK_LINKPACKET_H
#define TLG_TOOLS_MCULINK_LINKPACKET_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mculink {

/// As recordings number it.
enum class Direction : std::uint8_t { ToMcu = 0, FromMcu = 1 };

constexpr const char* WordOf(Direction direction) {
    return direction == Direction::ToMcu ? "to" : "from";
}

/// No packet is larger, in bytes: a header, and as much payload as one on a serial line may announce.
constexpr std::size_t kMaxPayload = 65536;

/// A packet that went over the link.
struct LinkPacket {
    std::chrono::nanoseconds time{0}; ///< since the epoch
    Direction direction = Direction::ToMcu;
    std::string block; ///< from the header on, as it came; may be damaged
};

/// The size in bytes, with the header, of the packet that a block begins with, as its header announces it: very large
/// where it announces less than 0. Nothing where the block is shorter than a header.
std::optional<std::size_t> AnnouncedSize(std::string_view block);

} // namespace mculink

#endif
