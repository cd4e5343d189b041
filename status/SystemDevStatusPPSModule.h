#ifndef TLG_STATUS_SYSTEMDEVSTATUSPPSMODULE_H
#define TLG_STATUS_SYSTEMDEVSTATUSPPSMODULE_H

#include <string>

#include "framework/PPSFileBase.h"

/// Keeps the system volume and the audio mixing state in the system-wide device status object. The
/// controller owns it; the update cycle calls it, on the multiplexer's thread.
class SystemDevStatusPPSModule : public TLG::ZOCAR::PPSFileBase {
public:
    explicit SystemDevStatusPPSModule(TLG::ZOCAR::IPPSOnChange* callback);

    /// Publishes the system volume, which reads 255 while the system is muted.
    /// @param sysMute 0 or 1; any other code is logged, and nothing is written
    /// @param volume  0 to 255
    /// @return 0 for a rejected code and a failed write, otherwise 1
    int PublishVolumeStatus(int sysMute, int volume);

    /// Publishes the audio mixing state as a number. The update cycle leaves it out: mixing reaches the HMI
    /// through the EQ status object.
    /// @param mix 0 or 1; any other code is logged, and nothing is written
    int PublishAudioMix(unsigned char mix);

private:
    std::string m_objectName;
    std::string m_volumeName;
    std::string m_mixName;
};

#endif
