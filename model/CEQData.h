#ifndef TLG_MODEL_CEQDATA_H
#define TLG_MODEL_CEQDATA_H

#include <atomic>
#include <bitset>
#include <vector>

#include "model/SettingRecords.h"
#include "model/UpdateFlags.h"
#include "platform/posix/Mutex.h"

/// The service's single copy of the audio settings as the MCU last confirmed or reported them, with an
/// update flag for each group. A setter stores what differs and raises its group's flag only then; the
/// flag stays up until the update cycle clears it.
///
/// The controller owns one. Any thread may call it: each call takes the store's mutex for its own
/// duration and calls nothing outside meanwhile but the logger. Whether a flag is up is seen without the mutex. Whoever
/// holds the MCU link's lock may call it; nothing takes the two locks the other way round.
class CEQData {
public:
    CEQData();
    CEQData(const CEQData&) = delete;
    CEQData& operator=(const CEQData&) = delete;
    virtual ~CEQData() = default;

    // ---- Values: copies taken under the lock ----

    unsigned char GetAudioMixData() const { return Read(m_EQSetting.AudioMix); }
    unsigned char GetAudioICStatus() const { return Read(m_EQSetting.AudioICStatus); }
    unsigned char GetALCData() const { return Read(m_EQSetting.ALC); }
    tagEQType GetEqTypeDate() const { return Read(m_EQSetting.EQType); }
    tagSpeaker GetVolumeData() const { return Read(m_EQSetting.Speaker); }
    /// The same copy as GetVolumeData(), for readers of its tCarPlayVol.
    tagSpeaker GetCarPlayVolumeData() const { return Read(m_EQSetting.Speaker); }
    tagFadeBalance GetFadeBalData() const { return Read(m_EQSetting.FadeBal); }
    tagSourceParam GetSrcData() const { return Read(m_EQSetting.SrcParam); }
    tagAudioData GetAudioData() const { return Read(m_EQSetting.AudioData); }
    int GetVolumeScheme() const { return Read(m_EQSetting.VolumeScheme); }
    T_POWER_ON_STATUS GetPowerStatus() const { return Read(m_EQSetting.PowerStatus); }

    void SetAudioMixData(unsigned char mix) { Store(m_EQSetting.AudioMix, mix, UpdateFlag::AudioMix); }
    void SetAudioICStatus(unsigned char status) { Store(m_EQSetting.AudioICStatus, status, UpdateFlag::AudioIC); }
    void SetALCData(unsigned char alc) { Store(m_EQSetting.ALC, alc, UpdateFlag::ALC); }
    void SetSubWGainData(unsigned char gain) { Store(m_EQSetting.Speaker.SubWGain, gain, UpdateFlag::SubWGain); }
    void SetLoudData(unsigned char on) { Store(m_EQSetting.Speaker.Loud, on, UpdateFlag::Loud); }
    void SetListenPosData(unsigned char pos) { Store(m_EQSetting.Speaker.ListenPos, pos, UpdateFlag::ListenPos); }
    void SetSRSData(unsigned char srs) { Store(m_EQSetting.Speaker.SRS, srs, UpdateFlag::SRS); }
    void SetFadBalData(const tagFadeBalance& levels) { Store(m_EQSetting.FadeBal, levels, UpdateFlag::FadBal); }
    void SetDBBData(unsigned char on) { Store(m_EQSetting.AudioData.DBB, on, UpdateFlag::DBB); }
    void SetSubwooferData(const tagSubwoofer& value) {
        Store(m_EQSetting.AudioData.Subwoofer, value, UpdateFlag::Subwoofer);
    }
    void SetSpeakerModeData(const tagSpeakerMode& value) {
        Store(m_EQSetting.AudioData.SpeakerMode, value, UpdateFlag::SpeakerMode);
    }
    void SetFrontFilterData(const tagStereoFilterParam& value) {
        Store(m_EQSetting.AudioData.FrontFilter, value, UpdateFlag::FrontFilter);
    }
    void SetRearFilterData(const tagStereoFilterParam& value) {
        Store(m_EQSetting.AudioData.RearFilter, value, UpdateFlag::RearFilter);
    }
    /// @param gain 0 to 12; anything else is logged and changes nothing
    void SetCenterGainData(unsigned char gain);
    /// @param source of at most 32 entries; more is logged and changes nothing. The order of the entries
    ///        does not count as a change.
    void SetSrcGainData(const tagSourceParam& source);
    /// Raises EQ flag 0 on a change.
    void SetEqTypeData(unsigned char type);
    /// @param count 0 to 7; anything else is logged, changes nothing and gives false. Raises no flag.
    bool SetEqTypeNumData(int count);
    /// Raises EQ flag index + 1 when a gain, a frequency or a Q changes.
    /// @param index 0 to 6; @param bands exactly five. Anything else is logged and changes nothing.
    void SetEqDataByIndex(int index, const std::vector<tagEQBand>& bands);
    /// Raises FakePowerOff when the status turns into a fake power-off.
    void SetPowerStatus(T_POWER_ON_STATUS status);
    /// Always stores; raises no flag.
    void SetVolumeScheme(int scheme);

