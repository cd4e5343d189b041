#include "tools/mculink/PacketPrinter.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <utility>

#include "tools/common/Time.h"

namespace mculink {

namespace {

constexpr const char* kDamaged = "damaged";

bool Has(const std::vector<std::string>& words, const std::string& word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

/// Whether the words allow for this one: it is among them, or none of them is of its kind.
bool Allow(const std::vector<std::string>& words, const std::vector<std::string>& kind, const std::string& word) {
    const bool isAsked =
        std::any_of(words.begin(), words.end(), [&kind](const std::string& each) { return Has(kind, each); });
    return !isAsked || Has(words, word);
}

/// Whether the block is not what its header says.
bool IsDamaged(std::string_view block, const Packet& parsed, const PacketFields& fields) {
    return block.size() < sizeof parsed.header ||
           static_cast<std::size_t>(parsed.header.PacketSize) != parsed.payload.size() || fields.isCut ||
           (!parsed.payload.empty() && parsed.payload[0] != parsed.header.Cmd);
}

using JsonWriter = rapidjson::Writer<rapidjson::StringBuffer>;

void Member(JsonWriter& json, const char* name, const std::string& value) {
    json.Key(name);
    json.String(value.c_str());
}

void Member(JsonWriter& json, const char* name, int value) {
    json.Key(name);
    json.Int(value);
}

} // namespace

std::vector<std::string> PacketPrinter::Words() {
    std::vector<std::string> words{"to", "from", kDamaged};
    for (const auto& more : {CommandWords(), RecordWords()}) {
        words.insert(words.end(), more.begin(), more.end());
    }
    return words;
}

bool PacketPrinter::IsChosen(const LinkPacket& packet, const PacketFields& fields, bool isDamaged) const {
    const std::string direction = WordOf(packet.direction);
    const auto& only = m_options.only;
    const auto& except = m_options.except;
    return Allow(only, {"to", "from"}, direction) && Allow(only, CommandWords(), fields.command) &&
           Allow(only, RecordWords(), fields.record) && (isDamaged || !Has(only, kDamaged)) &&
           !Has(except, direction) && !Has(except, fields.command) && !Has(except, fields.record) &&
           !(isDamaged && Has(except, kDamaged));
}

std::string PacketPrinter::TimeText(std::chrono::nanoseconds time) {
    const std::chrono::nanoseconds first = m_first.value_or(time);
    const std::chrono::nanoseconds last = m_first ? m_last : time;
    m_first = first;
    m_last = time;
    return SecondsText(m_options.time == TimeStyle::Absolute ? time
                       : m_options.time == TimeStyle::Delta  ? time - last
                                                             : time - first);
}

std::optional<std::string> PacketPrinter::LineOf(const LinkPacket& packet) {
    Packet parsed;
    const bool hasHeader = ParsePacket(packet.block, parsed);
    const PacketFields fields = hasHeader ? FieldsOf(parsed) : PacketFields{"unknown", "", {}, false};
    const bool isDamaged = IsDamaged(packet.block, parsed, fields);
    // What is not printed is a former value, too.
    PacketFields& kept = m_former[fields.record];
    const PacketFields former = std::exchange(kept, fields.record.empty() ? PacketFields{} : fields);
    if (!IsChosen(packet, fields, isDamaged)) {
        return std::nullopt;
    }
    if (m_options.json) {
        return Json(packet, parsed, fields, isDamaged);
    }
    std::string line = TimeText(packet.time) + (packet.direction == Direction::ToMcu ? " to   " : " from ");
    if (!hasHeader) {
        return line + kDamaged + ": " + std::to_string(packet.block.size()) + " bytes, less than a header";
    }
    if (m_options.bytes) {
        line += Describe(parsed);
    } else {
        line += parsed.header.PacketNo == 0 ? "" : "#" + std::to_string(parsed.header.PacketNo) + " ";
        line += fields.command + (fields.record.empty() ? "" : " " + fields.record) +
                TextOf(fields, m_options.changes ? &former : nullptr);
    }
    return line + (isDamaged ? " " + std::string(kDamaged) : "");
}

std::string PacketPrinter::Json(const LinkPacket& packet, const Packet& parsed, const PacketFields& fields,
                                bool isDamaged) const {
    rapidjson::StringBuffer text;
    JsonWriter json(text);
    json.StartObject();
    json.Key("time");
    const std::string time = SecondsText(packet.time);
    json.RawValue(time.data(), time.size(), rapidjson::kNumberType);
    Member(json, "direction", WordOf(packet.direction));
    if (packet.block.size() >= sizeof parsed.header) {
        Member(json, "no", parsed.header.PacketNo);
        Member(json, "size", parsed.header.PacketSize);
        Member(json, "cmd", parsed.header.Cmd);
        Member(json, "reply", parsed.header.Reply);
        Member(json, "report", parsed.header.Report);
        Member(json, "command", fields.command);
    }
    if (!fields.record.empty()) {
        Member(json, "record", fields.record);
    }
    json.Key("fields");
    json.StartObject();
    for (const NamedField& field : fields.fields) {
        Member(json, field.WholeName().c_str(), field.value);
    }
    json.EndObject();
    json.Key("marked");
    json.StartArray();
    for (const NamedField& field : fields.fields) {
        if (field.isMarked) {
            json.String(field.WholeName().c_str());
        }
    }
    json.EndArray();
    Member(json, "payload", HexOf(parsed.payload));
    json.Key(kDamaged);
    json.Bool(isDamaged);
    json.EndObject();
    return text.GetString();
}

} // namespace mculink
