#include "status/SystemDevStatusPPSModule.h"

#include "framework/LogBase.h"
#include "framework/SystemFiles.h"

namespace {

constexpr int kMutedVolume = 255;
const std::string kNotPersistent = "[n]";

} // namespace

SystemDevStatusPPSModule::SystemDevStatusPPSModule(TLG::ZOCAR::IPPSOnChange* callback)
    : PPSFileBase(TLG::ZOCAR::g_systemPPSInfo, callback),
      m_objectName("@dev_status"),
      m_volumeName("sysvolume"),
      m_mixName("zoaudiomix") {}

int SystemDevStatusPPSModule::PublishVolumeStatus(int sysMute, int volume) {
    if (sysMute != 0 && sysMute != 1) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "SystemDevStatusPPSModule, unknown mute status(%d or %d):%d\n", 1, 0,
                sysMute);
        return 0;
    }
    const bool written = SetPPSIntAttr(m_objectName.c_str(), (kNotPersistent + m_volumeName).c_str(),
                                       sysMute == 1 ? kMutedVolume : volume);
    if (!written) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "SystemDevStatusPPSModule, SetPPSIntAttr return false\n");
    }
    return written;
}

int SystemDevStatusPPSModule::PublishAudioMix(unsigned char mix) {
    if (mix > 1) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "SystemDevStatusPPSModule, unknown mixStatus( %d or %d): %d\n", 1, 0, mix);
        return 0;
    }
    return SetPPSIntAttr(m_objectName.c_str(), (kNotPersistent + m_mixName).c_str(), mix);
}
