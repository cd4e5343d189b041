#include "status/GpsStatusPPSModule.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "framework/LogBase.h"
#include "framework/SystemFiles.h"
#include "model/RecordPayload.h"
#include "model/StoredMutes.h"

namespace {

const std::string kNotPersistent = "[n]";

/// The level that 100 percent stand for on the way in.
constexpr std::uint32_t kFullScale = 40;

/// The number at the start of the text as a 32-bit strtoul reads it: larger ones saturate, a minus sign
/// negates modulo 2^32.
std::uint32_t PercentageOf(const char* text) {
    constexpr std::uint32_t kMost = std::numeric_limits<std::uint32_t>::max();
    const bool isNegative = text[std::strspn(text, " \t\n\v\f\r")] == '-';
    const unsigned long long number = std::strtoull(text, nullptr, 10);
    const unsigned long long magnitude = isNegative ? 0 - number : number;
    return magnitude > kMost ? kMost : static_cast<std::uint32_t>(number);
}

/// percentage x 40 / 100 as 32-bit signed arithmetic gives it: the product wraps, the quotient is cut.
int LevelOf(std::uint32_t percentage) {
    return static_cast<std::int32_t>(percentage * kFullScale) / 100;
}

} // namespace

GpsStatusPPSModule::GpsStatusPPSModule(TLG::ZOCAR::IPPSOnChange* callback)
    : PPSFileBase(TLG::ZOCAR::g_gpsStatusPPSInfo, callback), m_objectName("@gps_status"), m_volumeName("navivolume") {}

int GpsStatusPPSModule::PublishNaviVol(int naviLevel, int maxLevel) {
    if (maxLevel == 0) {
        LOGBASE(LOG_LEV_NOTICE, __FUNCTION__, "nMax = 0");
        return 0;
    }
    m_lastPercentage = naviLevel * 100 / maxLevel;
    return SetPPSIntAttr(m_objectName.c_str(), (kNotPersistent + m_volumeName).c_str(), m_lastPercentage);
}

bool GpsStatusPPSModule::OnGpsStatus(pps_attrib_t* info, std::vector<unsigned char>& payload) {
    if (info == nullptr) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "GpsStatusPPSModule, NULL == info\n");
        return false;
    }
    if (info->attr_name == nullptr) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "GpsStatusPPSModule, NULL == info->attr_name\n");
        return false;
    }
    if (info->value == nullptr) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "GpsStatusPPSModule, NULL == info->value\n");
        return false;
    }
    const std::string name = info->attr_name;
    return (name == m_volumeName || name == kNotPersistent + m_volumeName) && SubcribeNaviVol(info->value, payload);
}

bool GpsStatusPPSModule::SubcribeNaviVol(char* value, std::vector<unsigned char>& payload) {
    if (value == nullptr) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "GpsStatusPPSModule, NULL == szValue\n");
        return false;
    }
    if (m_pEQData == nullptr) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "GpsStatusPPSModule, NULL == m_pEQData\n");
        return false;
    }
    const std::uint32_t percentage = PercentageOf(value);
    if (m_lastPercentage >= 0 && percentage == static_cast<std::uint32_t>(m_lastPercentage)) {
        return false;
    }
    RecordValues record = VolumeAndFadeValues(*m_pEQData);
    T_SRC_VOL& volumes = record.speaker.tSrcVol;
    if (!AreMutesKnown(__FUNCTION__, volumes, {"Param error,function return, ", "Param error,function return, "})) {
        return false;
    }
    const int level = std::clamp(LevelOf(percentage), 0, int{volumes.Max});
    if (level == volumes.SrcVol[1]) {
        return false;
    }
    volumes.SrcVol[1] = static_cast<std::uint8_t>(level);
    WriteRecord(VOLUME_AND_FADE_BALANCE, record, payload);
    return true;
}
