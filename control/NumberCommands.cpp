// Plain numbers: subwoofer and centre gain, listening position, surround effect, ALC.
#include "control/CEQControlPPSModule.h"
#include "control/CommandChecks.h"
#include "framework/LogBase.h"
#include "model/RecordPayload.h"
#include "model/StoredMutes.h"

namespace {

bool IsByte(int number) {
    return number >= 0 && number <= 255;
}

} // namespace

/// What the five handlers check first.
bool CEQControlPPSModule::CanStore(const char* function, const char* value) const {
    return Check(function, {{value != nullptr, "CEQControlPPSModule, szValue is NULL.\n"},
                            {m_pEQData != nullptr, "Param error! m_pEQData is NULL.\n"}});
}

/// The stored values of the record that carries the gains; refused where its mute states can't be sent.
bool CEQControlPPSModule::GainRecord(const char* function, const char* value, const char* messageStart,
                                     RecordValues& record) const {
    if (!CanStore(function, value)) {
        return false;
    }
    record = VolumeAndFadeValues(*m_pEQData);
    return AreMutesKnown(function, record.speaker.tSrcVol, {messageStart, messageStart});
}

bool CEQControlPPSModule::OnCmdCenterGain(char* value, Payload& payload) {
    RecordValues record;
    if (!GainRecord(__FUNCTION__, value, "Param error,function return, ", record)) {
        return false;
    }
    const int gain = NumberOf(value);
    if (gain < 0 || gain > kMaxCenterGain) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "Param error,function return.center gain's value is wrong(%d~%d-%d)\n", 0,
                kMaxCenterGain, gain);
        return false;
    }
    record.speaker.CenterGain = static_cast<std::uint8_t>(gain);
    WriteRecord(VOLUME_AND_FADE_BALANCE, record, payload);
    return true;
}

bool CEQControlPPSModule::OnCmdSubWGain(char* value, Payload& payload) {
    RecordValues record;
    if (!GainRecord(__FUNCTION__, value, "Param error,function return. ", record)) {
        return false;
    }
    const int gain = NumberOf(value);
    if (!IsByte(gain)) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__,
                "Param error,function return, sub woofer gain's value is wrong(%d~%d):%d\n", 0, 255, gain);
        return false;
    }
    record.speaker.SubWGain = static_cast<std::uint8_t>(gain);
    WriteRecord(VOLUME_AND_FADE_BALANCE, record, payload);
    return true;
}

bool CEQControlPPSModule::OnCmdListenPos(char* value, Payload& payload) {
    if (!CanStore(__FUNCTION__, value)) {
        return false;
    }
    const int position = NumberOf(value);
    if (!IsByte(position)) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "Unknown listening position:%d\n", position);
        return false;
    }
    RecordValues record;
    record.speaker = m_pEQData->GetVolumeData();
    record.speaker.ListenPos = static_cast<std::uint8_t>(position);
    WriteRecord(LISTEN_POS, record, payload);
    return true;
}

bool CEQControlPPSModule::OnCmdSRS(char* value, Payload& payload) {
    if (!CanStore(__FUNCTION__, value)) {
        return false;
    }
    const int srs = NumberOf(value);
    if (!IsByte(srs)) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "Unknown SRS:%d\n", srs);
        return false;
    }
    RecordValues record;
    record.speaker = m_pEQData->GetVolumeData();
    record.speaker.SRS = static_cast<std::uint8_t>(srs);
    WriteRecord(LISTEN_POS, record, payload);
    return true;
}

bool CEQControlPPSModule::OnCmdALC(char* value, Payload& payload) {
    if (!CanStore(__FUNCTION__, value)) {
        return false;
    }
    const int alc = NumberOf(value);
    if (!IsByte(alc)) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "CEQControlPPSModule, Unknown ACL:%d\n", alc);
        return false;
    }
    RecordValues record;
    record.alc = static_cast<std::uint8_t>(alc);
    WriteRecord(ALC, record, payload);
    return true;
}
