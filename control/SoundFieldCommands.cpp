// Where the sound sits: fade and balance, centre and subwoofer gain, listening position, source gains.
#include "control/CEQControlPPSModule.h"
#include "control/CommandChecks.h"
#include "control/ControlKeys.h"
#include "control/JsonValue.h"
#include "framework/LogBase.h"
#include "model/RecordTypes.h"
#include "model/VolumeAndFadePayload.h"

bool CEQControlPPSModule::OnCmdFadeBalance(char* encoding, char* value, Payload& payload) {
    if (!Check(__FUNCTION__, {{value != nullptr, "CEQControlPPSModule, szValue is NULL.\n"},
                              {m_pEQData != nullptr, "Param error! m_pEQData is NULL.\n"},
                              {EncodingIsJson(encoding), "EncodingIsJson isn't json\n"}})) {
        return false;
    }
    VolumeAndFadePayload record(*m_pEQData);
    if (!MutesAreKnown(__FUNCTION__, record.speaker.tSrcVol,
                       {"Function return, systemMute:%d\n", "Function return, sourceMute:%d\n"})) {
        return false;
    }
    int ff = -1;
    int fr = -1;
    int bl = -1;
    int br = -1;
    JsonValue json(__FUNCTION__);
    if (!json.Enter(value)) {
        return false;
    }
    json.Get(FADE_BALANCE_FF, ff);
    json.Get(FADE_BALANCE_FR, fr);
    json.Get(FADE_BALANCE_BL, bl);
    json.Get(FADE_BALANCE_BR, br);
    if (!json.Check(" pps_decoder_status() failed.\n")) {
        return false;
    }
    const auto isLevel = [](int level) { return level >= 0 && level <= kMaxFadeLevel; };
    if (!isLevel(ff) || !isLevel(fr) || !isLevel(bl) || !isLevel(br)) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "Fade balance's value is wrong(0~%d), ff:%d, fr:%d, bl:%d, br:%d\n",
                kMaxFadeLevel, ff, fr, bl, br);
        return false;
    }
    record.fade = {static_cast<std::uint8_t>(ff), static_cast<std::uint8_t>(fr), static_cast<std::uint8_t>(bl),
                   static_cast<std::uint8_t>(br)};
    record.WriteTo(payload);
    return true;
}

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
