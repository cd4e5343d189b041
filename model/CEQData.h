#ifndef TLG_MODEL_CEQDATA_H
#define TLG_MODEL_CEQDATA_H

#include <bitset>
#include <vector>

#include "model/SettingRecords.h"
#include "platform/posix/Mutex.h"

/// The service's single copy of the audio settings as the MCU last confirmed or reported them, with an
/// update flag for each group. A setter stores what differs and raises its group's flag only then; the
/// flag stays up until the update cycle clears it.
///
/// The controller owns one. Any thread may call it: each call takes the store's mutex for its own
/// duration and calls nothing outside meanwhile but the logger. Whoever holds the MCU link's lock may
/// call it; nothing takes the two locks the other way round.
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

    void SetAudioMixData(unsigned char mix) { Store(m_EQSetting.AudioMix, mix, AudioMix); }
    void SetAudioICStatus(unsigned char status) { Store(m_EQSetting.AudioICStatus, status, AudioIC); }
    void SetALCData(unsigned char alc) { Store(m_EQSetting.ALC, alc, ALC); }
    void SetSubWGainData(unsigned char gain) { Store(m_EQSetting.Speaker.SubWGain, gain, SubWGain); }
    void SetLoudData(unsigned char on) { Store(m_EQSetting.Speaker.Loud, on, Loud); }
    void SetListenPosData(unsigned char pos) { Store(m_EQSetting.Speaker.ListenPos, pos, ListenPos); }
    void SetSRSData(unsigned char srs) { Store(m_EQSetting.Speaker.SRS, srs, SRS); }
    void SetFadBalData(const tagFadeBalance& levels) { Store(m_EQSetting.FadeBal, levels, FadBal); }
    void SetDBBData(unsigned char on) { Store(m_EQSetting.AudioData.DBB, on, DBB); }
    void SetSubwooferData(const tagSubwoofer& value) { Store(m_EQSetting.AudioData.Subwoofer, value, Subwoofer); }
    void SetSpeakerModeData(const tagSpeakerMode& value) {
        Store(m_EQSetting.AudioData.SpeakerMode, value, SpeakerMode);
    }
    void SetFrontFilterData(const tagStereoFilterParam& value) {
        Store(m_EQSetting.AudioData.FrontFilter, value, FrontFilter);
    }
    void SetRearFilterData(const tagStereoFilterParam& value) {
        Store(m_EQSetting.AudioData.RearFilter, value, RearFilter);
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

    /// Takes over a volume block report: ChangeStatus, VolType, Max, SysMute, SrcMute, the levels and
    /// MaxPowerVol of its tSrcVol. Raises Volume, SrcMute, LaunchVolume and SrcVol as far as due.
    void SetVolumeData(const tagSpeaker& speaker);
    /// Takes over an extended volume report: ChangeStatus, VolType and the levels of its tCarPlayVol.
    /// Raises Volume, ExtendUpdate and LaunchVolume as far as due.
    void SetCarplayVolumeData(const tagSpeaker& speaker);
    /// Lets the next volume report's system mute count as the first one, which signals no launcher.
    void InitSysMuteStatus();

    // ---- Update flags ----

#define TLG_UPDATE_FLAG(Name) \
    void SetUpdate##Name##Flag(bool on) { \
        SetFlag(Name, on); \
    } \
    bool GetUpdate##Name##Flag() const { \
        return GetFlag(Name); \
    }
    TLG_UPDATE_FLAG(Volume)
    TLG_UPDATE_FLAG(FadBal)
    TLG_UPDATE_FLAG(SubWGain)
    TLG_UPDATE_FLAG(SrcGain)
    TLG_UPDATE_FLAG(CenterGain)
    TLG_UPDATE_FLAG(Loud)
    TLG_UPDATE_FLAG(ListenPos)
    TLG_UPDATE_FLAG(DBB)
    TLG_UPDATE_FLAG(Subwoofer)
    TLG_UPDATE_FLAG(SpeakerMode)
    TLG_UPDATE_FLAG(FrontFilter)
    TLG_UPDATE_FLAG(RearFilter)
    TLG_UPDATE_FLAG(AudioMix)
    TLG_UPDATE_FLAG(SRS)
    TLG_UPDATE_FLAG(AudioIC)
    TLG_UPDATE_FLAG(ALC)
