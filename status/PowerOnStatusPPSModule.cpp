#include "status/PowerOnStatusPPSModule.h"

#include "framework/LogBase.h"
#include "framework/SystemFiles.h"

namespace {

const std::string POWER_STATUS_NORMAL = "off"; // power-off is off
const std::string POWER_STATUS_OFF = "poweroff";
const std::string POWER_STATUS_FAKE_OFF = "fakepowerOff";

T_POWER_ON_STATUS StatusOf(const std::string& word) {
    if (word == POWER_STATUS_NORMAL) {
        return POWER_STATUS_IS_NORMAL;
    }
    if (word == POWER_STATUS_OFF) {
        return POWER_STATUS_IS_OFF;
    }
    return word == POWER_STATUS_FAKE_OFF ? POWER_STATUS_IS_FAKE_OFF : POWER_STATUS_IS_UNKNOWN;
}

} // namespace

PowerOnStatusPPSModule::PowerOnStatusPPSModule(TLG::ZOCAR::IPPSOnChange* callback)
    : PPSFileBase(TLG::ZOCAR::g_PowerPPSInfo, callback), m_attributeName("zopoweroff") {}

bool PowerOnStatusPPSModule::OnPowerStatus(pps_attrib_t* info) {
    if (info == nullptr) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "PowerOnStatusPPSModule, NULL == info\n");
        return false;
    }
    if (info->attr_name == nullptr) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "PowerOnStatusPPSModule, NULL == info->attr_name\n");
        return false;
    }
    if (info->value == nullptr) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "PowerOnStatusPPSModule, NULL == info->value\n");
        return false;
    }
    return info->attr_name == m_attributeName && SubcribePowerOffStatus(info->value);
}

bool PowerOnStatusPPSModule::SubcribePowerOffStatus(char* value) {
    if (value == nullptr) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "PowerOnStatusPPSModule, NULL == info->value\n");
        return false;
    }
    m_pEQData->SetPowerStatus(StatusOf(value));
    return true;
}
