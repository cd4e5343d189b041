// The setting records, field by field, in the order of their bytes: the one place that knows where a field is. What
// builds, decodes, checks, prints or simulates a record walks these tables or finds its field by name.
#ifndef TLG_MODEL_RECORDFIELDS_H
#define TLG_MODEL_RECORDFIELDS_H

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string_view>

#include "model/EqTables.h"
#include "model/RecordTypes.h"
#include "model/SettingRecords.h"

/// The values that the records with a fixed number of fields carry.
struct RecordValues {
    std::uint8_t audioIC = 0;
    tagSpeaker speaker;
    tagFadeBalance fade;
    tagAudioData audio;
    std::uint8_t alc = 0;
};

/// The bits of a byte that a field has.
struct FieldBits {
    int first = 0;
    int count = 8;
    int unit = 1;          ///< what one stands for
    bool isVolume = false; ///< the change mark is above it

    constexpr int Mask() const { return (1 << count) - 1; }
};

constexpr FieldBits kByte{};
constexpr FieldBits kVolume{0, 7, 1, true};
constexpr FieldBits Bits(int first, int count = 1, int unit = 1) {
    return {first, count, unit, false};
}

/// The values that the MCU accepts.
struct FieldRange {
    int min = 0;
    int max = 255;
    /// Where each band of a curve (0 to 4) has its own range: whether it may have the value.
    bool (*isAllowedIn)(int band, int value) = nullptr;
};

constexpr FieldRange kAny{};
constexpr FieldRange kSwitch{0, 1};
constexpr FieldRange kLevel{0, kLevelMask};

struct RecordField {
    const char* name; ///< as tools print it
    int byte;         ///< of the payload, from the command id on; in an entry: from its first byte
    FieldBits bits;
    FieldRange range;
    /// Its value in the store; null in records that a command does not take from there as they are.
    int (*stored)(const RecordValues& values);
    const char* meaning;

    /// The value that @p content, the field's byte, holds.
    constexpr int ValueIn(int content) const { return (content >> bits.first & bits.Mask()) * bits.unit; }
    /// What @p value adds to the field's byte; bits that the field has not are cut off.
    constexpr int BitsOf(int value) const { return (value / bits.unit & bits.Mask()) << bits.first; }
    constexpr bool IsMarked(int content) const { return bits.isVolume && (content & kChangeMark) != 0; }
    /// @param band 0 to 4 where the field belongs to a band
    constexpr bool Allows(int value, int band = 0) const {
        return value >= range.min && value <= range.max &&
               (range.isAllowedIn == nullptr || range.isAllowedIn(band, value));
    }
};

// clang-format off
#define STORED(member) [](const RecordValues& values) -> int { return values.member; }

inline constexpr RecordField kVolumeAndFadeFields[] = {
    // name         byte  bits        range                    in the store                  meaning
    {"ic",              3, kByte,      kSwitch,                 STORED(audioIC),               "audio processor: 0 bad, 1 ready"},
    {"main",            4, kVolume,    kLevel,                  STORED(speaker.tSrcVol.SrcVol[0]), "main volume"},
    {"max",             5, Bits(0, 7), kLevel,                  STORED(speaker.tSrcVol.Max),   "maximum volume"},
    {"navi",            6, kVolume,    kLevel,                  STORED(speaker.tSrcVol.SrcVol[1]), "navigation volume"},
    {"call",            7, kVolume,    kLevel,                  STORED(speaker.tSrcVol.SrcVol[2]), "call volume"},
    {"voice",           8, kVolume,    kLevel,                  STORED(speaker.tSrcVol.SrcVol[3]), "voice volume"},
    {"max_power",       9, kByte,      kAny,                    STORED(speaker.tSrcVol.MaxPowerVol), "maximum power"},
    {"system_mute",    10, Bits(0),    kSwitch,                 STORED(speaker.tSrcVol.SysMute), "1: system muted"},
    {"source_mute",    10, Bits(1),    kSwitch,                 STORED(speaker.tSrcVol.SrcMute), "1: source muted"},
    {"ff",             11, kByte,      {0, kMaxFadeLevel},      STORED(fade.FF),               "fade and balance FF"},
    {"fr",             12, kByte,      {0, kMaxFadeLevel},      STORED(fade.FR),               "fade and balance FR"},
    {"bl",             13, kByte,      {0, kMaxFadeLevel},      STORED(fade.BL),               "fade and balance BL"},
    {"br",             14, kByte,      {0, kMaxFadeLevel},      STORED(fade.BR),               "fade and balance BR"},
    {"subwoofer_gain", 15, kByte,      kAny,                    STORED(speaker.SubWGain),      "subwoofer gain"},
    {"center_gain",    16, kByte,      {0, kMaxCenterGain},     STORED(speaker.CenterGain),    "centre gain"},
    {"loud",           17, kByte,      kSwitch,                 STORED(speaker.Loud),          "1: loudness on"},
};

