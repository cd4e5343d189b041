// The names and fixed words of the status object: its attributes by index, the members of structured values,
// and the words for codes.
#ifndef TLG_STATUS_STATUSNAMES_H
#define TLG_STATUS_STATUSNAMES_H

/// "[n]" in front of a name makes the attribute non-persistent.
inline constexpr const char* g_statusAttrs[] = {"zovolume",
                                                "zofade_balance",
                                                "zosubwoofer_gain",
                                                "zocenter_gain",
                                                "zosource_gain",
                                                "zolisten_pos",
                                                "zoloud",
                                                "zosubwoofer",
                                                "zospeaker_mode",
                                                "zofront_stereo_filter",
                                                "zorear_stereo_filter",
                                                "zoeq_type",
                                                "[n]zoaudiomix",
                                                "zodbb",
                                                "zosrs",
                                                "zoaudio",
                                                "[n]zosrc_vol",
                                                "zoalc",
                                                "[n]zoextra_vol",
                                                nullptr};

enum StatusAttribute {
    kVolumeAttribute = 0,
    kFadeBalanceAttribute = 1,
    kSubWGainAttribute = 2,
    kCenterGainAttribute = 3,
    kSourceGainAttribute = 4,
    kListenPosAttribute = 5,
    kLoudAttribute = 6,
    kSubwooferAttribute = 7,
    kSpeakerModeAttribute = 8,
    kFrontFilterAttribute = 9,
    kRearFilterAttribute = 10,
    kEqTypeAttribute = 11,
    kAudioMixAttribute = 12,
    kDbbAttribute = 13,
    kSrsAttribute = 14,
    kAudioIcAttribute = 15,
    kSrcVolAttribute = 16,
    kAlcAttribute = 17,
    kExtraVolAttribute = 18
};

inline constexpr const char* STATUS_SRC_VOL_TYPE = "vol_type";
inline constexpr const char* STATUS_SRC_VOL_VAL = "val";
inline constexpr const char* STATUS_VOLUME_MAX = "max";
inline constexpr const char* STATUS_VOLUME_MAX_POWER = "max_power";
inline constexpr const char* STATUS_VOLUME_SYSTEM_MUTE = "system_mute";
inline constexpr const char* STATUS_VOLUME_SOURCE_MUTE = "source_mute";
inline constexpr const char* STATUS_MUTE_STATUS_MUTE = "mute";
inline constexpr const char* STATUS_MUTE_STATUS_UNMUTE = "unmute";
inline constexpr const char* STATUS_SWITCH_ON = "on";
inline constexpr const char* STATUS_SWITCH_OFF = "off";
inline constexpr const char* STATUS_VOLUME_CURRENT = "current";
inline constexpr const char* STATUS_FADE_BALANCE_FF = "ff";
inline constexpr const char* STATUS_FADE_BALANCE_FR = "fr";
inline constexpr const char* STATUS_FADE_BALANCE_BL = "bl";
inline constexpr const char* STATUS_FADE_BALANCE_BR = "br";
inline constexpr const char* STATUS_STATUS = "status";
inline constexpr const char* STATUS_SUBWOOFER_PHASE = "phase";
inline constexpr const char* STATUS_SUBWOOFER_FILTER = "filter";
inline constexpr const char* STATUS_SPEAKER_MODE_MODE = "mode";
inline constexpr const char* STATUS_SPEAKER_MODE_CHANNEL = "channel";
inline constexpr const char* STATUS_FILTER_CUTOFF_FREQ = "cutoff_freq";
inline constexpr const char* STATUS_EQTYPE_TYPE_0 = "type_0";
inline constexpr const char* STATUS_EQTYPE_TYPE_1 = "type_1";
inline constexpr const char* STATUS_EQTYPE_TYPE_2 = "type_2";
inline constexpr const char* STATUS_EQTYPE_TYPE_3 = "type_3";
inline constexpr const char* STATUS_EQTYPE_TYPE_4 = "type_4";
inline constexpr const char* STATUS_EQTYPE_TYPE_5 = "type_5";
inline constexpr const char* STATUS_EQTYPE_TYPE_6 = "type_6";
inline constexpr const char* STATUS_AUDIO_IC_BAD = "bad";
inline constexpr const char* STATUS_AUDIO_IC_READY = "ready";
inline constexpr const char* STATUS_SOURCE_GAIN_COUNT = "count";
inline constexpr const char* STATUS_SOURCE_GAIN_SRC = "src";
inline constexpr const char* STATUS_SOURCE_GAIN_GAIN = "gain";

#endif
