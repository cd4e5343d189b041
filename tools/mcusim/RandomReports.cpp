#include "tools/mcusim/RandomReports.h"

#include <cstring>

#include "tools/mculink/Record.h"

namespace mcusim {

/// Mostly a value that the field accepts, sometimes any value of its bits. Volumes are often marked.
int RandomReports::Value(const RecordField& field, int band) {
    if (Below(40) == 0) {
        return Below(256);
    }
    const int choices = (field.range.max - field.range.min) / field.bits.unit + 1;
    int value = 0;
    do {
        // Levels that are often below the maximum, and often the same as before.
        value = field.range.min + Below(field.bits.isVolume ? 45 : choices) * field.bits.unit;
    } while (!field.Allows(value, band));
    return value;
}

/// A record of the layout's type with some number of entries.
Bytes RandomReports::RecordOf(const RecordLayout& layout) {
    mculink::Record record(layout.type);
    const int groups = layout.entries.fields.IsEmpty() ? 0 : Below(layout.entries.maxGroups + 3);
    for (int entry = 0; entry < groups * layout.entries.perGroup; ++entry) {
        for (const RecordField& field : layout.entries.fields) {
            record.Add({Value(field, entry % layout.entries.perGroup)});
        }
    }
    for (const RecordField& field : layout.fields) {
        record.With(field.name, field.name == std::string_view("count") ? groups : Value(field, 0));
        if (field.bits.isVolume && Below(6) == 0) {
            record.Marked(field.name);
        }
    }
    return record.Payload(Below(4) == 0 ? kQueryAnswer : kReport);
}

/// Changes a byte, cuts the end off or adds to it.
void RandomReports::Damage(Bytes& payload) {
    switch (Below(3)) {
    case 0:
        payload[static_cast<std::size_t>(Below(static_cast<int>(payload.size())))] = Byte(256);
        break;
    case 1:
        payload.resize(static_cast<std::size_t>(Below(static_cast<int>(payload.size()) + 1)));
        break;
    default:
        payload.push_back(Byte(256));
        break;
    }
}

Bytes RandomReports::Next() {
    const RecordLayout& layout = kRecordLayouts[Below(static_cast<int>(std::size(kRecordLayouts)))];
    Bytes payload = Below(10) == 0 ? Bytes{kAudioMixReport, Byte(3)} : RecordOf(layout);
    if (Below(4) == 0) {
        Damage(payload);
    }
    Bytes packet = mculink::MakePacket(payload, 0);
    if (Below(20) == 0) {
        // A header with a wrong payload length, or a block that is shorter than a header.
        if (Below(2) == 0) {
            const std::int32_t lie = Below(600) - 200;
            std::memcpy(packet.data(), &lie, sizeof lie);
        } else {
            packet.resize(1 + static_cast<std::size_t>(Below(static_cast<int>(packet.size()))));
        }
    }
    return packet;
}

} // namespace mcusim
