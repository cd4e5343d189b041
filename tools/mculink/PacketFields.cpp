#include "tools/mculink/PacketFields.h"

#include <algorithm>
#include <iterator>

#include "model/McuCommands.h"
#include "tools/mculink/Record.h"

namespace mculink {

namespace {

/// A kind of packet: its id, the word for it, and the names of its bytes where they are no record.
struct Kind {
    McuCommand id;
    const char* word;
    bool hasRecord;
    std::vector<const char*> bytes;
};

const std::vector<Kind>& Kinds() {
    static const std::vector<Kind> kinds{{kControlCommand, "control", true, {}},
                                         {kQueryCommand, "query", false, {"group"}},
                                         {kKeyCommand, "key", false, {"key", "mute", "type"}},
                                         {kAudioMixCommand, "audio-mix", false, {"mix"}},
                                         {kAcknowledgement, "acknowledgement", false, {"status"}},
                                         {kQueryAnswer, "answer", true, {}},
                                         {kReport, "report", true, {}},
                                         {kKeyAcknowledgement, "key-acknowledgement", false, {}},
                                         {kAudioMixReport, "audio-mix-report", false, {"mix"}}};
    return kinds;
}

constexpr const char* kUnknown = "unknown";
constexpr const char* kUnknownRecord = "unknown-record";

void AddRecord(const Bytes& payload, PacketFields& packet) {
    const RecordLayout* layout = payload.size() <= kRecordTypeByte ? nullptr : LayoutOf(payload[kRecordTypeByte]);
    packet.record = layout == nullptr ? kUnknownRecord : layout->name;
    if (layout == nullptr) {
        return;
    }
    const int perGroup = layout->entries.perGroup;
    ForEachField(*layout, payload.size(), [&](const RecordField& field, std::size_t byte, int entry) {
        if (byte >= payload.size()) {
            packet.isCut = true;
            return;
        }
        const bool isOfBand = entry >= 0 && perGroup > 1;
        packet.fields.push_back({isOfBand ? "type_" + std::to_string(entry / perGroup) : "",
                                 field.name + (isOfBand     ? std::to_string(entry % perGroup + 1)
                                               : entry >= 0 ? std::to_string(entry)
                                                            : ""),
                                 field.ValueIn(payload[byte]), field.IsMarked(payload[byte]), byte});
    });
}

void AddBytes(const Bytes& payload, const std::vector<const char*>& names, PacketFields& packet) {
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (i + 1 >= payload.size()) {
            packet.isCut = true;
            return;
        }
        packet.fields.push_back({"", names[i], payload[i + 1], false, i + 1});
    }
}

const NamedField* Find(const PacketFields& packet, const NamedField& wanted) {
    const auto found = std::find_if(packet.fields.begin(), packet.fields.end(), [&wanted](const NamedField& field) {
        return field.name == wanted.name && field.group == wanted.group;
    });
    return found == packet.fields.end() ? nullptr : &*found;
}

} // namespace

PacketFields FieldsOf(const Packet& packet) {
    PacketFields fields;
    const auto kind = std::find_if(Kinds().begin(), Kinds().end(),
                                   [&packet](const Kind& each) { return each.id == packet.header.Cmd; });
    if (kind == Kinds().end()) {
        fields.command = kUnknown;
        return fields;
    }
    fields.command = kind->word;
    if (kind->hasRecord) {
        AddRecord(packet.payload, fields);
    } else {
        AddBytes(packet.payload, kind->bytes, fields);
    }
    return fields;
}

std::vector<std::string> CommandWords() {
    std::vector<std::string> words;
    for (const Kind& kind : Kinds()) {
        words.emplace_back(kind.word);
    }
    words.emplace_back(kUnknown);
    return words;
}

std::vector<std::string> RecordWords() {
    std::vector<std::string> words;
    for (const RecordLayout& layout : kRecordLayouts) {
        words.emplace_back(layout.name);
    }
    words.emplace_back(kUnknownRecord);
    return words;
}

std::string TextOf(const PacketFields& packet, const PacketFields* former) {
    std::string text;
    std::string group;
    for (const NamedField& field : packet.fields) {
        if (field.group != group) {
            group = field.group;
            text.append(" ").append(group);
        }
        text.append(" ").append(field.name).append("=");
        const NamedField* before = former == nullptr ? nullptr : Find(*former, field);
        if (before != nullptr && before->value != field.value) {
            text.append(std::to_string(before->value)).append(">");
        }
        text.append(std::to_string(field.value)).append(field.isMarked ? "*" : "");
    }
    return text + (packet.isCut ? " (cut)" : "");
}

} // namespace mculink
