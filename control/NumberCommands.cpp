// Plain numbers: subwoofer and centre gain, listening position, surround effect, ALC.
#include "control/CEQControlPPSModule.h"
#include "control/CommandChecks.h"
#include "framework/LogBase.h"
#include "model/RecordTypes.h"
#include "model/VolumeAndFadePayload.h"

/// A plain number that replaces one gain of the volume and fade payload.
struct CEQControlPPSModule::GainRule {
    const char* handler;
    int max;
    std::uint8_t tagSpeaker::*gain;
    const char* rangeMessage; ///< takes 0, the maximum and the value
    MuteMessages mutes;
};

bool CEQControlPPSModule::OnGain(const GainRule& rule, char* value, Payload& payload) {
    if (!Check(rule.handler, {{value != nullptr, "CEQControlPPSModule, szValue is NULL.\n"},
                              {m_pEQData != nullptr, "Param error! m_pEQData is NULL.\n"}})) {
        return false;
    }
    VolumeAndFadePayload record(*m_pEQData);
    if (!MutesAreKnown(rule.handler, record.speaker.tSrcVol, rule.mutes)) {
        return false;
    }
    const int gain = NumberOf(value);
    if (gain < 0 || gain > rule.max) {
        LOGBASE(LOG_LEV_ERROR, rule.handler, rule.rangeMessage, 0, rule.max, gain);
        return false;
    }
    record.speaker.*rule.gain = static_cast<std::uint8_t>(gain);
    record.WriteTo(payload);
    return true;
}

bool CEQControlPPSModule::OnCmdCenterGain(char* value, Payload& payload) {
    return OnGain({__FUNCTION__,
                   kMaxCenterGain,
                   &tagSpeaker::CenterGain,
                   "Param error,function return.center gain's value is wrong(%d~%d-%d)\n",
                   {"Param error,function return, systemMute:%d\n", "Param error,function return, sourceMute:%d\n"}},
                  value, payload);
}

bool CEQControlPPSModule::OnCmdSubWGain(char* value, Payload& payload) {
    return OnGain({__FUNCTION__,
                   255,
                   &tagSpeaker::SubWGain,
                   "Param error,function return, sub woofer gain's value is wrong(%d~%d):%d\n",
                   {"Param error,function return. systemMute:%d\n", "Param error,function return. sourceMute:%d\n"}},
                  value, payload);
}

/// Reads a plain number for one byte. @p rangeMessage takes a value that does not fit.
bool CEQControlPPSModule::ByteOf(const char* handler, const char* value, const char* rangeMessage,
                                 unsigned char& byte) const {
    if (!Check(handler, {{value != nullptr, "CEQControlPPSModule, szValue is NULL.\n"},
                         {m_pEQData != nullptr, "Param error! m_pEQData is NULL.\n"}})) {
        return false;
    }
    const int number = NumberOf(value);
    if (number < 0 || number > 255) {
        LOGBASE(LOG_LEV_ERROR, handler, rangeMessage, number);
        return false;
    }
    byte = static_cast<unsigned char>(number);
    return true;
}

bool CEQControlPPSModule::OnCmdListenPos(char* value, Payload& payload) {
    unsigned char position = 0;
    if (!ByteOf(__FUNCTION__, value, "Unknown listening position:%d\n", position)) {
        return false;
    }
    payload = {LISTEN_POS, position, m_pEQData->GetVolumeData().SRS};
    return true;
}

bool CEQControlPPSModule::OnCmdSRS(char* value, Payload& payload) {
    unsigned char srs = 0;
    if (!ByteOf(__FUNCTION__, value, "Unknown SRS:%d\n", srs)) {
        return false;
    }
    payload = {LISTEN_POS, m_pEQData->GetVolumeData().ListenPos, srs};
    return true;
}

bool CEQControlPPSModule::OnCmdALC(char* value, Payload& payload) {
    unsigned char alc = 0;
    if (!ByteOf(__FUNCTION__, value, "CEQControlPPSModule, Unknown ACL:%d\n", alc)) {
        return false;
    }
    payload = {ALC, alc};
    return true;
}
