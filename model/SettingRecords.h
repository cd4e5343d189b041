// The settings of the service, grouped as the MCU takes them. All bytes are unsigned.
#ifndef TLG_MODEL_SETTINGRECORDS_H
#define TLG_MODEL_SETTINGRECORDS_H

#include <cstdint>
#include <tuple>

constexpr int kEqTypeCount = 7;
constexpr int kEqBandCount = 5;
constexpr int kSourceCount = 32;
constexpr int kVolumeCount = 4;

// Records that list their Members() are compared by them.
template <typename Record>
auto operator==(const Record& a, const Record& b) -> decltype(a.Members() == b.Members()) {
    return a.Members() == b.Members();
}
template <typename Record>
auto operator!=(const Record& a, const Record& b) -> decltype(a.Members() != b.Members()) {
    return a.Members() != b.Members();
}

/// One band of a curve. The store keeps Gain, Freq and Q; QIndex only travels.
struct tagEQBand {
    std::int32_t Gain = 0;   ///< the raw byte, 0 to 255
    std::int32_t Freq = 0;   ///< centre frequency index, 0 to 14
    std::int32_t QIndex = 0; ///< index into EQ_Q
    double Q = 0;            ///< quality factor

    auto Members() const { return std::tie(Gain, Freq, Q); }
};

struct tagEQType {
    std::uint8_t Type = 0;               ///< the current EQ type; 0 to 6 have a name
    std::int32_t TypeNum = kEqTypeCount; ///< number of EQ types the MCU reported, 0 to 7
    tagEQBand Band[kEqTypeCount][kEqBandCount] = {};
};

/// The speaker volumes.
struct T_SRC_VOL {
    std::uint8_t ChangeStatus = 0; ///< 1: the last report carried a change mark; 0: none; 2: no report yet
    std::uint8_t VolType = 0;      ///< the volume last changed: 0 main, 1 navigation, 2 call, 3 voice, 5 none
    std::uint8_t Max = 0;
    std::uint8_t SysMute = 0;
    std::uint8_t SysMuteFirst = 0; ///< 1 until the first report after construction or a fake power-off
    std::uint8_t SrcMute = 0;
    std::uint8_t SrcVol[kVolumeCount] = {}; ///< main, navigation, call, voice
    std::uint8_t MaxPowerVol = 0;           ///< 0 to Max in commands; reports are not checked
};

/// The extended volumes; only ChangeStatus, VolType (4: no report yet) and SrcVol are used.
using T_CARPLAY_VOLUME = T_SRC_VOL;

struct tagSpeaker {
    std::uint8_t SubWGain = 0;
    std::uint8_t CenterGain = 0; ///< 0 to 12
    std::uint8_t Loud = 0;       ///< 0 off, 1 on
    std::uint8_t ListenPos = 0;
    std::uint8_t SRS = 0;
    T_SRC_VOL tSrcVol;
    T_CARPLAY_VOLUME tCarPlayVol;
};

/// Fade and balance levels, each 0 to 24.
struct tagFadeBalance {
    std::uint8_t FF = 0;
    std::uint8_t FR = 0;
    std::uint8_t BL = 0;
    std::uint8_t BR = 0;

    auto Members() const { return std::tie(FF, FR, BL, BR); }
};

struct tagSourceGain {
    std::uint8_t SrcId = 0;
    std::uint8_t Gain = 0; ///< 0 to 12
};

/// The per-source gains; entries at and beyond Count mean nothing.
struct tagSourceParam {
    tagSourceGain Src[kSourceCount] = {};
    std::uint8_t Count = 0; ///< 0 to 32
};

struct tagSubwoofer {
    std::uint8_t OnOff = 0;
    std::int32_t Phase = 0;  ///< 0 or 180 degrees
    std::uint8_t Filter = 0; ///< 0 to 4

    auto Members() const { return std::tie(OnOff, Phase, Filter); }
};

struct tagSpeakerMode {
    std::uint8_t Mode = 0;    ///< 0 or 1
    std::uint8_t Channel = 0; ///< 0 to 4

    auto Members() const { return std::tie(Mode, Channel); }
};

struct tagStereoFilterParam {
    std::uint8_t OnOff = 0;
    std::uint8_t CutoffFreq = 0; ///< cut-off frequency index, 0 to 7

    auto Members() const { return std::tie(OnOff, CutoffFreq); }
};

struct tagAudioData {
    std::uint8_t DBB = 0;
    tagSubwoofer Subwoofer;
    tagSpeakerMode SpeakerMode;
    tagStereoFilterParam RearFilter;
    tagStereoFilterParam FrontFilter;
};

enum T_POWER_ON_STATUS {
    POWER_STATUS_IS_NORMAL = 0,
    POWER_STATUS_IS_OFF = 1,
    POWER_STATUS_IS_FAKE_OFF = 2,
    POWER_STATUS_IS_UNKNOWN = 3
};

/// All settings, with the values that hold before the MCU has reported.
struct tagEQSetting {
    std::uint8_t AudioMix = 2;      ///< 0 off, 1 on, 2 not yet reported
    std::uint8_t AudioICStatus = 0; ///< audio processor: 0 bad, 1 ready
    tagEQType EQType;
    tagSpeaker Speaker;
    tagFadeBalance FadeBal;
    tagSourceParam SrcParam;
    tagAudioData AudioData;
    T_POWER_ON_STATUS PowerStatus = POWER_STATUS_IS_UNKNOWN;
    std::int32_t VolumeScheme = 0; ///< 1: navigation, call, voice and extended volumes follow the MCU
    std::uint8_t ALC = 255;        ///< 255: not yet reported
};

#endif
