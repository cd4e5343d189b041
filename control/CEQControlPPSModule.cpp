#include "control/CEQControlPPSModule.h"

#include <cinttypes>
#include <cstring>

#include "framework/LogBase.h"
#include "framework/SystemFiles.h"
#include "model/McuCommands.h"

/// One control attribute: how its handler is called, and how its payload is sent.
struct CEQControlPPSModule::Command {
    using PlainHandler = bool (CEQControlPPSModule::*)(char* value, Payload&);
    using JsonHandler = bool (CEQControlPPSModule::*)(char* encoding, char* value, Payload&);

    constexpr Command(const char* attribute, PlainHandler handler, unsigned char id = kControlCommand)
        : name(attribute), plain(handler), commandId(id) {}
    constexpr Command(const char* attribute, JsonHandler handler, bool isKey = false)
        : name(attribute), json(handler), keyFlag(isKey) {}

    const char* name;
    PlainHandler plain = nullptr;
    JsonHandler json = nullptr;
    unsigned char commandId = kControlCommand;
    bool keyFlag = false;
};

const CEQControlPPSModule::Command CEQControlPPSModule::kCommands[] = {
    {"zovolume", &CEQControlPPSModule::OnCmdMasterVolume},
    {"zovolume_mute", &CEQControlPPSModule::OnCmdVolumeMute, true},
    {"zoaudiomix", &CEQControlPPSModule::OnCmdAudioMix, kAudioMixCommand},
    {"zosrc_vol", &CEQControlPPSModule::OnCmdSrcVol},
    {"zofade_balance", &CEQControlPPSModule::OnCmdFadeBalance},
    {"zosubwoofer_gain", &CEQControlPPSModule::OnCmdSubWGain},
    {"zocenter_gain", &CEQControlPPSModule::OnCmdCenterGain},
    {"zosource_gain", &CEQControlPPSModule::OnCmdSrcGain},
    {"zolisten_pos", &CEQControlPPSModule::OnCmdListenPos},
    {"zoeqtype", &CEQControlPPSModule::OnCmdEqtype},
    {"zoloud", &CEQControlPPSModule::OnCmdLoud},
    {"zodbb", &CEQControlPPSModule::OnCmdDBB},
    {"zosubwoofer", &CEQControlPPSModule::OnCmdSubwoofer},
    {"zospeaker_mode", &CEQControlPPSModule::OnCmdSpeakerMode},
    {"zofront_stereo_filter", &CEQControlPPSModule::OnCmdFrontStereoFilter},
    {"zorear_stereo_filter", &CEQControlPPSModule::OnCmdRearStereoFilter},
    {"zosrs", &CEQControlPPSModule::OnCmdSRS},
    {"zoalc", &CEQControlPPSModule::OnCmdALC},
    {"zomaxpower_vol", &CEQControlPPSModule::OnCmdMaxPowerVol},
};

CEQControlPPSModule::CEQControlPPSModule(TLG::ZOCAR::IPPSOnChange* callback)
    : PPSFileBase(TLG::ZOCAR::g_ControlPPSInfo, callback) {
    m_sources.Init();
}

std::vector<const char*> CEQControlPPSModule::CommandNames() {
    std::vector<const char*> names;
    for (const Command& command : kCommands) {
        names.push_back(command.name);
    }
    return names;
}

bool CEQControlPPSModule::OnPPSCmd(pps_attrib_t* info, unsigned char& commandId, bool& keyFlag, Payload& payload) {
    if (info == nullptr || info->attr_name == nullptr) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__,
                "Param error! function return. info[0x%" PRIxPTR "], pBuf[0x%" PRIxPTR "].\n",
                reinterpret_cast<std::uintptr_t>(info),
                reinterpret_cast<std::uintptr_t>(info == nullptr ? nullptr : info->attr_name));
        return false;
    }
    LOGBASE(LOG_LEV_INFO, __FUNCTION__, "CEQControlPPSModule::OnPPSCmd, attr_name:%s\n", info->attr_name);
    keyFlag = false;
    commandId = kControlCommand;
    for (const Command& command : kCommands) {
        if (std::strcmp(command.name, info->attr_name) == 0) {
            const bool isComplete = command.json != nullptr
                                        ? (this->*command.json)(info->encoding, info->value, payload)
                                        : (this->*command.plain)(info->value, payload);
            keyFlag = command.keyFlag;
            commandId = command.commandId;
            return isComplete;
        }
    }
    LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "Unknown attribute : %s, function return.\n", info->attr_name);
    return false;
}
