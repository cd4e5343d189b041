// The fade and balance command: the four corner levels of the volume and fade payload.
#include "control/CEQControlPPSModule.h"
#include "control/CommandChecks.h"
#include "control/ControlKeys.h"
#include "control/JsonValue.h"
#include "framework/LogBase.h"
#include "model/RecordPayload.h"
#include "model/StoredMutes.h"

bool CEQControlPPSModule::OnCmdFadeBalance(char* encoding, char* value, Payload& payload) {
    if (!Check(__FUNCTION__, {{value != nullptr, "CEQControlPPSModule, szValue is NULL.\n"},
                              {m_pEQData != nullptr, "Param error! m_pEQData is NULL.\n"},
                              {EncodingIsJson(encoding), "EncodingIsJson isn't json\n"}})) {
        return false;
    }
    RecordValues record = VolumeAndFadeValues(*m_pEQData);
    if (!AreMutesKnown(__FUNCTION__, record.speaker.tSrcVol, {"Function return, ", "Function return, "})) {
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
    WriteRecord(VOLUME_AND_FADE_BALANCE, record, payload);
    return true;
}
