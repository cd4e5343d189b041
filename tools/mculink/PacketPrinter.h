#ifndef TLG_TOOLS_MCULINK_PACKETPRINTER_H
#define TLG_TOOLS_MCULINK_PACKETPRINTER_H

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tools/mculink/LinkPacket.h"
#include "tools/mculink/PacketFields.h"

namespace mculink {

enum class TimeStyle {
    Absolute, ///< seconds since the epoch
    Delta,    ///< seconds since the line before
    Relative, ///< seconds since the first packet
};

struct PrintOptions {
    TimeStyle time = TimeStyle::Absolute;
    std::vector<std::string> only;   ///< words; where there are some of a kind, a packet must have one of them
    std::vector<std::string> except; ///< words that a packet must not have
    bool changes = false;            ///< marks the fields that changed since the last packet of the record
    bool bytes = false;              ///< the whole header, and the payload in hexadecimal
    bool json = false;
};

/// Makes a line of each packet.
class PacketPrinter {
public:
    explicit PacketPrinter(PrintOptions options) : m_options(std::move(options)) {}

    /// The line without its end; nothing where the packet is not to be printed.
    std::optional<std::string> LineOf(const LinkPacket& packet);

    /// The words that choose packets: "to" and "from", commands, records, "damaged".
    static std::vector<std::string> Words();

private:
    bool IsChosen(const LinkPacket& packet, const PacketFields& fields, bool isDamaged) const;
    std::string TimeText(std::chrono::nanoseconds time);
    std::string Json(const LinkPacket& packet, const Packet& parsed, const PacketFields& fields, bool isDamaged) const;

    PrintOptions m_options;
    std::map<std::string, PacketFields> m_former; // the last fields of each record
    std::optional<std::chrono::nanoseconds> m_first;
    std::chrono::nanoseconds m_last{0};
};

} // namespace mculink

#endif
