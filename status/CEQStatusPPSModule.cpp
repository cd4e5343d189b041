#include "status/CEQStatusPPSModule.h"

#include <array>

#include "framework/LogBase.h"
#include "framework/SystemFiles.h"
#include "status/StatusNames.h"
#include "status/StructuredWrite.h"

namespace {

/// The words of the codes 0 and 1, and what the message about any other code calls it.
struct TwoWords {
    const char* zero;
    const char* one;
    const char* code;
};

constexpr TwoWords MuteWords(const char* code) {
    return {STATUS_MUTE_STATUS_UNMUTE, STATUS_MUTE_STATUS_MUTE, code};
}
constexpr TwoWords SwitchWords(const char* code) {
    return {STATUS_SWITCH_OFF, STATUS_SWITCH_ON, code};
}

/// Null, with a message in the name of @p function, for a code that has no word.
const char* WordOf(const char* function, const TwoWords& words, int code) {
    if (code == 0 || code == 1) {
        return code == 0 ? words.zero : words.one;
    }
    LOGBASE(LOG_LEV_ERROR, function, "CEQStatusPPSModule, unknown %s( %d or %d): %d\n", words.code, 0, 1, code);
    return nullptr;
}

/// Adds the two mute words; false, with nothing more to be added, for an unknown code.
bool AddMutes(const char* function, StructuredWrite& write, int sysMute, int srcMute) {
    const char* system = WordOf(function, MuteWords("systemMute"), sysMute);
    const char* source = system == nullptr ? nullptr : WordOf(function, MuteWords("srcMute"), srcMute);
    if (source == nullptr) {
        return false;
    }
    write.Add(STATUS_VOLUME_SYSTEM_MUTE, system).Add(STATUS_VOLUME_SOURCE_MUTE, source);
    return true;
}

/// Adds the members that source and extended volumes share.
StructuredWrite& AddLevels(StructuredWrite& write, const T_SRC_VOL& volumes) {
    return write.Add(STATUS_SRC_VOL_TYPE, volumes.VolType)
        .AddArray(STATUS_SRC_VOL_VAL, kVolumeCount, [&volumes](int i) { return int{volumes.SrcVol[i]}; });
}

bool AddSrcVol(const char* function, StructuredWrite& write, const T_SRC_VOL& volumes) {
    AddLevels(write.StartAttribute(g_statusAttrs[kSrcVolAttribute]), volumes)
        .Add(STATUS_VOLUME_MAX, volumes.Max)
        .Add(STATUS_VOLUME_MAX_POWER, volumes.MaxPowerVol);
    if (!AddMutes(function, write, volumes.SysMute, volumes.SrcMute)) {
        return false;
    }
    write.EndAttribute();
    return true;
}

void AddExtraVol(StructuredWrite& write, const T_CARPLAY_VOLUME& volumes) {
    AddLevels(write.StartAttribute(g_statusAttrs[kExtraVolAttribute]), volumes).EndAttribute();
}

} // namespace

CEQStatusPPSModule::CEQStatusPPSModule(TLG::ZOCAR::IPPSOnChange* callback)
    : PPSFileBase(TLG::ZOCAR::g_StatusPPSInfo, callback), m_pObjectName("@status") {
    m_sources.Init();
}

int CEQStatusPPSModule::WriteVolumes(const char* function, StructuredWrite& write) const {
    if (write.WriteTo(*this)) {
        return 1;
    }
    LOGBASE(LOG_LEV_ERROR, function, "CEQStatusPPSModule, WritePPS return false\n");
    return 0;
}

int CEQStatusPPSModule::PublishVolume(int current, int max, unsigned char sysMute, unsigned char srcMute,
                                      int maxPower) {
    StructuredWrite write(m_pObjectName);
    write.StartAttribute(g_statusAttrs[kVolumeAttribute])
        .Add(STATUS_VOLUME_CURRENT, current)
        .Add(STATUS_VOLUME_MAX, max)
        .Add(STATUS_VOLUME_MAX_POWER, maxPower);
    if (!AddMutes(__FUNCTION__, write, sysMute, srcMute)) {
        return 0;
    }
    return WriteVolumes(__FUNCTION__, write.EndAttribute());
}

