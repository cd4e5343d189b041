// The JSON keys and the fixed words of control attribute values. All comparisons are exact.
#ifndef TLG_CONTROL_CONTROLKEYS_H
#define TLG_CONTROL_CONTROLKEYS_H

#include <string>

inline const std::string VOLUME_MUTE_TYPE = "mutetype";
inline const std::string VOLUME_MUTE = "mute";
inline const std::string MUTE_STATUS_MUTE = "mute";
inline const std::string MUTE_STATUS_UNMUTE = "unmute";
inline const std::string VOLUME_MUTE_TYPE_SYSTEM = "system";
inline const std::string VOLUME_MUTE_TYPE_SOURCE = "source";

inline const std::string SRC_VOL_TYPE = "type";
inline const std::string SRC_VOL_VAL = "val";

inline const std::string FADE_BALANCE_FF = "ff";
inline const std::string FADE_BALANCE_FR = "fr";
inline const std::string FADE_BALANCE_BL = "bl";
inline const std::string FADE_BALANCE_BR = "br";

inline const std::string SOURCE_GAIN_COUNT = "count";
inline const std::string SOURCE_GAIN_SRC = "src";
inline const std::string SOURCE_GAIN_GAIN = "gain";

inline const std::string EQTYPE_TYPE = "type";
inline const std::string EQTYPE_FREQS = "freqs";
inline const std::string EQTYPE_GAIN = "gain";
inline const std::string EQTYPE_Q = "q";
inline const std::string EQTYPE_TYPE_0 = "type_0";
inline const std::string EQTYPE_TYPE_1 = "type_1";
inline const std::string EQTYPE_TYPE_2 = "type_2";
inline const std::string EQTYPE_TYPE_3 = "type_3";
inline const std::string EQTYPE_TYPE_4 = "type_4";
inline const std::string EQTYPE_TYPE_5 = "type_5";
inline const std::string EQTYPE_TYPE_6 = "type_6";

inline const std::string SUBWOOFER_PHASE = "phase";
inline const std::string SUBWOOFER_FILTER = "filter";
inline const std::string SPEAKER_MODE_MODE = "mode";
inline const std::string SPEAKER_MODE_CHANNEL = "channel";
inline const std::string FILTER_CUTOFF_FREQ = "cutoff_freq";

inline const std::string STATUS = "status";
inline const std::string SWITCH_ON = "on";
inline const std::string SWITCH_OFF = "off";

#endif
