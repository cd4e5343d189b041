#include "model/CEQData.h"

#include <algorithm>

#include "framework/LogBase.h"
#include "model/RecordTypes.h"

CEQData::CEQData() {
    m_EQSetting.Speaker.tSrcVol.ChangeStatus = 2;
    m_EQSetting.Speaker.tCarPlayVol.VolType = 4;
    InitSysMuteStatus();
}

void CEQData::SetCenterGainData(unsigned char gain) {
    if (gain > kMaxCenterGain) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "ERR: centerGain is %d, the interval is %d ~ %d\n", gain, 0,
                kMaxCenterGain);
        return;
    }
    Store(m_EQSetting.Speaker.CenterGain, gain, CenterGain);
}

void CEQData::SetSrcGainData(const tagSourceParam& source) {
    if (source.Count > kSourceCount) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "the sources' number: %d, it is bigger than he size of array: %d.\n",
                source.Count, kSourceCount);
        return;
    }
    {
        const Guard guard(*this);
        if (!DiffersFromStored(source)) {
            return;
        }
        m_EQSetting.SrcParam.Count = source.Count;
        std::copy_n(source.Src, source.Count, m_EQSetting.SrcParam.Src);
    }
    SetUpdateSrcGainFlag(true);
}

/// Whether the table differs in its length, or has an entry that the stored one has not. Called with the
/// lock held.
bool CEQData::DiffersFromStored(const tagSourceParam& source) const {
    const tagSourceParam& stored = m_EQSetting.SrcParam;
    if (source.Count != stored.Count) {
        return true;
    }
    return std::any_of(source.Src, source.Src + source.Count, [&stored](const tagSourceGain& entry) {
        const auto* end = stored.Src + stored.Count;
        const auto* same =
            std::find_if(stored.Src, end, [&entry](const tagSourceGain& known) { return known.SrcId == entry.SrcId; });
        return same == end || same->Gain != entry.Gain;
    });
}

void CEQData::SetEqTypeData(unsigned char type) {
    if (Change(m_EQSetting.EQType.Type, type)) {
        SetUpdateEqFlagByBitID(true, 0);
    }
}

bool CEQData::SetEqTypeNumData(int count) {
    if (static_cast<unsigned>(count) > kEqTypeCount) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "CEQData, wrong type num(0 ~ %d): %d\n", kEqTypeCount, count);
        return false;
    }
    Change(m_EQSetting.EQType.TypeNum, count);
    return true;
}

void CEQData::SetEqDataByIndex(int index, const std::vector<tagEQBand>& bands) {
    if (static_cast<unsigned>(index) >= kEqTypeCount) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "nIndex = %d, the interval is %d ~ %d\n", index, 0, kEqTypeCount - 1);
        return;
    }
    if (bands.size() != kEqBandCount) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "eqBand.size is %d, not equal to %d\n", static_cast<int>(bands.size()),
                kEqBandCount);
        return;
    }
    bool changed = false;
    {
        const Guard guard(*this);
        tagEQBand* stored = m_EQSetting.EQType.Band[index];
        for (const tagEQBand& band : bands) {
            if (*stored != band) {
                *stored = {band.Gain, band.Freq, 0, band.Q};
                changed = true;
            }
            ++stored;
        }
    }
    if (changed) {
        SetUpdateEqFlagByBitID(true, static_cast<unsigned char>(index + 1));
    }
}

void CEQData::SetPowerStatus(T_POWER_ON_STATUS status) {
    if (Change(m_EQSetting.PowerStatus, status) && status == POWER_STATUS_IS_FAKE_OFF) {
        SetFakePowerOffFlag(true);
    }
}

void CEQData::SetVolumeScheme(int scheme) {
    Change(m_EQSetting.VolumeScheme, scheme);
}

void CEQData::InitSysMuteStatus() {
    const Guard guard(*this);
    m_EQSetting.Speaker.tSrcVol.SysMuteFirst = 1;
}

void CEQData::SetUpdateEqFlagByBitID(bool on, unsigned char id) {
    const Guard guard(*this);
    if (id < m_eqUpdateFlags.size()) {
        m_eqUpdateFlags[id] = on;
    }
}

bool CEQData::GetUpdateEqFlagByBitID(unsigned char id) const {
    const Guard guard(*this);
    return id < m_eqUpdateFlags.size() && m_eqUpdateFlags[id];
}

void CEQData::SetUpdateFlagsByType(int group) {
    const Guard guard(*this);
    const auto raise = [this](std::initializer_list<UpdateFlag> flags) {
        for (const UpdateFlag flag : flags) {
            m_updateFlags[flag] = true;
        }
    };
    switch (group) {
    case VOLUME_AND_FADE_BALANCE:
        // The record carries the audio processor status too: a restarted HMI is to hear of it.
        raise({Volume, FadBal, SubWGain, CenterGain, Loud, AudioIC});
        break;
    case EQ:
        m_eqUpdateFlags.set();
        break;
    case SOURCE_GAIN:
        raise({SrcGain});
        break;
    case LISTEN_POS:
        raise({ListenPos, SRS});
        break;
    case AUDIO_SETTING:
        raise({DBB, Subwoofer, SpeakerMode, FrontFilter, RearFilter});
        break;
    default:
        break;
    }
}
