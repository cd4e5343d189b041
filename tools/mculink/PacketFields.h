#ifndef TLG_TOOLS_MCULINK_PACKETFIELDS_H
#define TLG_TOOLS_MCULINK_PACKETFIELDS_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tools/mculink/Packet.h"

namespace mculink {

/// A field of a packet's payload.
struct NamedField {
    std::string group; ///< what it belongs to, such as the curve "type_3"; empty for most
    std::string name;
    int value = 0;
    bool isMarked = false; ///< a volume with the change mark
    std::size_t byte = 0;  ///< where in the payload

    std::string WholeName() const { return group.empty() ? name : group + "." + name; }
};

/// What a payload says.
struct PacketFields {
    std::string command; ///< a word for its kind, such as "report"; "unknown" for other ids
    std::string record;  ///< the name of the setting record; empty where it holds none
    std::vector<NamedField> fields;
    bool isCut = false; ///< the payload ends before its last field
};

PacketFields FieldsOf(const Packet& packet);

/// The words for the kinds of packets, and the names of the records.
std::vector<std::string> CommandWords();
std::vector<std::string> RecordWords();

/// The fields as text, each after a blank. A star after a value is the change mark.
/// @param former values of the record's fields before; where given, one that changed is printed as "name=old>new"
std::string TextOf(const PacketFields& packet, const PacketFields* former = nullptr);

} // namespace mculink

#endif
