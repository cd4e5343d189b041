#include "tools/panel/PacketDetail.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>

#include "framework/McuPacket.h"
#include "model/RecordFields.h"
#include "tools/mculink/PacketFields.h"

namespace panel {

namespace {

using Header = TLG::ZOCAR::PacketHeader_s;

struct HeaderNumber {
    const char* name;
    std::size_t byte;
};
constexpr HeaderNumber kHeader[] = {
    {"PacketSize", offsetof(Header, PacketSize)}, {"Cmd", offsetof(Header, Cmd)},
    {"Reply", offsetof(Header, Reply)},           {"Report", offsetof(Header, Report)},
    {"Fixed", offsetof(Header, Fixed)},           {"Fixed", offsetof(Header, Fixed) + sizeof(std::int32_t)},
    {"PacketNo", offsetof(Header, PacketNo)}};

void AppendLine(std::string& text, std::size_t at, const mculink::Bytes& bytes, const std::string& meaning) {
    std::array<char, 32> head{};
    std::snprintf(head.data(), head.size(), "%4zu  %-11s", at, mculink::HexOf(bytes).c_str());
    text.append(head.data()).append("  ").append(meaning).append("\n");
}

/// What a byte of the payload says.
std::string MeaningOf(std::size_t byte, const mculink::PacketFields& packet) {
    std::string meaning = byte == 0 ? packet.command : byte == kRecordTypeByte ? packet.record : "";
    for (const mculink::NamedField& field : packet.fields) {
        if (field.byte == byte) {
            meaning += (meaning.empty() ? "" : "  ") + field.WholeName() + "=" + std::to_string(field.value) +
                       (field.isMarked ? "*" : "");
        }
    }
    return meaning;
}

} // namespace

std::string DetailOf(const mculink::LinkPacket& packet) {
    mculink::Packet parsed;
    std::string text = "header\n";
    if (!mculink::ParsePacket(packet.block, parsed)) {
        AppendLine(text, 0, {packet.block.begin(), packet.block.end()}, "shorter than a header");
        return text;
    }
    for (const HeaderNumber& number : kHeader) {
        const auto at = packet.block.begin() + static_cast<std::ptrdiff_t>(number.byte);
        std::int32_t value = 0;
        std::copy_n(at, sizeof value, reinterpret_cast<char*>(&value));
        AppendLine(text, number.byte, {at, at + sizeof value}, std::string(number.name) + " " + std::to_string(value));
    }
    text += "payload\n";
    const mculink::PacketFields fields = mculink::FieldsOf(parsed);
    for (std::size_t byte = 0; byte < parsed.payload.size(); ++byte) {
        AppendLine(text, byte, {parsed.payload[byte]}, MeaningOf(byte, fields));
    }
    return text;
}

} // namespace panel
