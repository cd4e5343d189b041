#include "model/VolumeAndFadePayload.h"

#include "model/RecordTypes.h"

VolumeAndFadePayload::VolumeAndFadePayload(const CEQData& data)
    : audioIC(data.GetAudioICStatus()), speaker(data.GetVolumeData()), fade(data.GetFadeBalData()) {}

void VolumeAndFadePayload::WriteTo(std::vector<unsigned char>& payload) const {
    const T_SRC_VOL& volume = speaker.tSrcVol;
    const auto level = [&volume](int index) { return static_cast<std::uint8_t>(volume.SrcVol[index] & kLevelMask); };
    payload = {VOLUME_AND_FADE_BALANCE,
               audioIC,
               static_cast<std::uint8_t>(level(0) | mainChangeMark),
               volume.Max,
               level(1),
               level(2),
               level(3),
               volume.MaxPowerVol,
               static_cast<std::uint8_t>(volume.SysMute + (volume.SrcMute << 1)),
               fade.FF,
               fade.FR,
               fade.BL,
               fade.BR,
               speaker.SubWGain,
               speaker.CenterGain,
               speaker.Loud};
}