#undef TLG_UPDATE_FLAG

#define TLG_BYTE_FLAG(Set, Get, flag) \
    void Set(bool on) { \
        SetFlag(flag, on); \
    } \
    bool Get() const { \
        return GetFlag(flag); \
    }
    TLG_BYTE_FLAG(SetUpdateSrcMuteFlag, GetUpdateSrcMuteFlag, m_updateSrcMute)
    TLG_BYTE_FLAG(SetUpdateLaunchVolumeFlag, GetUpdateLaunchVolumeFlag, m_updateLaunchVolume)
    TLG_BYTE_FLAG(SetUpdateSrcVolFlag, GetUpdateSrcVolFlag, m_updateSrcVol)
    TLG_BYTE_FLAG(SetUpdateExtendFlag, GetExtendUpdateFlag, m_extendUpdate)
    TLG_BYTE_FLAG(SetFakePowerOffFlag, GetFakePowerOffFlag, m_fakePowerOff)
#undef TLG_BYTE_FLAG

    /// @param id 0: the current EQ type; 1 to 7: the curve of EQ type id - 1; 8 belongs to no group and is
    ///        raised only with all others; above 8 nothing changes
    void SetUpdateEqFlagByBitID(bool on, unsigned char id);
    bool GetUpdateEqFlagByBitID(unsigned char id) const;

    /// Raises the flags of a whole setting group, which the MCU has answered a query for.
    /// @param group the record type; groups without flags raise nothing
    void SetUpdateFlagsByType(int group);

private:
    /// The bits of the update flags; bit 15 has no flag.
    enum UpdateFlag : std::size_t {
        Volume = 0,
        FadBal = 1,
        SubWGain = 2,
        SrcGain = 3,
        CenterGain = 4,
        Loud = 5,
        ListenPos = 6,
        DBB = 7,
        Subwoofer = 8,
        SpeakerMode = 9,
        FrontFilter = 10,
        RearFilter = 11,
        AudioMix = 12,
        SRS = 13,
        AudioIC = 14,
        ALC = 16
    };

    void Lock() const {
        m_mutex.lock();
    }
    void UnLock() const {
        m_mutex.unlock();
    }

    /// Holds the store for a scope.
    class Guard {
    public:
        explicit Guard(const CEQData& data) : m_data(data) { m_data.Lock(); }
        ~Guard() { m_data.UnLock(); }
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
            SetFlag(flag, true);
        }
    }

    /// Accessors of one flag, be it a bit of the set or a byte.
    void SetFlag(UpdateFlag flag, bool on) {
        const Guard guard(*this);
        m_updateFlags[flag] = on;
    }
    bool GetFlag(UpdateFlag flag) const {
        const Guard guard(*this);
        return m_updateFlags[flag];
    }
    void SetFlag(unsigned char& flag, bool on) {
        const Guard guard(*this);
        flag = on ? 1 : 0;
    }
    bool GetFlag(const unsigned char& flag) const {
        const Guard guard(*this);
        return flag != 0;
    }

    bool DiffersFromStored(const tagSourceParam& source) const;

    unsigned char m_updateSrcMute = 0;
    unsigned char m_updateLaunchVolume = 0;
    unsigned char m_fakePowerOff = 0;
    std::bitset<17> m_updateFlags;
    std::bitset<9> m_eqUpdateFlags;
    tagEQSetting m_EQSetting; // like all other members guarded by m_mutex
    mutable Mutex m_mutex;
    unsigned char m_extendUpdate = 0;
    unsigned char m_updateSrcVol = 0;
};

#endif
