// Plain switches ("on" and "off"): loudness, bass boost, audio mixing.
#include "control/CEQControlPPSModule.h"
#include "control/CommandChecks.h"
#include "framework/LogBase.h"
#include "model/RecordPayload.h"
#include "model/StoredMutes.h"

bool CEQControlPPSModule::OnCmdLoud(char* value, Payload& payload) {
    unsigned char state = 0;
    if (!Check(__FUNCTION__, {{m_pEQData != nullptr, "Param error! m_pEQData is NULL.\n"},
                              {value != nullptr, "Param error! szValue is NULL.\n"}})) {
        return false;
    }
    if (!SwitchOf(value, state)) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "Unknown loud state:%s\n", value);
        return false;
    }
    RecordValues record = VolumeAndFadeValues(*m_pEQData);
    if (!AreMutesKnown(__FUNCTION__, record.speaker.tSrcVol, {"Param error, ", "Param error,"})) {
        return false;
    }
    record.speaker.Loud = state;
    WriteRecord(VOLUME_AND_FADE_BALANCE, record, payload);
    return true;
}

bool CEQControlPPSModule::OnCmdDBB(char* value, Payload& payload) {
    unsigned char state = 0;
    if (!Check(__FUNCTION__, {{m_pEQData != nullptr, "Param error! m_pEQData is NULL.\n"},
                              {value != nullptr, "Param error! szValue is NULL.\n"}})) {
        return false;
    }
    if (!SwitchOf(value, state)) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "Unknown DBB state:%s\n", value);
        return false;
    }
    tagAudioData audio = m_pEQData->GetAudioData();
    audio.DBB = state;
    return AudioSettingPacket(__FUNCTION__, "", audio, payload);
}

bool CEQControlPPSModule::OnCmdAudioMix(char* value, Payload& payload) {
    unsigned char state = 0;
    if (!Check(__FUNCTION__, {{value != nullptr, "CEQControlPPSModule,  szValue is NULL.\n"}})) {
        return false;
    }
    if (!SwitchOf(value, state)) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "Unknown mix status:%s\n", value);
        return false;
    }
    payload = {state};
    return true;
}
