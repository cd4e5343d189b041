#include "tools/mculink/Packet.h"

#include <algorithm>
#include <cstring>

#include "model/McuCommands.h"
#include "tools/mculink/Record.h"

namespace mculink {

namespace {

using TLG::ZOCAR::PacketHeader_s;

/// The name of a field and its value. A star after it stands for the change mark of a volume.
std::string FieldText(const std::string& name, const RecordField& field, std::uint8_t content) {
    return " " + name + "=" + std::to_string(field.ValueIn(content)) + (field.IsMarked(content) ? "*" : "");
}

/// The fields of a record; " (cut)" where the payload ends within it.
std::string DescribeRecord(const Bytes& payload) {
    const RecordLayout* layout = payload.size() <= kRecordTypeByte ? nullptr : LayoutOf(payload[kRecordTypeByte]);
    if (layout == nullptr) {
        return " unknown-record";
    }
    std::string text = " " + std::string(layout->name);
    bool isCut = false;
    ForEachField(*layout, payload.size(), [&](const RecordField& field, std::size_t byte, int entry) {
        const bool isOfBand = entry >= 0 && layout->entries.perGroup > 1;
        if (isOfBand && field.byte == 0 && entry % layout->entries.perGroup == 0) {
            text += " type_" + std::to_string(entry / layout->entries.perGroup);
        }
        if (byte >= payload.size()) {
            text += isCut ? "" : " (cut)";
            isCut = true;
            return;
        }
        const std::string band = isOfBand ? std::to_string(entry % layout->entries.perGroup + 1) : "";
        text += FieldText(field.name + band, field, payload[byte]);
    });
    return text;
}

/// The bytes of a payload that is not a record, each with its name.
std::string DescribeBytes(const Bytes& payload, std::initializer_list<const char*> names) {
    std::string text;
    std::size_t byte = 1;
    for (const char* name : names) {
        if (byte >= payload.size()) {
            return text + " (cut)";
        }
        text.append(" ").append(name).append("=").append(std::to_string(payload[byte++]));
    }
    return text;
}

std::string DescribePayload(const PacketHeader_s& header, const Bytes& payload) {
    switch (header.Cmd) {
    case kControlCommand:
        return "control" + DescribeRecord(payload);
    case kQueryAnswer:
        return "answer" + DescribeRecord(payload);
    case kReport:
        return "report" + DescribeRecord(payload);
    case kQueryCommand:
        return "query" + DescribeBytes(payload, {"group"});
    case kKeyCommand:
        return "key" + DescribeBytes(payload, {"key", "mute", "type"});
    case kAudioMixCommand:
        return "audio-mix" + DescribeBytes(payload, {"mix"});
    case kAcknowledgement:
        return "acknowledgement" + DescribeBytes(payload, {"status"});
    case kAudioMixReport:
        return "audio-mix-report" + DescribeBytes(payload, {"mix"});
    default:
        return "unknown";
    }
}

} // namespace

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
    text += DescribePayload(packet.header, packet.payload) + " [";
    static constexpr char kDigits[] = "0123456789abcdef";
    for (std::size_t i = 0; i < packet.payload.size(); ++i) {
        text.append(i == 0 ? "" : " ");
        text += kDigits[packet.payload[i] >> 4];
        text += kDigits[packet.payload[i] & 0xF];
    }
    return text + "]";
}

} // namespace mculink
