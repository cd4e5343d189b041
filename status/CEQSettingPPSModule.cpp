#include "status/CEQSettingPPSModule.h"

#include <iterator>

#include "framework/LogBase.h"
#include "framework/SystemFiles.h"
#include "status/StructuredWrite.h"

namespace {

constexpr const char* SETTING_EQ_FREQS = "freqs";
constexpr const char* SETTING_EQ_GAIN = "gain";
constexpr const char* SETTING_EQ_Q = "q";

constexpr const char* kAttributes[] = {"zoeqtype_0", "zoeqtype_1", "zoeqtype_2", "zoeqtype_3",
                                       "zoeqtype_4", "zoeqtype_5", "zoeqtype_6"};
static_assert(std::size(kAttributes) == kEqTypeCount);

} // namespace

CEQSettingPPSModule::CEQSettingPPSModule(TLG::ZOCAR::IPPSOnChange* callback)
    : PPSFileBase(TLG::ZOCAR::g_SettingPPSInfo, callback), m_pObjectName("@settings") {}

int CEQSettingPPSModule::PublishEqSafByIndex(int index, tagEQType eq) {
    if (static_cast<unsigned>(index) >= kEqTypeCount) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "CEQModule::UpdateEqSafByIndex(): unknown index(type_0,type_1,...) %d\n",
                index);
        return 0;
    }
    const tagEQBand* bands = eq.Band[index];
    StructuredWrite write(m_pObjectName);
    return write.StartAttribute(kAttributes[index])
        .AddArray(SETTING_EQ_FREQS, kEqBandCount, [bands](int band) { return bands[band].Freq; })
        .AddArray(SETTING_EQ_GAIN, kEqBandCount, [bands](int band) { return bands[band].Gain; })
        .AddArray(SETTING_EQ_Q, kEqBandCount, [bands](int band) { return bands[band].Q; })
        .EndAttribute()
        .WriteTo(*this);
}
