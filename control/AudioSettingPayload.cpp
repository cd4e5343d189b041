#include "control/AudioSettingPayload.h"

#include "model/RecordTypes.h"

namespace {

int FilterBits(const tagStereoFilterParam& filter) {
    return filter.CutoffFreq | filter.OnOff << 3;
}

} // namespace

bool IsPhaseKnown(int phase) {
    return phase == 0 || phase == kReversedPhase;
}

void WriteAudioSetting(const tagAudioData& audio, std::vector<unsigned char>& payload) {
    const tagSubwoofer& subwoofer = audio.Subwoofer;
    const int phaseBit = subwoofer.Phase == kReversedPhase ? 1 : 0;
    const int first = audio.DBB | subwoofer.OnOff << 1 | phaseBit << 2 | subwoofer.Filter << 3;
    const int second = audio.SpeakerMode.Mode | audio.SpeakerMode.Channel << 1;
    const int third = FilterBits(audio.FrontFilter) | FilterBits(audio.RearFilter) << 4;
    payload = {AUDIO_SETTING, static_cast<unsigned char>(first), static_cast<unsigned char>(second),
               static_cast<unsigned char>(third)};
}
