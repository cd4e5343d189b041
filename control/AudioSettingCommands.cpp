// The commands that change one part of the audio setting record with a JSON value: speaker mode, subwoofer,
// front and rear stereo filter. The other parts stay as the store has them.
#include "control/CEQControlPPSModule.h"
#include "control/CommandChecks.h"
#include "control/ControlKeys.h"
#include "control/JsonValue.h"
#include "framework/LogBase.h"
#include "model/RecordPayload.h"

/// The audio setting record. A phase that it can't carry is refused, with a message that begins with @p messageStart.
bool CEQControlPPSModule::AudioSettingPacket(const char* function, const char* messageStart, const tagAudioData& audio,
                                             Payload& payload) {
    if (!IsPhaseKnown(audio.Subwoofer.Phase)) {
        LOGBASE(LOG_LEV_ERROR, function, "%sUnknown subwooferPhase from CEQData:%d\n", messageStart,
                audio.Subwoofer.Phase);
        return false;
    }
    RecordValues record;
    record.audio = audio;
    WriteRecord(AUDIO_SETTING, record, payload);
    return true;
}

/// What the four handlers check first.
bool CEQControlPPSModule::CanDecode(const char* function, const char* encoding, const char* value) const {
    return Check(function, {{m_pEQData != nullptr, "Param error! m_pEQData is NULL.\n"},
                            {value != nullptr, "Param error! szValue is NULL.\n"},
                            {EncodingIsJson(encoding), "EncodingIsJson isn't json\n"}});
}

bool CEQControlPPSModule::OnCmdSpeakerMode(char* encoding, char* value, Payload& payload) {
    if (!CanDecode(__FUNCTION__, encoding, value)) {
        return false;
    }
    int mode = -1;
    int channel = -1;
    JsonValue json(__FUNCTION__);
    if (!json.Enter(value)) {
        return false;
    }
    json.Get(SPEAKER_MODE_MODE, mode);
    json.Get(SPEAKER_MODE_CHANNEL, channel);
    if (!json.Check(" pps_decoder_status() failed.\n")) {
        return false;
    }
    if (mode < 0 || mode > 1) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "Unknown mode(0 0r 1):%d\n", mode);
        return false;
    }
    if (channel < 0 || channel > kMaxSpeakerChannel) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "Unknown channel(0 ~ 4):%d\n", channel);
        return false;
    }
    tagAudioData audio = m_pEQData->GetAudioData();
    audio.SpeakerMode = {static_cast<std::uint8_t>(mode), static_cast<std::uint8_t>(channel)};
    return AudioSettingPacket(__FUNCTION__, "CEQControlPPSModule, ", audio, payload);
}

bool CEQControlPPSModule::OnCmdSubwoofer(char* encoding, char* value, Payload& payload) {
    if (!CanDecode(__FUNCTION__, encoding, value)) {
        return false;
    }
    const char* status = nullptr;
    int phase = -1;
    int filter = -1;
    JsonValue json(__FUNCTION__);
    if (!json.Enter(value)) {
        return false;
    }
    json.Get(STATUS, status);
    json.Get(SUBWOOFER_PHASE, phase);
    json.Get(SUBWOOFER_FILTER, filter);
    if (!json.Check(" pps_decoder_status() failed.\n")) {
        return false;
    }
    tagSubwoofer chosen;
    if (!SwitchOf(status, chosen.OnOff)) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "CEQControlPPSModule, Unknown subwoofer state:%s\n", status);
        return false;
    }
    if (!IsPhaseKnown(phase)) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "CEQControlPPSModule, Unknown sub phase:%d\n", phase);
        return false;
    }
    if (filter < 0 || filter > kMaxSubwooferFilter) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "CEQControlPPSModule, Unknown sub filter:%d\n", filter);
        return false;
    }
    chosen.Phase = phase;
    chosen.Filter = static_cast<std::uint8_t>(filter);
    tagAudioData audio = m_pEQData->GetAudioData();
    audio.Subwoofer = chosen;
    return AudioSettingPacket(__FUNCTION__, "", audio, payload);
}

/// What distinguishes the two stereo filters.
struct CEQControlPPSModule::FilterRule {
    const char* function;
    tagStereoFilterParam tagAudioData::*filter;
    const char* decoderMessage;
    const char* name;         ///< in the message about its state
    const char* messageStart; ///< of the message about the stored phase
};

bool CEQControlPPSModule::OnStereoFilter(const FilterRule& rule, char* encoding, char* value, Payload& payload) {
    if (!CanDecode(rule.function, encoding, value)) {
        return false;
    }
    const char* status = nullptr;
    int cutoff = -1;
    JsonValue json(rule.function);
    if (!json.Enter(value)) {
        return false;
    }
    json.Get(STATUS, status);
    json.Get(FILTER_CUTOFF_FREQ, cutoff);
    if (!json.Check(rule.decoderMessage)) {
        return false;
    }
    tagStereoFilterParam chosen;
    if (!SwitchOf(status, chosen.OnOff)) {
        LOGBASE(LOG_LEV_ERROR, rule.function, "CEQControlPPSModule, Unknown %sState:%s\n", rule.name, status);
        return false;
    }
    if (cutoff < 0 || cutoff > kMaxCutoffFreq) {
        LOGBASE(LOG_LEV_ERROR, rule.function, "CEQControlPPSModule, Unkown freq from pps:%d\n", cutoff);
        return false;
    }
    chosen.CutoffFreq = static_cast<std::uint8_t>(cutoff);
    tagAudioData audio = m_pEQData->GetAudioData();
    audio.*rule.filter = chosen;
    return AudioSettingPacket(rule.function, rule.messageStart, audio, payload);
}

bool CEQControlPPSModule::OnCmdFrontStereoFilter(char* encoding, char* value, Payload& payload) {
    return OnStereoFilter(
        {__FUNCTION__, &tagAudioData::FrontFilter, "pps_decoder_status() failed.\n", "frontFilter", ""}, encoding,
        value, payload);
}

bool CEQControlPPSModule::OnCmdRearStereoFilter(char* encoding, char* value, Payload& payload) {
    return OnStereoFilter({__FUNCTION__, &tagAudioData::RearFilter, " pps_decoder_status() failed.\n", "rearFilter",
                           "CEQControlPPSModule, "},
                          encoding, value, payload);
}
