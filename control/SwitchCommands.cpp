// Plain switches ("on" and "off"): loudness, bass boost, audio mixing.
#include "control/CEQControlPPSModule.h"
#include "control/CommandChecks.h"
#include "framework/LogBase.h"
#include "model/VolumeAndFadePayload.h"

namespace {

/// True for "on" and "off"; @p message takes any other text.
bool SwitchIn(const char* handler, const char* value, const char* message, unsigned char& state) {
    if (SwitchOf(value, state)) {
        return true;
    }
    LOGBASE(LOG_LEV_ERROR, handler, message, value);
    return false;
}

} // namespace

bool CEQControlPPSModule::OnCmdLoud(char* value, Payload& payload) {
    unsigned char state = 0;
    if (!Check(__FUNCTION__, {{m_pEQData != nullptr, "Param error! m_pEQData is NULL.\n"},
                              {value != nullptr, "Param error! szValue is NULL.\n"}}) ||
        !SwitchIn(__FUNCTION__, value, "Unknown loud state:%s\n", state)) {
        return false;
    }
    VolumeAndFadePayload record(*m_pEQData);
    if (!MutesAreKnown(__FUNCTION__, record.speaker.tSrcVol,
                       {"Param error, systemMute:%d\n", "Param error,sourceMute:%d\n"})) {
        return false;
    }
    record.speaker.Loud = state;
    record.WriteTo(payload);
    return true;
}

bool CEQControlPPSModule::OnCmdDBB(char* value, Payload& payload) {
    unsigned char state = 0;
    if (!Check(__FUNCTION__, {{m_pEQData != nullptr, "Param error! m_pEQData is NULL.\n"},
                              {value != nullptr, "Param error! szValue is NULL.\n"}}) ||
        !SwitchIn(__FUNCTION__, value, "Unknown DBB state:%s\n", state)) {
        return false;
    }
    return AudioSettingPacket(
        __FUNCTION__, "Unknown subwooferPhase from CEQData:%d\n", [state](tagAudioData& audio) { audio.DBB = state; },
        payload);
}

bool CEQControlPPSModule::OnCmdAudioMix(char* value, Payload& payload) {
    unsigned char state = 0;
    if (!Check(__FUNCTION__, {{value != nullptr, "CEQControlPPSModule,  szValue is NULL.\n"}}) ||
        !SwitchIn(__FUNCTION__, value, "Unknown mix status:%s\n", state)) {
        return false;
    }
    payload = {state};
    return true;
}