inline constexpr RecordField kEqFields[] = {
    {"reserved",        3, kByte,      kAny,                    nullptr,                       "0 in commands"},
    {"type",            4, kByte,      {0, kEqTypeCount - 1},   nullptr,                       "the current EQ type"},
};
inline constexpr RecordField kEqBandFields[] = {
    {"gain",            0, kByte,      kAny,                    nullptr,                       "gain"},
    {"freq",            1, kByte,      {0, EQ_BAND_FC_MAX[kEqBandCount - 1], IsFreqAllowed},  nullptr,                       "centre frequency index"},
    {"q",               2, kByte,      {0, static_cast<int>(std::size(EQ_Q)) - 1, IsQIndexAllowed}, nullptr,                       "quality factor index"},
};

inline constexpr RecordField kSourceGainFields[] = {
    {"count",           3, kByte,      {0, kSourceCount},       nullptr,                       "number of sources"},
};
inline constexpr RecordField kSourceGainEntryFields[] = {
    {"id",              0, kByte,      kAny,                    nullptr,                       "audio source"},
    {"gain",            1, kByte,      {0, kMaxSourceGain},     nullptr,                       "gain of the source"},
};

inline constexpr RecordField kListenPosFields[] = {
    {"listen_pos",      3, kByte,      kAny,                    STORED(speaker.ListenPos),     "listening position"},
    {"srs",             4, kByte,      kAny,                    STORED(speaker.SRS),           "surround effect"},
};

inline constexpr RecordField kAudioSettingFields[] = {
    {"dbb",             3, Bits(0),    kSwitch,                 STORED(audio.DBB),             "1: bass boost on"},
    {"subwoofer",       3, Bits(1),    kSwitch,                 STORED(audio.Subwoofer.OnOff), "1: subwoofer on"},
    {"phase",           3, Bits(2, 1, kReversedPhase), {0, kReversedPhase},     STORED(audio.Subwoofer.Phase), "subwoofer phase, degrees"},
    {"filter",          3, Bits(3, 3), {0, kMaxSubwooferFilter}, STORED(audio.Subwoofer.Filter), "subwoofer filter"},
    {"mode",            4, Bits(0),    kSwitch,                 STORED(audio.SpeakerMode.Mode), "speaker mode"},
    {"channel",         4, Bits(1, 3), {0, kMaxSpeakerChannel}, STORED(audio.SpeakerMode.Channel), "speaker channel"},
    {"front",           5, Bits(3),    kSwitch,                 STORED(audio.FrontFilter.OnOff), "1: front filter on"},
    {"front_cutoff",    5, Bits(0, 3), {0, kMaxCutoffFreq},     STORED(audio.FrontFilter.CutoffFreq), "cut-off index"},
    {"rear",            5, Bits(7),    kSwitch,                 STORED(audio.RearFilter.OnOff), "1: rear filter on"},
    {"rear_cutoff",     5, Bits(4, 3), {0, kMaxCutoffFreq},     STORED(audio.RearFilter.CutoffFreq), "cut-off index"},
};

inline constexpr RecordField kAlcFields[] = {
    {"alc",             3, kByte,      kAny,                    STORED(alc),                   "ALC"},
};

