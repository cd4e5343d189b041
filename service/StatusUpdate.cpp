// The update cycle: walks the store's update flags in a fixed order. For each raised flag it clears the flag
// and calls the group's publisher with values from the store (for the main volume the other way round). Nothing is
// locked meanwhile; a publisher that fails does not stop the cycle.
#include "framework/LogBase.h"
#include "service/CEQMidController.h"
#include "service/SyncLaunch.h"

template <typename Publish>
void CEQMidController::UpdateGroup(FlagGetter isRaised, FlagSetter set, Publish publish) {
    if ((m_EQData.*isRaised)()) {
        (m_EQData.*set)(false);
        m_publishedGroups.Add(set);
        publish();
    }
}

void CEQMidController::UpdatePPS() {
    UpdateGroup(&CEQData::GetUpdateAudioMixFlag, &CEQData::SetUpdateAudioMixFlag,
                [this] { m_EQStatus.PublishAudioMix(m_EQData.GetAudioMixData()); });
    UpdateGroup(&CEQData::GetUpdateALCFlag, &CEQData::SetUpdateALCFlag,
                [this] { m_EQStatus.PublishALC(m_EQData.GetALCData()); });
    UpdateGroup(&CEQData::GetUpdateAudioICFlag, &CEQData::SetUpdateAudioICFlag,
                [this] { m_EQStatus.PublishAudioICStatus(m_EQData.GetAudioICStatus()); });
    const tagSpeaker speaker = m_EQData.GetVolumeData();
    UpdateVolumes(speaker);
    UpdateSpeaker(speaker);
    UpdateAudio();
    UpdateEqualiser();
    LOGBASE(LOG_LEV_NOTICE, __FUNCTION__, "end");
}

void CEQMidController::UpdateVolumes(const tagSpeaker& speaker) {
    const T_SRC_VOL& volume = speaker.tSrcVol;
    if (m_EQData.GetUpdateVolumeFlag() || m_EQData.GetUpdateSrcMuteFlag()) {
        m_EQStatus.PublishVolume(volume.SrcVol[0], volume.Max, volume.SysMute, volume.SrcMute, volume.MaxPowerVol);
        m_systemDevStatus.PublishVolumeStatus(volume.SysMute, volume.SrcVol[0]);
        m_EQData.SetUpdateVolumeFlag(false);
        m_EQData.SetUpdateSrcMuteFlag(false);
        m_publishedGroups.Add(&CEQData::SetUpdateVolumeFlag);
    }
    if (m_EQData.GetUpdateLaunchVolumeFlag()) {
        m_EQData.SetUpdateLaunchVolumeFlag(false);
        SyncLaunch::ShowModule("zovolume", "null");
    }
    if (m_EQData.GetUpdateSrcVolFlag() || m_EQData.GetExtendUpdateFlag()) {
        m_EQData.SetUpdateExtendFlag(false);
        m_EQData.SetUpdateSrcVolFlag(false);
        m_publishedGroups.Add(&CEQData::SetUpdateSrcVolFlag);
        m_EQStatus.PublishAllVol(volume, speaker.tCarPlayVol);
        if (m_EQData.GetVolumeScheme() == 1) {
            m_bNaviVolEnabled = true;
            m_gpsStatus.PublishNaviVol(volume.SrcVol[1], volume.Max);
        }
    }
}

void CEQMidController::UpdateSpeaker(const tagSpeaker& speaker) {
    UpdateGroup(&CEQData::GetUpdateFadBalFlag, &CEQData::SetUpdateFadBalFlag, [this] {
        const tagFadeBalance levels = m_EQData.GetFadeBalData();
        m_EQStatus.PublishFadeBal(levels.FF, levels.FR, levels.BL, levels.BR);
    });
    UpdateGroup(&CEQData::GetUpdateSubWGainFlag, &CEQData::SetUpdateSubWGainFlag,
                [&] { m_EQStatus.PublishSubWGain(speaker.SubWGain); });
    UpdateGroup(&CEQData::GetUpdateCenterGainFlag, &CEQData::SetUpdateCenterGainFlag,
                [&] { m_EQStatus.PublishCenterGain(speaker.CenterGain); });
    UpdateGroup(&CEQData::GetUpdateSrcGainFlag, &CEQData::SetUpdateSrcGainFlag,
                [this] { m_EQStatus.PublishSrcGain(m_EQData.GetSrcData()); });
    UpdateGroup(&CEQData::GetUpdateListenPosFlag, &CEQData::SetUpdateListenPosFlag,
                [&] { m_EQStatus.PublishListenPos(speaker.ListenPos); });
    UpdateGroup(&CEQData::GetUpdateSRSFlag, &CEQData::SetUpdateSRSFlag, [&] { m_EQStatus.PublishSRS(speaker.SRS); });
    UpdateGroup(&CEQData::GetUpdateLoudFlag, &CEQData::SetUpdateLoudFlag,
                [&] { m_EQStatus.PublishLoud(speaker.Loud); });
}

void CEQMidController::UpdateAudio() {
    const tagAudioData audio = m_EQData.GetAudioData();
    UpdateGroup(&CEQData::GetUpdateDBBFlag, &CEQData::SetUpdateDBBFlag, [&] { m_EQStatus.PublishDBB(audio.DBB); });
    UpdateGroup(&CEQData::GetUpdateSubwooferFlag, &CEQData::SetUpdateSubwooferFlag, [&] {
        m_EQStatus.PublishSubwoofer(audio.Subwoofer.OnOff, audio.Subwoofer.Phase, audio.Subwoofer.Filter);
    });
    UpdateGroup(&CEQData::GetUpdateSpeakerModeFlag, &CEQData::SetUpdateSpeakerModeFlag,
                [&] { m_EQStatus.PublishSpeakerMode(audio.SpeakerMode.Mode, audio.SpeakerMode.Channel); });
    UpdateGroup(&CEQData::GetUpdateFrontFilterFlag, &CEQData::SetUpdateFrontFilterFlag,
                [&] { m_EQStatus.PublishFrontFilter(audio.FrontFilter.OnOff, audio.FrontFilter.CutoffFreq); });
    UpdateGroup(&CEQData::GetUpdateRearFilterFlag, &CEQData::SetUpdateRearFilterFlag,
                [&] { m_EQStatus.PublishRearFilter(audio.RearFilter.OnOff, audio.RearFilter.CutoffFreq); });
}

/// EQ flag 0 belongs to the current EQ type, flag b to the curve of EQ type b - 1.
void CEQMidController::UpdateEqualiser() {
    const tagEQType equaliser = m_EQData.GetEqTypeDate();
    if (m_EQData.GetUpdateEqFlagByBitID(0)) {
        m_EQData.SetUpdateEqFlagByBitID(false, 0);
        m_publishedGroups.AddEq(0);
        m_EQStatus.PublishEqType(equaliser.Type);
    }
    for (unsigned char flag = 1; flag <= kEqTypeCount; ++flag) {
        if (m_EQData.GetUpdateEqFlagByBitID(flag)) {
            m_EQData.SetUpdateEqFlagByBitID(false, flag);
            m_publishedGroups.AddEq(flag);
            m_EQSetting.PublishEqSafByIndex(flag - 1, equaliser);
        }
    }
}
