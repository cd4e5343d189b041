#ifndef TLG_FRAMEWORK_SYSTEMFILES_H
#define TLG_FRAMEWORK_SYSTEMFILES_H

#include "framework/fileTagInfo.h"

// The seven files of the system. The open flags are the target's numbers: O_RDWR 0x2, O_CREAT 0x100,
// O_TRUNC 0x200. The keys 2, 4, 5 and 6 are inputs; the others are only written to.

namespace TLG::ZOCAR {

inline const fileTagInfo g_StatusPPSInfo{0, "/pps/tolvyn/eq/status?delta", 0x102, 0666};
inline const fileTagInfo g_SettingPPSInfo{1, "/pps/tolvyn/eq/settings?delta", 0x102, 0666};
inline const fileTagInfo g_ControlPPSInfo{2, "/pps/tolvyn/eq/control?delta,nopersist", 0x302, 0666};
inline const fileTagInfo g_systemPPSInfo{3, "/pps/tolvyn/system/dev_status?delta", 0x102, 0666};
inline const fileTagInfo g_PowerPPSInfo{4, "/pps/tolvyn/system/poweron_status?delta", 0x102, 0666};
inline const fileTagInfo g_gpsStatusPPSInfo{5, "/pps/tolvyn/navigation/gps_status?delta", 0x102, 0666};
inline const fileTagInfo g_eqMCU{6, "/dev/name/local/tolvyn/resmgr/mcucom/eq", 0x2, 0};

} // namespace TLG::ZOCAR

#endif
