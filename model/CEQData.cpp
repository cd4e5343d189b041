#include "model/CEQData.h"

#include <algorithm>

#include "framework/LogBase.h"

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
    Store(m_EQSetting.Speaker.CenterGain, gain, UpdateFlag::CenterGain);
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

unsigned char CEQData::*const CEQData::kByteFlags[] = {
#define TLG_FLAG(name, member, setter, getter) &CEQData::member,
    TLG_BYTE_FLAGS(TLG_FLAG)
#undef TLG_FLAG
};

bool CEQData::Holds(UpdateFlag flag) const {
    const auto index = static_cast<std::size_t>(flag);
    if (flag < UpdateFlag::EqFirst) {
        return m_updateFlags[index];
    }
    if (flag < UpdateFlag::BytesFirst) {
        return m_eqUpdateFlags[index - static_cast<std::size_t>(UpdateFlag::EqFirst)];
    }
    return this->*kByteFlags[index - static_cast<std::size_t>(UpdateFlag::BytesFirst)] != 0;
}

void CEQData::Assign(UpdateFlag flag, bool on) {
    const auto index = static_cast<std::size_t>(flag);
    if (flag < UpdateFlag::EqFirst) {
        m_updateFlags[index] = on;
    } else if (flag < UpdateFlag::BytesFirst) {
        m_eqUpdateFlags[index - static_cast<std::size_t>(UpdateFlag::EqFirst)] = on;
    } else {
        this->*kByteFlags[index - static_cast<std::size_t>(UpdateFlag::BytesFirst)] = on ? 1 : 0;
    }
    const std::uint64_t raised = m_raised.load(std::memory_order_relaxed);
    const std::uint64_t bit = UpdateFlags{flag}.Bits();
    m_raised.store(on ? raised | bit : raised & ~bit, std::memory_order_release);
}

bool CEQData::TestAndClear(UpdateFlags flags) {
    if (!IsRaised(flags)) {
        return false;
    }
    const Guard guard(*this);
    bool wasRaised = false;
    for (const UpdateFlag flag : flags) {
        wasRaised |= Holds(flag);
        Assign(flag, false);
    }
    return wasRaised;
}

void CEQData::Raise(UpdateFlags flags) {
    const Guard guard(*this);
    for (const UpdateFlag flag : flags) {
        Assign(flag, true);
    }
}

void CEQData::SetUpdateEqFlagByBitID(bool on, unsigned char id) {
    if (id < kEqFlagCount) {
        Set(EqFlag(id), on);
    }
}

bool CEQData::GetUpdateEqFlagByBitID(unsigned char id) const {
    return id < kEqFlagCount && IsRaised({EqFlag(id)});
}

void CEQData::SetUpdateFlagsByType(int group) {
    Raise(FlagsOfGroup(group));
}
