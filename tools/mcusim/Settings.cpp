#include "tools/mcusim/Settings.h"

#include <algorithm>
#include <random>

namespace mcusim {

namespace {

/// Gives every field of a record some value that it accepts.
void Randomise(Record& record, std::mt19937& random) {
    const RecordLayout& layout = *LayoutOf(record.Type());
    mculink::ForEachField(
        layout, record.Payload().size(), [&](const RecordField& field, std::size_t /*byte*/, int entry) {
            const auto choices = static_cast<std::uint32_t>((field.range.max - field.range.min) / field.bits.unit + 1);
            int value = 0;
            do {
                value = field.range.min + static_cast<int>(random() % choices) * field.bits.unit;
            } while (!field.Allows(value, entry < 0 ? 0 : entry % layout.entries.perGroup));
            record.With(entry < 0 ? field.name : field.name + std::to_string(entry), value);
        });
}

/// Levels that the maximum allows, of a processor that is ready.
void LimitVolumes(Record& volumes, std::mt19937& random) {
    const int max = 30 + static_cast<int>(random() % 11);
    volumes.With("ic", 1).With("max", max);
    for (const char* level : {"main", "navi", "call", "voice", "max_power"}) {
        volumes.With(level, static_cast<int>(random() % static_cast<std::uint32_t>(max + 1)));
    }
}

Record FlatCurves() {
    Record curves(EQ);
    for (int i = 0; i < kEqTypeCount * kEqBandCount; ++i) {
        const int band = i % kEqBandCount;
        curves.Add({10, EQ_BAND_FC_MIN[band] + 1, 1});
    }
    return curves;
}

Record SourceGains(std::initializer_list<std::pair<int, int>> sources) {
    Record gains(SOURCE_GAIN);
    gains.With("count", static_cast<int>(sources.size()));
    for (const auto& [id, gain] : sources) {
        gains.Add({id, gain});
    }
    return gains;
}

} // namespace

Settings::Settings() {
    Record volumes(VOLUME_AND_FADE_BALANCE);
    volumes.With("ic", 1).With("main", 12).With("max", 40).With("navi", 18).With("call", 15).With("voice", 20);
    volumes.With("max_power", 30).With("ff", 12).With("fr", 12).With("bl", 12).With("br", 12);
    volumes.With("subwoofer_gain", 6).With("center_gain", 6);
    Record extended(EQ_EXPEND);
    extended.With("ext0", 10).With("ext1", 11).With("ext2", 12).With("ext3", 13);
    constexpr int kUsb = 3;
    constexpr int kRadio = 5;
    constexpr int kBluetoothAudio = 13;
    constexpr int kNavigation = 16;
    for (const Record& record :
         {volumes, FlatCurves(), SourceGains({{kUsb, 6}, {kRadio, 6}, {kBluetoothAudio, 5}, {kNavigation, 12}}),
          Record(LISTEN_POS), Record(AUDIO_SETTING).With("subwoofer", 1).With("filter", 2), Record(ALC).With("alc", 1),
          extended}) {
        m_records.emplace(record.Type(), record);
    }
}

Settings::Settings(std::uint32_t seed) : Settings() {
    std::mt19937 random(seed);
    Record& sources = m_records.at(SOURCE_GAIN);
    sources = SourceGains({});
    const int count = static_cast<int>(random() % 11);
    for (int id = 0; id < count; ++id) {
        sources.Add({id, static_cast<int>(random() % (kMaxSourceGain + 1))});
    }
    sources.With("count", count);
    for (auto& [type, record] : m_records) {
        if (type != SOURCE_GAIN) {
            Randomise(record, random);
        }
    }
    LimitVolumes(Volumes(), random);
    m_records.at(EQ).With("reserved", 0);
}

Bytes Settings::Answer(int group) const {
    const auto record = m_records.find(group);
    return record == m_records.end() ? Bytes() : record->second.Payload(kQueryAnswer);
}

bool Settings::Apply(const Bytes& payload) {
    if (payload.size() <= kRecordTypeByte || payload[1] != kControlRecordMark) {
        return false;
    }
    Record record(payload);
    const bool isCurves = record.Type() == EQ;
    // This MCU has all EQ types, and its commands name each of them.
    if (!record.IsAcceptable() || (isCurves && payload.size() != m_records.at(EQ).Payload().size())) {
        return false;
    }
    record.Unmarked();
    if (record.Type() == VOLUME_AND_FADE_BALANCE) {
        // The state of the audio processor and the maximum are the MCU's own.
        record.With("ic", Volumes().Get("ic")).With("max", Volumes().Get("max"));
    }
    m_records.at(record.Type()) = record;
    return true;
}

Bytes Settings::ReportOf(Record record, std::string_view marked) {
    return (marked.empty() ? record : record.Marked(marked)).Payload(kReport);
}

Bytes Settings::PressKey(const Bytes& payload) {
    constexpr std::uint8_t kMuteKey = 160;
    constexpr std::uint8_t kSystem = 0;
    constexpr std::uint8_t kSource = 4;
    if (payload.size() != 4 || payload[1] != kMuteKey || payload[2] > 1 ||
        (payload[3] != kSystem && payload[3] != kSource)) {
        return {};
    }
    return ReportOf(Volumes().With(payload[3] == kSystem ? "system_mute" : "source_mute", payload[2]), "main");
}

Bytes Settings::Mix(const Bytes& payload) {
    return payload.size() == 2 && payload[1] <= 1 ? Bytes{kAudioMixReport, payload[1]} : Bytes{};
}

} // namespace mcusim
