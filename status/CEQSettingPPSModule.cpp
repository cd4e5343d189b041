#include "status/CEQSettingPPSModule.h"

#include "framework/LogBase.h"
#include "framework/SystemFiles.h"
#include "status/StructuredWrite.h"

namespace {

constexpr const char* SETTING_EQ_FREQS = "freqs";
constexpr const char* SETTING_EQ_GAIN = "gain";
constexpr const char* SETTING_EQ_Q = "q";

constexpr const char* kAttributes[kEqTypeCount] = {"zoeqtype_0", "zoeqtype_1", "zoeqtype_2", "zoeqtype_3",
                                                   "zoeqtype_4", "zoeqtype_5", "zoeqtype_6"};

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
    return write.Start(kAttributes[index])
        .AddArray(SETTING_EQ_FREQS, kEqBandCount, [bands](int band) { return bands[band].Freq; })
        .AddArray(SETTING_EQ_GAIN, kEqBandCount, [bands](int band) { return bands[band].Gain; })
        .AddArray(SETTING_EQ_Q, kEqBandCount, [bands](int band) { return bands[band].Q; })
        .End()
        .WriteTo(*this);
}