int CEQStatusPPSModule::PublishAllVol(const T_SRC_VOL& srcVol, T_CARPLAY_VOLUME extraVol) {
    StructuredWrite write(m_pObjectName);
    if (!AddSrcVol(__FUNCTION__, write, srcVol)) {
        return 0;
    }
    AddExtraVol(write, extraVol);
    return WriteVolumes(__FUNCTION__, write);
}

int CEQStatusPPSModule::PublishSrcVol(const T_SRC_VOL& srcVol) {
    StructuredWrite write(m_pObjectName);
    return AddSrcVol(__FUNCTION__, write, srcVol) ? WriteVolumes(__FUNCTION__, write) : 0;
}

int CEQStatusPPSModule::PublishExtendInfo(T_CARPLAY_VOLUME extraVol) {
    StructuredWrite write(m_pObjectName);
    AddExtraVol(write, extraVol);
    return WriteVolumes(__FUNCTION__, write);
}

int CEQStatusPPSModule::PublishFadeBal(int ff, int fr, int bl, int br) {
    StructuredWrite write(m_pObjectName);
    return write.StartAttribute(g_statusAttrs[kFadeBalanceAttribute])
        .Add(STATUS_FADE_BALANCE_FF, ff)
        .Add(STATUS_FADE_BALANCE_FR, fr)
        .Add(STATUS_FADE_BALANCE_BL, bl)
        .Add(STATUS_FADE_BALANCE_BR, br)
        .EndAttribute()
        .WriteTo(*this);
}

int CEQStatusPPSModule::PublishSubwoofer(unsigned char on, int phase, int filter) {
    const char* status = WordOf(__FUNCTION__, SwitchWords("subwooferStatus"), on);
    if (status == nullptr) {
        return 0;
    }
    StructuredWrite write(m_pObjectName);
    return write.StartAttribute(g_statusAttrs[kSubwooferAttribute])
        .Add(STATUS_STATUS, status)
        .Add(STATUS_SUBWOOFER_PHASE, phase)
        .Add(STATUS_SUBWOOFER_FILTER, filter)
        .EndAttribute()
        .WriteTo(*this);
}

int CEQStatusPPSModule::PublishSpeakerMode(int mode, int channel) {
    StructuredWrite write(m_pObjectName);
    return write.StartAttribute(g_statusAttrs[kSpeakerModeAttribute])
        .Add(STATUS_SPEAKER_MODE_MODE, mode)
        .Add(STATUS_SPEAKER_MODE_CHANNEL, channel)
        .EndAttribute()
        .WriteTo(*this);
}

/// What distinguishes the two stereo filters.
struct CEQStatusPPSModule::FilterRule {
    const char* function;
    StatusAttribute attribute;
    const char* code; ///< of its switch, in a message
};

int CEQStatusPPSModule::PublishFilter(const FilterRule& rule, unsigned char on, int cutoff) {
    const char* status = WordOf(rule.function, SwitchWords(rule.code), on);
    if (status == nullptr) {
        return 0;
    }
    StructuredWrite write(m_pObjectName);
    return write.StartAttribute(g_statusAttrs[rule.attribute])
        .Add(STATUS_STATUS, status)
        .Add(STATUS_FILTER_CUTOFF_FREQ, cutoff)
        .EndAttribute()
        .WriteTo(*this);
}

int CEQStatusPPSModule::PublishFrontFilter(unsigned char on, int cutoff) {
    return PublishFilter({__FUNCTION__, kFrontFilterAttribute, "frontStatus"}, on, cutoff);
}

int CEQStatusPPSModule::PublishRearFilter(unsigned char on, int cutoff) {
    return PublishFilter({__FUNCTION__, kRearFilterAttribute, "rearStatus"}, on, cutoff);
}