inline constexpr RecordField kExtendedVolumeFields[] = {
    {"ext0",            3, kVolume,    kLevel,                  STORED(speaker.tCarPlayVol.SrcVol[0]), "extended volume 0"},
    {"ext1",            4, kVolume,    kLevel,                  STORED(speaker.tCarPlayVol.SrcVol[1]), "extended volume 1"},
    {"ext2",            5, kVolume,    kLevel,                  STORED(speaker.tCarPlayVol.SrcVol[2]), "extended volume 2"},
    {"ext3",            6, kVolume,    kLevel,                  STORED(speaker.tCarPlayVol.SrcVol[3]), "extended volume 3"},
};

#undef STORED
// clang-format on

/// A table of fields.
class FieldList {
public:
    constexpr FieldList() = default;
    template <std::size_t Size>
    constexpr FieldList(const RecordField (&fields)[Size]) : m_first(fields), m_end(fields + Size) {} // NOLINT: a view

    constexpr const RecordField* begin() const { return m_first; }
    constexpr const RecordField* end() const { return m_end; }
    constexpr bool IsEmpty() const { return m_first == m_end; }
    /// The byte after the last field's.
    constexpr int EndByte() const { return IsEmpty() ? 0 : (m_end - 1)->byte + 1; }

    /// Found at compile time: a name that is none does not compile.
    constexpr const RecordField& operator[](std::string_view name) const {
        const RecordField* field = m_first;
        while (name != field->name) {
            ++field;
        }
        return *field;
    }
    /// The number of bytes from one field to another, both included; found at compile time.
    constexpr int BytesOf(std::string_view first, std::string_view last) const {
        return (*this)[last].byte - (*this)[first].byte + 1;
    }
    constexpr int BytesOf(std::string_view name) const { return BytesOf(name, name); }
    /// Null where there is none of that name.
    constexpr const RecordField* Find(std::string_view name) const {
        for (const RecordField& field : *this) {
            if (name == field.name) {
                return &field;
            }
        }
        return nullptr;
    }

private:
    const RecordField* m_first = nullptr;
    const RecordField* m_end = nullptr;
};

/// What follows a record's fixed fields: groups of entries with the same fields.
struct RepeatedEntries {
    FieldList fields;
    int perGroup = 0;
    int maxGroups = 0;

    constexpr int EntrySize() const { return fields.EndByte(); }
    constexpr int GroupSize() const { return perGroup * EntrySize(); }
};

struct RecordLayout {
    RecordType type;
    const char* name; ///< as tools print it
    FieldList fields;
    RepeatedEntries entries = {};

    /// The size of a payload with the fixed fields alone.
    constexpr int FixedSize() const { return fields.EndByte(); }
};

inline constexpr RecordLayout kRecordLayouts[] = {
    {VOLUME_AND_FADE_BALANCE, "volume-and-fade", kVolumeAndFadeFields},
    {EQ, "eq", kEqFields, {kEqBandFields, kEqBandCount, kEqTypeCount}},
    {SOURCE_GAIN, "source-gain", kSourceGainFields, {kSourceGainEntryFields, 1, kSourceCount}},
    {LISTEN_POS, "listen-pos", kListenPosFields},
    {AUDIO_SETTING, "audio-setting", kAudioSettingFields},
    {ALC, "alc", kAlcFields},
    {EQ_EXPEND, "extended-volumes", kExtendedVolumeFields},
};

/// The place of a type's layout in the table; -1 where it has none. (No pointers: g++ can't compare those with null at
/// compile time under its sanitizers.)
constexpr int LayoutIndex(int type) {
    int index = 0;
    for (const RecordLayout& layout : kRecordLayouts) {
        if (layout.type == type) {
            return index;
        }
        ++index;
    }
    return -1;
}

/// The layout of a record's type; null where there is none.
inline const RecordLayout* LayoutOf(int type) {
    const int index = LayoutIndex(type);
    return index < 0 ? nullptr : &kRecordLayouts[index];
}

/// The layout of a type that has one, found at compile time.
template <RecordType type>
constexpr const RecordLayout& Layout() {
    static_assert(LayoutIndex(type) >= 0);
    return kRecordLayouts[LayoutIndex(type)];
}

#endif
