// The update flags of the settings store: which groups of settings are to be published.
#ifndef TLG_MODEL_UPDATEFLAGS_H
#define TLG_MODEL_UPDATEFLAGS_H

#include <cstdint>
#include <initializer_list>

#include "model/RecordTypes.h"

/// No answer raises the flag, only a change does.
constexpr int kNoGroup = -1;

// The flags that are bits of one set: FLAG(name, bit, the setting group whose answer raises it even if nothing
// changed). The volume and fade record carries the audio processor's status too, so its answer
// raises AudioIC: a restarted HMI is to hear of it.
#define TLG_UPDATE_FLAGS(FLAG) \
    FLAG(Volume, 0, VOLUME_AND_FADE_BALANCE) \
    FLAG(FadBal, 1, VOLUME_AND_FADE_BALANCE) \
    FLAG(SubWGain, 2, VOLUME_AND_FADE_BALANCE) \
    FLAG(SrcGain, 3, SOURCE_GAIN) \
    FLAG(CenterGain, 4, VOLUME_AND_FADE_BALANCE) \
    FLAG(Loud, 5, VOLUME_AND_FADE_BALANCE) \
    FLAG(ListenPos, 6, LISTEN_POS) \
    FLAG(DBB, 7, AUDIO_SETTING) \
    FLAG(Subwoofer, 8, AUDIO_SETTING) \
    FLAG(SpeakerMode, 9, AUDIO_SETTING) \
    FLAG(FrontFilter, 10, AUDIO_SETTING) \
    FLAG(RearFilter, 11, AUDIO_SETTING) \
    FLAG(AudioMix, 12, kNoGroup) \
    FLAG(SRS, 13, LISTEN_POS) \
    FLAG(AudioIC, 14, VOLUME_AND_FADE_BALANCE) \
    FLAG(ALC, 16, kNoGroup)

/// The number of bits of that set. A new flag takes the next bit, and this grows with it. Bit 15 never had a flag.
constexpr int kUpdateFlagBits = 17;
constexpr int kBitWithoutFlag = 15;

/// The bits that have a flag. A bit with two flags is not among them.
constexpr std::uint64_t BitsWithFlag() {
    std::uint64_t bits = 0;
#define TLG_FLAG(name, bit, group) bits ^= std::uint64_t{1} << (bit);
    TLG_UPDATE_FLAGS(TLG_FLAG)
#undef TLG_FLAG
    return bits;
}
static_assert(BitsWithFlag() == (std::uint64_t{1} << kUpdateFlagBits) - 1 - (std::uint64_t{1} << kBitWithoutFlag),
              "each bit of the set but one has one flag");

// The flags that are bytes: FLAG(name, member, setter, getter).
#define TLG_BYTE_FLAGS(FLAG) \
    FLAG(SrcMute, m_updateSrcMute, SetUpdateSrcMuteFlag, GetUpdateSrcMuteFlag) \
    FLAG(LaunchVolume, m_updateLaunchVolume, SetUpdateLaunchVolumeFlag, GetUpdateLaunchVolumeFlag) \
    FLAG(FakePowerOff, m_fakePowerOff, SetFakePowerOffFlag, GetFakePowerOffFlag) \
    FLAG(Extend, m_extendUpdate, SetUpdateExtendFlag, GetExtendUpdateFlag) \
    FLAG(SrcVol, m_updateSrcVol, SetUpdateSrcVolFlag, GetUpdateSrcVolFlag)

/// Ids of the EQ flags: 0 the current EQ type, 1 to 7 the curve of EQ type id - 1. Id 8 has no setting: an EQ answer
/// raises it with the others, and nothing publishes or clears it.
constexpr int kEqFlagCount = 9;

enum class UpdateFlag : std::uint8_t {
#define TLG_FLAG(name, bit, group) name = (bit),
    TLG_UPDATE_FLAGS(TLG_FLAG)
#undef TLG_FLAG
        EqFirst = kUpdateFlagBits,
    BytesFirst = EqFirst + kEqFlagCount,
    BeforeBytes = BytesFirst - 1, // so that the next one is BytesFirst
#define TLG_FLAG(name, member, setter, getter) name,
    TLG_BYTE_FLAGS(TLG_FLAG)
#undef TLG_FLAG
        Count
};

/// @param id 0 to 8
constexpr UpdateFlag EqFlag(int id) {
    return static_cast<UpdateFlag>(static_cast<int>(UpdateFlag::EqFirst) + id);
}

/// A set of update flags.
class UpdateFlags {
public:
    constexpr UpdateFlags() = default;
    constexpr UpdateFlags(std::initializer_list<UpdateFlag> flags) {
        for (const UpdateFlag flag : flags) {
            Add(flag);
        }
    }
    static constexpr UpdateFlags All() {
        UpdateFlags flags;
        flags.m_bits = (std::uint64_t{1} << static_cast<int>(UpdateFlag::Count)) - 1;
        return flags.Without({static_cast<UpdateFlag>(kBitWithoutFlag)});
    }

    constexpr void Add(UpdateFlag flag) { m_bits |= BitOf(flag); }
    constexpr void Add(UpdateFlags flags) { m_bits |= flags.m_bits; }
    constexpr UpdateFlags Without(UpdateFlags flags) const {
        UpdateFlags rest(*this);
        rest.m_bits &= ~flags.m_bits;
        return rest;
    }

    constexpr bool operator==(UpdateFlags other) const { return m_bits == other.m_bits; }

    /// A bit for each flag, at its number.
    constexpr std::uint64_t Bits() const { return m_bits; }

    /// Goes from one flag of the set to the next.
    class Iterator {
    public:
        constexpr explicit Iterator(std::uint64_t bits) : m_bits(bits) {}
        constexpr UpdateFlag operator*() const { return static_cast<UpdateFlag>(__builtin_ctzll(m_bits)); }
        constexpr Iterator& operator++() {
            m_bits &= m_bits - 1;
            return *this;
        }
        constexpr bool operator!=(const Iterator& other) const { return m_bits != other.m_bits; }

    private:
        std::uint64_t m_bits;
    };
    constexpr Iterator begin() const { return Iterator(m_bits); }
    constexpr Iterator end() const { return Iterator(0); }

private:
    static constexpr std::uint64_t BitOf(UpdateFlag flag) { return std::uint64_t{1} << static_cast<int>(flag); }

    std::uint64_t m_bits = 0;
};

static_assert(static_cast<int>(UpdateFlag::Count) < 64, "each flag has its bit in the set");

/// The flags that the MCU's answer to a query raises, even if nothing changed.
/// @param group the record's type; a group without flags gives none
constexpr UpdateFlags FlagsOfGroup(int group) {
    UpdateFlags flags;
#define TLG_FLAG(name, bit, ofGroup) \
    if ((ofGroup) != kNoGroup && (ofGroup) == group) { \
        flags.Add(UpdateFlag::name); \
    }
    TLG_UPDATE_FLAGS(TLG_FLAG)
#undef TLG_FLAG
    for (int id = 0; group == EQ && id < kEqFlagCount; ++id) {
        flags.Add(EqFlag(id));
    }
    return flags;
}

#endif