int CEQStatusPPSModule::PublishSrcGain(const tagSourceParam& src) {
    std::array<std::string, kSourceCount> names;
    for (std::size_t i = 0; i < src.Count; ++i) {
        if (!m_sources.GetSrcNameById(src.Src[i].SrcId, names[i])) {
            LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "CEQStatusPPSModule, unknown src ID: %d\n", src.Src[i].SrcId);
            return 0;
        }
    }
    StructuredWrite write(m_pObjectName);
    return write.StartAttribute(g_statusAttrs[kSourceGainAttribute])
        .Add(STATUS_SOURCE_GAIN_COUNT, src.Count)
        .AddArray(STATUS_SOURCE_GAIN_SRC, src.Count,
                  [&names](int i) { return names[static_cast<std::size_t>(i)].c_str(); })
        .AddArray(STATUS_SOURCE_GAIN_GAIN, src.Count, [&src](int i) { return int{src.Src[i].Gain}; })
        .EndAttribute()
        .WriteTo(*this);
}

int CEQStatusPPSModule::PublishInt(int attribute, int value) const {
    return SetPPSIntAttr(m_pObjectName, g_statusAttrs[attribute], value);
}

int CEQStatusPPSModule::PublishSubWGain(int gain) {
    return PublishInt(kSubWGainAttribute, gain);
}

int CEQStatusPPSModule::PublishCenterGain(int gain) {
    return PublishInt(kCenterGainAttribute, gain);
}

int CEQStatusPPSModule::PublishListenPos(int pos) {
    return PublishInt(kListenPosAttribute, pos);
}

int CEQStatusPPSModule::PublishSRS(int srs) {
    return PublishInt(kSrsAttribute, srs);
}

int CEQStatusPPSModule::PublishALC(unsigned char alc) {
    const int result = PublishInt(kAlcAttribute, alc);
    if (result == 0) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "SetPPSIntAttr return false");
    }
    return result;
}

int CEQStatusPPSModule::PublishWord(int attribute, const char* word) const {
    return word != nullptr && SetPPSStringAttr(m_pObjectName, g_statusAttrs[attribute], word);
}

int CEQStatusPPSModule::PublishLoud(int on) {
    return PublishWord(kLoudAttribute, WordOf(__FUNCTION__, SwitchWords("loudStatus"), on));
}

int CEQStatusPPSModule::PublishDBB(int on) {
    return PublishWord(kDbbAttribute, WordOf(__FUNCTION__, SwitchWords("dbbStatus"), on));
}

int CEQStatusPPSModule::PublishAudioMix(unsigned char mix) {
    if (mix > 1) {
        // This message names the accepted codes the other way round.
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "CEQStatusPPSModule, unknown mixStatus( %d or %d): %d\n", 1, 0, mix);
        return 0;
    }
    return PublishWord(kAudioMixAttribute, mix == 1 ? STATUS_SWITCH_ON : STATUS_SWITCH_OFF);
}

int CEQStatusPPSModule::PublishAudioICStatus(int state) {
    return PublishWord(kAudioIcAttribute,
                       WordOf(__FUNCTION__, {STATUS_AUDIO_IC_BAD, STATUS_AUDIO_IC_READY, "audioStatus"}, state));
}

int CEQStatusPPSModule::PublishEqType(int type) {
    static constexpr const char* kWords[kEqTypeCount] = {
        STATUS_EQTYPE_TYPE_0, STATUS_EQTYPE_TYPE_1, STATUS_EQTYPE_TYPE_2, STATUS_EQTYPE_TYPE_3,
        STATUS_EQTYPE_TYPE_4, STATUS_EQTYPE_TYPE_5, STATUS_EQTYPE_TYPE_6};
    if (static_cast<unsigned>(type) >= kEqTypeCount) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "CEQStatusPPSModule, unknown eqtype( %d ~ %d ): %d\n", 0, kEqTypeCount - 1,
                type);
        return 0;
    }
    return PublishWord(kEqTypeAttribute, kWords[type]);
}
