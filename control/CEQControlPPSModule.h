#ifndef TLG_CONTROL_CEQCONTROLPPSMODULE_H
#define TLG_CONTROL_CEQCONTROLPPSMODULE_H

#include <sys/pps.h>

#include <vector>

#include "framework/PPSFileBase.h"
#include "model/CEQData.h"
#include "model/RecordFields.h"
#include "model/SourcesNameIdMap.h"

/// What a mute command mutes; the values are the bytes sent.
enum T_KEY_MUTE_TYPE_CHOICE { KEY_MUTE_SYSTEM = 0, KEY_MUTE_SOURCE = 4 };
enum T_MUTE_STATUS_CHOICE { KEY_UNMUTE = 0, KEY_MUTE = 1 };

/// The control object: turns each attribute that the HMI writes into a command payload for the MCU.
///
/// The controller owns it and calls it on the multiplexer's thread alone. It keeps nothing between
/// commands: each is judged against the store as it is at that moment, and a handler completes its record
/// with the store's values. A handler returns true when its payload is to be sent; otherwise it has
/// logged why, in its own name, and the payload means nothing.
class CEQControlPPSModule : public TLG::ZOCAR::PPSFileBase {
public:
    using Payload = std::vector<unsigned char>;

    explicit CEQControlPPSModule(TLG::ZOCAR::IPPSOnChange* callback);

    /// Attaches the settings store; not owned. Until then every handler that needs it fails.
    void AttachData(CEQData* data) { m_pEQData = data; }

    /// Handles one changed attribute.
    /// @param commandId receives the MCU command id with which the payload is to be sent
    /// @param keyFlag   receives whether it is to be sent as a key command instead
    /// @return whether the payload is to be sent
    bool OnPPSCmd(pps_attrib_t* info, unsigned char& commandId, bool& keyFlag, Payload& payload);

    /// The attributes that are commands, in the order in which they are compared.
    static std::vector<const char*> CommandNames();

    // The handlers, by the file they are in. docs/commands.md has their values and ranges.

    // ---- VolumeCommands.cpp ----
    bool OnCmdMasterVolume(char* value, Payload& payload);
    bool OnCmdVolumeMute(char* encoding, char* value, Payload& payload);
    bool OnCmdSrcVol(char* encoding, char* value, Payload& payload);
    bool OnCmdMaxPowerVol(char* value, Payload& payload);
    /// The volume and fade payload for a new main volume, clamped to 0 to Max and marked as changed.
    bool MasterVolPacket(int volume, Payload& payload);
    void MutePacket(T_KEY_MUTE_TYPE_CHOICE type, T_MUTE_STATUS_CHOICE status, Payload& payload);

    // ---- EqTypeCommand.cpp ----
    bool OnCmdEqtype(char* encoding, char* value, Payload& payload);

    // ---- FadeBalanceCommand.cpp, SourceGainCommand.cpp ----
    bool OnCmdFadeBalance(char* encoding, char* value, Payload& payload);
    bool OnCmdSrcGain(char* encoding, char* value, Payload& payload);

    // ---- NumberCommands.cpp ----
    bool OnCmdSubWGain(char* value, Payload& payload);
    bool OnCmdCenterGain(char* value, Payload& payload);
    bool OnCmdListenPos(char* value, Payload& payload);
    bool OnCmdSRS(char* value, Payload& payload);
    bool OnCmdALC(char* value, Payload& payload);

    // ---- SwitchCommands.cpp ----
    bool OnCmdLoud(char* value, Payload& payload);
    bool OnCmdDBB(char* value, Payload& payload);
    bool OnCmdAudioMix(char* value, Payload& payload);

    // ---- AudioSettingCommands.cpp ----
    bool OnCmdSubwoofer(char* encoding, char* value, Payload& payload);
    bool OnCmdSpeakerMode(char* encoding, char* value, Payload& payload);
    bool OnCmdFrontStereoFilter(char* encoding, char* value, Payload& payload);
    bool OnCmdRearStereoFilter(char* encoding, char* value, Payload& payload);

private:
    struct Command;
    static const Command kCommands[];

    bool SourceVolPacket(int index, int level, Payload& payload);
    bool ExtendedVolPacket(int index, int level, Payload& payload);

    bool CanStore(const char* function, const char* value) const;
    bool GainRecord(const char* function, const char* value, const char* messageStart, RecordValues& record) const;

    struct FilterRule;
    bool OnStereoFilter(const FilterRule& rule, char* encoding, char* value, Payload& payload);
    bool CanDecode(const char* function, const char* encoding, const char* value) const;
    static bool AudioSettingPacket(const char* function, const char* messageStart, const tagAudioData& audio,
                                   Payload& payload);

    CEQData* m_pEQData = nullptr;
    TLG::ZOCAR::SourcesNameIdMap m_sources; // read-only after construction
};

#endif
