#ifndef TLG_FRAMEWORK_SYSTEMFILES_H
#define TLG_FRAMEWORK_SYSTEMFILES_H

#include "framework/fileTagInfo.h"

// The seven files of the system. The keys 2, 4, 5 and 6 are inputs; the others are only written to.

namespace TLG::ZOCAR {

inline const fileTagInfo g_StatusPPSInfo{0, "/pps/tolvyn/eq/status?delta", kReadWrite | kCreate, 0666};
inline const fileTagInfo g_SettingPPSInfo{1, "/pps/tolvyn/eq/settings?delta", kReadWrite | kCreate, 0666};
inline const fileTagInfo g_ControlPPSInfo{2, "/pps/tolvyn/eq/control?delta,nopersist", kReadWrite | kCreate | kTruncate,
                                          0666};
inline const fileTagInfo g_systemPPSInfo{3, "/pps/tolvyn/system/dev_status?delta", kReadWrite | kCreate, 0666};
inline const fileTagInfo g_PowerPPSInfo{4, "/pps/tolvyn/system/poweron_status?delta", kReadWrite | kCreate, 0666};
inline const fileTagInfo g_gpsStatusPPSInfo{5, "/pps/tolvyn/navigation/gps_status?delta", kReadWrite | kCreate, 0666};
inline const fileTagInfo g_eqMCU{6, "/dev/name/local/tolvyn/resmgr/mcucom/eq", kReadWrite, 0};

} // namespace TLG::ZOCAR

#endif
