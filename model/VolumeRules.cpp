// How volume reports change the store, and which flags each change raises.
#include "framework/LogBase.h"
#include "model/CEQData.h"

namespace {

/// The highest VolType that names a volume.
constexpr int kLastVolumeType = 3;

/// True when the value differed from the stored one.
bool Replace(std::uint8_t& stored, std::uint8_t value) {
    const bool changed = stored != value;
    stored = value;
    return changed;
}

/// True when one of the four levels differed.
bool ReplaceLevels(T_SRC_VOL& stored, const T_SRC_VOL& report) {
    bool changed = false;
    for (int i = 0; i < kVolumeCount; ++i) {
        changed |= Replace(stored.SrcVol[i], report.SrcVol[i]);
    }
    return changed;
}

/// Stores the change status, unless it is unknown; true when the report carried a change mark.
bool StoreChangeStatus(T_SRC_VOL& stored, const T_SRC_VOL& report, const char* function) {
    if (report.ChangeStatus > 1) {
        LOGBASE(LOG_LEV_ERROR, function, "CEQData, unknown volume change status(%d or %d): %d\n", 0, 1,
                report.ChangeStatus);
        return false;
    }
    stored.ChangeStatus = report.ChangeStatus;
    return report.ChangeStatus == 1;
}

} // namespace

void CEQData::SetVolumeData(const tagSpeaker& speaker) {
    const T_SRC_VOL& report = speaker.tSrcVol;
    bool volume = false;
    bool mute = false;
    bool launch = false;
    bool sourceVolume = false;
    {
        const Guard guard(*this);
        T_SRC_VOL& stored = m_EQSetting.Speaker.tSrcVol;
        volume |= Replace(stored.MaxPowerVol, report.MaxPowerVol);
        const bool mainLevel = Replace(stored.SrcVol[0], report.SrcVol[0]);
        LOGBASE(LOG_LEV_NOTICE, __FUNCTION__, "speakerVolume.tSrcVol.Max:%d", report.Max);
        const bool max = Replace(stored.Max, report.Max);
        // The first system mute after start or a fake power-off says how things are; nobody changed it.
        const bool isFirst = stored.SysMuteFirst != 0;
        stored.SysMuteFirst = 0;
        const bool systemMute = Replace(stored.SysMute, report.SysMute);
        launch |= systemMute && !isFirst;
        mute |= Replace(stored.SrcMute, report.SrcMute);
        volume |= mainLevel || max || systemMute;
        sourceVolume |= mainLevel || max || systemMute || mute;
        sourceVolume |= ReplaceLevels(stored, report);
        if (stored.VolType != report.VolType) {
            LOGBASE(LOG_LEV_NOTICE, __FUNCTION__, "m_EQSetting.Speaker.tSrcVol.VolType = %d", stored.VolType);
            LOGBASE(LOG_LEV_NOTICE, __FUNCTION__, " speakerVolume.tSrcVol.VolType = %d", report.VolType);
            stored.VolType = report.VolType;
            sourceVolume |= report.VolType <= kLastVolumeType;
        }
        launch |= StoreChangeStatus(stored, report, __FUNCTION__);
    }
    if (volume) {
        SetUpdateVolumeFlag(true);
    }
    if (mute) {
        SetUpdateSrcMuteFlag(true);
    }
    if (launch) {
        SetUpdateLaunchVolumeFlag(true);
    }
    if (sourceVolume) {
        SetUpdateSrcVolFlag(true);
    }
}

void CEQData::SetCarplayVolumeData(const tagSpeaker& speaker) {
    const T_CARPLAY_VOLUME& report = speaker.tCarPlayVol;
    bool extend = false;
    bool launch = false;
    {
        const Guard guard(*this);
        T_CARPLAY_VOLUME& stored = m_EQSetting.Speaker.tCarPlayVol;
        extend |= ReplaceLevels(stored, report);
        extend |= Replace(stored.VolType, report.VolType) && report.VolType <= kLastVolumeType;
        launch |= StoreChangeStatus(stored, report, __FUNCTION__);
    }
    if (launch) {
        SetUpdateVolumeFlag(true);
    }
    if (extend) {
        SetUpdateExtendFlag(true);
    }
    if (launch) {
        SetUpdateLaunchVolumeFlag(true);
    }
}