    /// Stores a volume block report: ChangeStatus, VolType, Max, SysMute, SrcMute, the levels and
    /// MaxPowerVol of its tSrcVol. Raises Volume, SrcMute, LaunchVolume and SrcVol by the rules of VolumeRules.cpp.
    void SetVolumeData(const tagSpeaker& speaker);
    /// Stores an extended volume report: ChangeStatus, VolType and the levels of its tCarPlayVol.
    /// Raises Volume, Extend and LaunchVolume by the same rules.
    void SetCarplayVolumeData(const tagSpeaker& speaker);
    /// Lets the next volume report's system mute count as the first one, which signals no launcher.
    void InitSysMuteStatus();

    // ---- Update flags ----

    /// Clears the flags in one hold of the lock; true when one of them was raised.
    bool TestAndClear(UpdateFlags flags);
    /// Whether one of the flags is raised.
    bool IsRaised(UpdateFlags flags) const { return (m_raised.load(std::memory_order_acquire) & flags.Bits()) != 0; }
    void Raise(UpdateFlags flags);

    // Each flag also has a setter and a getter: SetUpdateVolumeFlag(bool), GetUpdateVolumeFlag() and so on.
#define TLG_ACCESSORS(name, setter, getter) \
    void setter(bool on) { \
        Set(UpdateFlag::name, on); \
    } \
    bool getter() const { \
        return IsRaised({UpdateFlag::name}); \
    }
#define TLG_FLAG(name, bit, group) TLG_ACCESSORS(name, SetUpdate##name##Flag, GetUpdate##name##Flag)
    TLG_UPDATE_FLAGS(TLG_FLAG)
#undef TLG_FLAG
#define TLG_FLAG(name, member, setter, getter) TLG_ACCESSORS(name, setter, getter)
    TLG_BYTE_FLAGS(TLG_FLAG)
#undef TLG_FLAG
#undef TLG_ACCESSORS

    /// @param id as EqFlag() takes it, 0 to 8; above 8 nothing changes
    void SetUpdateEqFlagByBitID(bool on, unsigned char id);
    bool GetUpdateEqFlagByBitID(unsigned char id) const;

    /// Raises the flags of a whole setting group, which the MCU has answered a query for.
    /// @param group the record type; groups without flags raise nothing
    void SetUpdateFlagsByType(int group);

private:
    void Lock() const TLG_ACQUIRE(m_mutex) {
        m_mutex.lock();
    }
    void UnLock() const TLG_RELEASE(m_mutex) {
        m_mutex.unlock();
    }

    /// Holds the store for a scope.
    class TLG_SCOPED_CAPABILITY Guard {
    public:
        explicit Guard(const CEQData& data) TLG_ACQUIRE(data.m_mutex) : m_data(data) { m_data.Lock(); }
        ~Guard() TLG_RELEASE() { m_data.UnLock(); }
        Guard(const Guard&) = delete;
        Guard& operator=(const Guard&) = delete;

    private:
        const CEQData& m_data;
    };

    template <typename T>
    T Read(const T& stored) const {
        const Guard guard(*this);
        return stored;
    }

    /// Stores a value that differs; true when it did.
    template <typename T>
    bool Change(T& stored, const T& value) {
        const Guard guard(*this);
        if (stored == value) {
            return false;
        }
        stored = value;
        return true;
    }

    /// The rule of the common setters: store what differs, then raise the group's flag.
    template <typename T>
    void Store(T& stored, const T& value, UpdateFlag flag) {
        if (Change(stored, value)) {
            Set(flag, true);
        }
    }

    void Set(UpdateFlag flag, bool on) {
        const Guard guard(*this);
        Assign(flag, on);
    }

    // One flag, wherever it is kept.
    bool Holds(UpdateFlag flag) const TLG_REQUIRES(m_mutex);
    void Assign(UpdateFlag flag, bool on) TLG_REQUIRES(m_mutex);

    static unsigned char CEQData::*const kByteFlags[];

    bool DiffersFromStored(const tagSourceParam& source) const TLG_REQUIRES(m_mutex);

    unsigned char m_updateSrcMute TLG_GUARDED_BY(m_mutex) = 0;
    unsigned char m_updateLaunchVolume TLG_GUARDED_BY(m_mutex) = 0;
    unsigned char m_fakePowerOff TLG_GUARDED_BY(m_mutex) = 0;
    std::bitset<kUpdateFlagBits> m_updateFlags TLG_GUARDED_BY(m_mutex);
    std::bitset<kEqFlagCount> m_eqUpdateFlags TLG_GUARDED_BY(m_mutex);
    tagEQSetting m_EQSetting; // guarded by m_mutex
    mutable Mutex m_mutex;
    unsigned char m_extendUpdate TLG_GUARDED_BY(m_mutex) = 0;
    unsigned char m_updateSrcVol TLG_GUARDED_BY(m_mutex) = 0;
    // The flags that are up, once more: the update cycle asks for each of them, and few are. Written under m_mutex.
    std::atomic<std::uint64_t> m_raised{0};
};

#endif
