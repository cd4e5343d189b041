// The update cycle: a table of steps, carried out in its order. A step with flags is carried out when one of them is
// raised; they are cleared before its calls or after them. Nothing is locked meanwhile; a publisher that fails does not
// stop the cycle.
#include <new>

#include "framework/LogBase.h"
#include "service/CEQMidController.h"
#include "service/SyncLaunch.h"
#include "status/StatusNames.h"

namespace {

/// Whom the steps call, and the copies of the store that they share.
struct Cycle {
    const CEQData& store;
    CEQStatusPPSModule& status;
    CEQSettingPPSModule& settings;
    SystemDevStatusPPSModule& device;
    GpsStatusPPSModule& navigation;
    bool& isNavigationEnabled;
    tagSpeaker speaker;
    tagAudioData audio;
    tagEQType equaliser;
};

void PublishAudioMix(Cycle& cycle) {
    cycle.status.PublishAudioMix(cycle.store.GetAudioMixData());
}

void PublishALC(Cycle& cycle) {
    cycle.status.PublishALC(cycle.store.GetALCData());
}

void PublishAudioIC(Cycle& cycle) {
    cycle.status.PublishAudioICStatus(cycle.store.GetAudioICStatus());
}

void PublishMainVolume(Cycle& cycle) {
    const T_SRC_VOL& volume = cycle.speaker.tSrcVol;
    cycle.status.PublishVolume(volume.SrcVol[0], volume.Max, volume.SysMute, volume.SrcMute, volume.MaxPowerVol);
    cycle.device.PublishVolumeStatus(volume.SysMute, volume.SrcVol[0]);
}

void PublishSourceVolumes(Cycle& cycle) {
    const T_SRC_VOL& volume = cycle.speaker.tSrcVol;
    cycle.status.PublishAllVol(volume, cycle.speaker.tCarPlayVol);
    if (cycle.store.GetVolumeScheme() == 1) {
        cycle.isNavigationEnabled = true;
        cycle.navigation.PublishNaviVol(volume.SrcVol[1], volume.Max);
    }
}

void PublishFade(Cycle& cycle) {
    const tagFadeBalance levels = cycle.store.GetFadeBalData();
    cycle.status.PublishFadeBal(levels.FF, levels.FR, levels.BL, levels.BR);
}

void PublishCenterGain(Cycle& cycle) {
    cycle.status.PublishCenterGain(cycle.speaker.CenterGain);
}

void PublishSourceGain(Cycle& cycle) {
    cycle.status.PublishSrcGain(cycle.store.GetSrcData());
}

void PublishSubwoofer(Cycle& cycle) {
    const tagSubwoofer& subwoofer = cycle.audio.Subwoofer;
    cycle.status.PublishSubwoofer(subwoofer.OnOff, subwoofer.Phase, subwoofer.Filter);
}

void PublishSpeakerMode(Cycle& cycle) {
    const tagSpeakerMode& speaker = cycle.audio.SpeakerMode;
    cycle.status.PublishSpeakerMode(speaker.Mode, speaker.Channel);
}

void PublishFrontFilter(Cycle& cycle) {
    const tagStereoFilterParam& filter = cycle.audio.FrontFilter;
    cycle.status.PublishFrontFilter(filter.OnOff, filter.CutoffFreq);
}

void PublishRearFilter(Cycle& cycle) {
    const tagStereoFilterParam& filter = cycle.audio.RearFilter;
    cycle.status.PublishRearFilter(filter.OnOff, filter.CutoffFreq);
}

template <int type>
void PublishCurve(Cycle& cycle) {
    cycle.settings.PublishEqSafByIndex(type, cycle.equaliser);
}

enum class Clear { kBefore, kAfter };

/// The attributes of the status object that a step publishes, if any.
struct Attributes {
    StatusAttribute first = kStatusAttributeCount;
    StatusAttribute second = kStatusAttributeCount;
};

struct Step { // NOLINT(clang-analyzer-optin.performance.Padding): the columns are in the order of the rule
    UpdateFlags flags;
    Attributes attributes;
    void (*carryOut)(Cycle& cycle);
    Clear clear = Clear::kBefore; ///< the flags, before or after the call
};

/// Carried out whatever is raised: takes one of the copies.
constexpr UpdateFlags kAlways{};

using Flag = UpdateFlag;

// clang-format off
constexpr Step kSteps[] = {
    // when raised         publishes                by
    {{Flag::AudioMix},      {kAudioMixAttribute},    PublishAudioMix},
    {{Flag::ALC},           {kAlcAttribute},         PublishALC},
    {{Flag::AudioIC},       {kAudioIcAttribute},     PublishAudioIC},
    {kAlways,               {},                      [](Cycle& c) { c.speaker = c.store.GetVolumeData(); }},
    {{Flag::Volume, Flag::SrcMute}, {kVolumeAttribute},      PublishMainVolume, Clear::kAfter},
    {{Flag::LaunchVolume},  {},                      [](Cycle&) { SyncLaunch::ShowModule("zovolume", "null"); }},
    {{Flag::Extend, Flag::SrcVol}, {kSrcVolAttribute, kExtraVolAttribute}, PublishSourceVolumes},
    {{Flag::FadBal},        {kFadeBalanceAttribute}, PublishFade},
    {{Flag::SubWGain},      {kSubWGainAttribute},    [](Cycle& c) { c.status.PublishSubWGain(c.speaker.SubWGain); }},
    {{Flag::CenterGain},    {kCenterGainAttribute},  PublishCenterGain},
    {{Flag::SrcGain},       {kSourceGainAttribute},  PublishSourceGain},
    {{Flag::ListenPos},     {kListenPosAttribute},   [](Cycle& c) { c.status.PublishListenPos(c.speaker.ListenPos); }},
    {{Flag::SRS},           {kSrsAttribute},         [](Cycle& c) { c.status.PublishSRS(c.speaker.SRS); }},
    {{Flag::Loud},          {kLoudAttribute},        [](Cycle& c) { c.status.PublishLoud(c.speaker.Loud); }},
    {kAlways,               {},                      [](Cycle& c) { c.audio = c.store.GetAudioData(); }},
    {{Flag::DBB},           {kDbbAttribute},         [](Cycle& c) { c.status.PublishDBB(c.audio.DBB); }},
    {{Flag::Subwoofer},     {kSubwooferAttribute},   PublishSubwoofer},
    {{Flag::SpeakerMode},   {kSpeakerModeAttribute}, PublishSpeakerMode},
    {{Flag::FrontFilter},   {kFrontFilterAttribute}, PublishFrontFilter},
    {{Flag::RearFilter},    {kRearFilterAttribute},  PublishRearFilter},
    {kAlways,               {},                      [](Cycle& c) { c.equaliser = c.store.GetEqTypeDate(); }},
    {{EqFlag(0)},           {kEqTypeAttribute},      [](Cycle& c) { c.status.PublishEqType(c.equaliser.Type); }},
    {{EqFlag(1)},           {},                      PublishCurve<0>},
    {{EqFlag(2)},           {},                      PublishCurve<1>},
    {{EqFlag(3)},           {},                      PublishCurve<2>},
    {{EqFlag(4)},           {},                      PublishCurve<3>},
    {{EqFlag(5)},           {},                      PublishCurve<4>},
    {{EqFlag(6)},           {},                      PublishCurve<5>},
    {{EqFlag(7)},           {},                      PublishCurve<6>},
};
// clang-format on

constexpr bool HasStepForEachFlag() {
    UpdateFlags missing = UpdateFlags::All().Without({Flag::FakePowerOff, EqFlag(kEqTypeCount + 1)});
    for (const Step& step : kSteps) {
        missing = missing.Without(step.flags);
    }
    return missing == UpdateFlags();
}
static_assert(HasStepForEachFlag(), "each flag is cleared by a step");

constexpr bool HasOneStepForEachAttribute() {
    for (int attribute = 0; attribute < kStatusAttributeCount; ++attribute) {
        int steps = 0;
        for (const Step& step : kSteps) {
            steps += step.attributes.first == attribute || step.attributes.second == attribute ? 1 : 0;
        }
        if (steps != 1) {
            return false;
        }
    }
    return true;
}
static_assert(HasOneStepForEachAttribute(), "each attribute is published by one step");

/// Whether the step has something to do; its flags are then cleared, if before it.
bool TakeDue(const Step& step, CEQData& store) {
    if (step.flags == kAlways) {
        return true;
    }
    return step.clear == Clear::kBefore ? store.TestAndClear(step.flags) : store.IsRaised(step.flags);
}

/// Where memory runs out, the step is due again with the next packet.
void CarryOut(const Step& step, Cycle& cycle, CEQData& store) {
    try {
        step.carryOut(cycle);
    } catch (const std::bad_alloc&) {
        store.Raise(step.flags);
        throw;
    }
}

} // namespace

void CEQMidController::UpdatePPS() {
    Cycle cycle{m_EQData, m_EQStatus, m_EQSetting, m_systemDevStatus, m_gpsStatus, m_bNaviVolEnabled, {}, {}, {}};
    for (const Step& step : kSteps) {
        if (!TakeDue(step, m_EQData)) {
            continue;
        }
        CarryOut(step, cycle, m_EQData);
        if (step.clear == Clear::kAfter) {
            m_EQData.TestAndClear(step.flags);
        }
        m_publishedGroups.Add(step.flags);
    }
    LOGBASE(LOG_LEV_NOTICE, __FUNCTION__, "end");
}
