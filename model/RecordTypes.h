// What setting records have in common. A record is the payload of a control command, of a query answer or
// of a report:
//
//   byte 0      command id
//   byte 1      2 in control commands
//   byte 2      record type, which is also the number of the setting group
//   byte 3 on   the record's data: see RecordFields.h
//
// The control side builds a record from its type byte on; the MCU link puts the first two in front.
#ifndef TLG_MODEL_RECORDTYPES_H
#define TLG_MODEL_RECORDTYPES_H

#include <cstdint>

enum RecordType : std::uint8_t {
    VOLUME_AND_FADE_BALANCE = 0,
    EQ = 1,
    SOURCE_GAIN = 2,
    LISTEN_POS = 3,
    AUDIO_SETTING = 4,
    ALC = 5,
    EQ_EXPEND = 7 ///< the extended volumes
};

/// Byte 1 of a record in a control command.
constexpr std::uint8_t kControlRecordMark = 2;

/// The bytes of a payload that every record has.
constexpr int kRecordTypeByte = 2;
constexpr int kRecordDataByte = 3;

/// A volume byte: bits 0 to 6 are the level, bit 7 says that the user changed this volume.
constexpr std::uint8_t kLevelMask = 0x7F;
constexpr std::uint8_t kChangeMark = 0x80;

/// VolType of a report without a change mark.
constexpr std::uint8_t kNoVolumeChanged = 5;

constexpr int kMaxFadeLevel = 24;
constexpr int kMaxCenterGain = 12;
constexpr int kMaxSourceGain = 12;
constexpr int kMaxSubwooferFilter = 4;
constexpr int kMaxSpeakerChannel = 4;
constexpr int kMaxCutoffFreq = 7;
constexpr int kReversedPhase = 180; ///< degrees

#endif
