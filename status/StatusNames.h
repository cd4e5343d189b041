// The names and fixed words of the status object: its attributes, the members of structured values, and the words for
// codes.
#ifndef TLG_STATUS_STATUSNAMES_H
#define TLG_STATUS_STATUSNAMES_H

// The attributes, in the order of g_statusAttrs: ATTRIBUTE(constant, name). "[n]" in front of a name makes the
// attribute non-persistent.
#define TLG_STATUS_ATTRIBUTES(ATTRIBUTE) \
    ATTRIBUTE(kVolumeAttribute, "zovolume") \
    ATTRIBUTE(kFadeBalanceAttribute, "zofade_balance") \
    ATTRIBUTE(kSubWGainAttribute, "zosubwoofer_gain") \
    ATTRIBUTE(kCenterGainAttribute, "zocenter_gain") \
    ATTRIBUTE(kSourceGainAttribute, "zosource_gain") \
    ATTRIBUTE(kListenPosAttribute, "zolisten_pos") \
    ATTRIBUTE(kLoudAttribute, "zoloud") \
    ATTRIBUTE(kSubwooferAttribute, "zosubwoofer") \
    ATTRIBUTE(kSpeakerModeAttribute, "zospeaker_mode") \
    ATTRIBUTE(kFrontFilterAttribute, "zofront_stereo_filter") \
    ATTRIBUTE(kRearFilterAttribute, "zorear_stereo_filter") \
    ATTRIBUTE(kEqTypeAttribute, "zoeq_type") \
    ATTRIBUTE(kAudioMixAttribute, "[n]zoaudiomix") \
    ATTRIBUTE(kDbbAttribute, "zodbb") \
    ATTRIBUTE(kSrsAttribute, "zosrs") \
    ATTRIBUTE(kAudioIcAttribute, "zoaudio") \
    ATTRIBUTE(kSrcVolAttribute, "[n]zosrc_vol") \
    ATTRIBUTE(kAlcAttribute, "zoalc") \
    ATTRIBUTE(kExtraVolAttribute, "[n]zoextra_vol")

enum StatusAttribute {
#define TLG_ATTRIBUTE(constant, name) constant,
    TLG_STATUS_ATTRIBUTES(TLG_ATTRIBUTE)
#undef TLG_ATTRIBUTE
        kStatusAttributeCount
};

inline constexpr const char* g_statusAttrs[] = {
#define TLG_ATTRIBUTE(constant, name) name,
    TLG_STATUS_ATTRIBUTES(TLG_ATTRIBUTE)
#undef TLG_ATTRIBUTE
        nullptr};

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
