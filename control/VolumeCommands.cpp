// Volume steps and levels, and the mute key.
#include <cinttypes>
#include <limits>

#include "control/CEQControlPPSModule.h"
#include "control/CommandChecks.h"
#include "control/ControlKeys.h"
#include "control/JsonValue.h"
#include "framework/LogBase.h"
#include "model/RecordPayload.h"
#include "model/StoredMutes.h"

bool CEQControlPPSModule::OnCmdMasterVolume(char* value, Payload& payload) {
    if (!Check(__FUNCTION__, {{value != nullptr, "CEQControlPPSModule, szValue is NULL.\n"},
                              {m_pEQData != nullptr, "CEQControlPPSModule, m_pEQData is NULL.\n"}})) {
        return false;
    }
    const int stored = m_pEQData->GetVolumeData().tSrcVol.SrcVol[0];
    const int step = NumberOf(value);
    constexpr int kMost = std::numeric_limits<int>::max();
    return MasterVolPacket(step > kMost - stored ? kMost : stored + step, payload);
}

bool CEQControlPPSModule::MasterVolPacket(int volume, Payload& payload) {
    if (!Check(__FUNCTION__, {{m_pEQData != nullptr, "CEQControlPPSModule, m_pEQData is NULL.\n"}})) {
        return false;
    }
    constexpr RecordField kMain = Layout<VOLUME_AND_FADE_BALANCE>().fields["main"];
    RecordValues record = VolumeAndFadeValues(*m_pEQData);
    T_SRC_VOL& volumes = record.speaker.tSrcVol;
    volumes.SrcVol[0] = static_cast<std::uint8_t>(Limited(volume, volumes.Max));
    // A volume step ends a system mute.
    volumes.SysMute = 0;
    WriteRecord(VOLUME_AND_FADE_BALANCE, record, payload);
    payload[PayloadIndex(kMain)] |= kChangeMark;
    return true;
}

bool CEQControlPPSModule::OnCmdMaxPowerVol(char* value, Payload& payload) {
    if (!Check(__FUNCTION__,
               {{m_pEQData != nullptr, "CEQControlPPSModule, m_pEQData is NULL.\n"}, {value != nullptr, nullptr}})) {
        return false;
    }
    RecordValues record = VolumeAndFadeValues(*m_pEQData);
    T_SRC_VOL& volumes = record.speaker.tSrcVol;
    volumes.MaxPowerVol = static_cast<std::uint8_t>(Limited(NumberOf(value), volumes.Max));
    volumes.SysMute = 0;
    WriteRecord(VOLUME_AND_FADE_BALANCE, record, payload);
    return true;
}

bool CEQControlPPSModule::OnCmdVolumeMute(char* encoding, char* value, Payload& payload) {
    if (!Check(__FUNCTION__, {{value != nullptr, "CEQControlPPSModule, szValue is NULL.\n"},
                              {m_pEQData != nullptr, "Param error! m_pEQData is NULL.\n"},
                              {EncodingIsJson(encoding), "Encoding isn't json, function return.\n"}})) {
        return false;
    }
    const char* type = nullptr;
    const char* status = nullptr;
    JsonValue json(__FUNCTION__);
    if (!json.Enter(value)) {
        return false;
    }
    json.Get(VOLUME_MUTE_TYPE, type);
    json.Get(VOLUME_MUTE, status);
    if (!json.Check(" pps_decoder_status() failed.\n")) {
        return false;
    }
    if (status != MUTE_STATUS_MUTE && status != MUTE_STATUS_UNMUTE) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "Param error! status[%s].\n", status);
        return false;
    }
    if (type != VOLUME_MUTE_TYPE_SYSTEM && type != VOLUME_MUTE_TYPE_SOURCE) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "Param error! type[%s].\n", type);
        return false;
    }
    MutePacket(type == VOLUME_MUTE_TYPE_SYSTEM ? KEY_MUTE_SYSTEM : KEY_MUTE_SOURCE,
               status == MUTE_STATUS_MUTE ? KEY_MUTE : KEY_UNMUTE, payload);
    return true;
}

void CEQControlPPSModule::MutePacket(T_KEY_MUTE_TYPE_CHOICE type, T_MUTE_STATUS_CHOICE status, Payload& payload) {
    constexpr unsigned char kMuteKey = 160;
    payload = {kMuteKey, static_cast<unsigned char>(status), static_cast<unsigned char>(type)};
}

bool CEQControlPPSModule::OnCmdSrcVol(char* encoding, char* value, Payload& payload) {
    if (!Check(__FUNCTION__, {{value != nullptr, "CEQControlPPSModule, szValue is NULL.\n"},
                              {m_pEQData != nullptr, "Param error! m_pEQData is NULL.\n"},
                              {EncodingIsJson(encoding), "Encoding isn't json, function return.\n"}})) {
        return false;
    }
    int type = -1;
    int level = -1;
    JsonValue json(__FUNCTION__);
    LOGBASE(LOG_LEV_NOTICE, __FUNCTION__, "szValue:%" PRIdPTR, reinterpret_cast<std::intptr_t>(value));
    if (!json.Enter(value)) {
        return false;
    }
    json.Get(SRC_VOL_TYPE, type);
    json.Get(SRC_VOL_VAL, level);
    LOGBASE(LOG_LEV_NOTICE, __FUNCTION__, "status:%d", level);
    if (!json.Check("CEQControlPPSModule, pps_decoder_status() failed.\n")) {
        return false;
    }
    if (static_cast<unsigned>(type) >= 2 * kVolumeCount) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "CEQControlPPSModule, unknown type : %d\n", type);
        return false;
    }
    return type < kVolumeCount ? SourceVolPacket(type, level, payload)
                               : ExtendedVolPacket(type - kVolumeCount, level, payload);
}

/// The volume and fade payload with one of the four source volumes replaced, limited to 0 to Max.
bool CEQControlPPSModule::SourceVolPacket(int index, int level, Payload& payload) {
    RecordValues record = VolumeAndFadeValues(*m_pEQData);
    T_SRC_VOL& volumes = record.speaker.tSrcVol;
    if (!AreMutesKnown("OnCmdSrcVol", volumes, {"Param error,function return, ", "Param error,function return, "})) {
        return false;
    }
    volumes.SrcVol[index] = static_cast<std::uint8_t>(Limited(level, volumes.Max));
    WriteRecord(VOLUME_AND_FADE_BALANCE, record, payload);
    return true;
}

/// The extended volume payload, its type and the four levels, with one replaced and cut to seven bits.
bool CEQControlPPSModule::ExtendedVolPacket(int index, int level, Payload& payload) {
    RecordValues record;
    record.speaker = m_pEQData->GetCarPlayVolumeData();
    record.speaker.tCarPlayVol.SrcVol[index] = static_cast<std::uint8_t>(level);
    WriteRecord(EQ_EXPEND, record, payload);
    return true;
}
