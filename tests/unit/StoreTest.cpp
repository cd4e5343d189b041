#include <gtest/gtest.h>

#include <functional>

#include "model/CEQData.h"
#include "model/EqTables.h"
#include "model/SourcesNameIdMap.h"
#include "tests/support/CapturedLog.h"

namespace {

/// Names of the raised flags, in a fixed order.
std::string Raised(const CEQData& data) {
    using Getter = bool (CEQData::*)() const;
    static const std::pair<const char*, Getter> kFlags[] = {
        {"Volume", &CEQData::GetUpdateVolumeFlag},           {"FadBal", &CEQData::GetUpdateFadBalFlag},
        {"SubWGain", &CEQData::GetUpdateSubWGainFlag},       {"SrcGain", &CEQData::GetUpdateSrcGainFlag},
        {"CenterGain", &CEQData::GetUpdateCenterGainFlag},   {"Loud", &CEQData::GetUpdateLoudFlag},
        {"ListenPos", &CEQData::GetUpdateListenPosFlag},     {"DBB", &CEQData::GetUpdateDBBFlag},
        {"Subwoofer", &CEQData::GetUpdateSubwooferFlag},     {"SpeakerMode", &CEQData::GetUpdateSpeakerModeFlag},
        {"FrontFilter", &CEQData::GetUpdateFrontFilterFlag}, {"RearFilter", &CEQData::GetUpdateRearFilterFlag},
        {"AudioMix", &CEQData::GetUpdateAudioMixFlag},       {"SRS", &CEQData::GetUpdateSRSFlag},
        {"AudioIC", &CEQData::GetUpdateAudioICFlag},         {"ALC", &CEQData::GetUpdateALCFlag},
        {"SrcMute", &CEQData::GetUpdateSrcMuteFlag},         {"Launch", &CEQData::GetUpdateLaunchVolumeFlag},
        {"SrcVol", &CEQData::GetUpdateSrcVolFlag},           {"Extend", &CEQData::GetExtendUpdateFlag},
        {"FakePowerOff", &CEQData::GetFakePowerOffFlag}};
    std::string names;
    for (const auto& [name, isRaised] : kFlags) {
        names += (data.*isRaised)() ? std::string(name) + " " : "";
    }
    for (unsigned char id = 0; id < 9; ++id) {
        names += data.GetUpdateEqFlagByBitID(id) ? "Eq" + std::to_string(id) + " " : "";
    }
    return names.empty() ? names : names.substr(0, names.size() - 1);
}

std::vector<tagEQBand> Bands(double lastQ, int qIndex = 1) {
    return {{1, 0, 1, 1.0}, {2, 3, 1, 1.0}, {3, 6, 1, 1.0}, {4, 9, 1, 1.0}, {5, 12, qIndex, lastQ}};
}

TEST(Store, StartsWithNothingReported) {
    const CEQData data;
    EXPECT_EQ(data.GetAudioMixData(), 2);
    EXPECT_EQ(data.GetALCData(), 255);
    EXPECT_EQ(data.GetPowerStatus(), 3);
    EXPECT_EQ(data.GetEqTypeDate().TypeNum, 7);
    EXPECT_EQ(data.GetVolumeData().tSrcVol.ChangeStatus, 2);
    EXPECT_EQ(data.GetVolumeData().tSrcVol.SysMuteFirst, 1);
    EXPECT_EQ(data.GetCarPlayVolumeData().tCarPlayVol.VolType, 4);
    EXPECT_EQ(Raised(data), "");
}

// That each setter raises its own flag, and for a change only, shows in the controller's tests.
TEST(Store, ComparesCurvesByGainFreqAndQ) {
    CEQData data;
    data.SetEqDataByIndex(6, Bands(1.0));
    data.SetUpdateEqFlagByBitID(false, 7);
    data.SetEqDataByIndex(6, Bands(1.0, 4));
    EXPECT_EQ(Raised(data), "") << "the Q index alone is no change";
    data.SetEqDataByIndex(6, Bands(2.0));
    EXPECT_EQ(Raised(data), "Eq7");
    EXPECT_EQ(data.GetEqTypeDate().Band[6][4].Q, 2.0);
}

TEST(Store, RefusesWhatIsOutOfRange) {
    CEQData data;
    TakeLog();
    tagSourceParam tooMany;
    tooMany.Count = 33;
    data.SetCenterGainData(13);
    data.SetSrcGainData(tooMany);
    data.SetEqDataByIndex(7, Bands(1.0));
    data.SetEqDataByIndex(-1, Bands(1.0));
    data.SetEqDataByIndex(0, {});
    EXPECT_FALSE(data.SetEqTypeNumData(8));
    EXPECT_FALSE(data.SetEqTypeNumData(-1));
    EXPECT_TRUE(data.SetEqTypeNumData(7));
    EXPECT_EQ(Raised(data), "");
    EXPECT_EQ(TakeErrors(),
              "_Melvane_[SetCenterGainData]-ERR: centerGain is 13, the interval is 0 ~ 12\n"
              "_Melvane_[SetSrcGainData]-the sources' number: 33, it is bigger than he size of array: 32.\n"
              "_Melvane_[SetEqDataByIndex]-nIndex = 7, the interval is 0 ~ 6\n"
              "_Melvane_[SetEqDataByIndex]-nIndex = -1, the interval is 0 ~ 6\n"
              "_Melvane_[SetEqDataByIndex]-eqBand.size is 0, not equal to 5\n"
              "_Melvane_[SetEqTypeNumData]-CEQData, wrong type num(0 ~ 7): 8\n"
              "_Melvane_[SetEqTypeNumData]-CEQData, wrong type num(0 ~ 7): -1");
}

TEST(Store, TakesSourceGainsForASetOfSources) {
    const auto table = [](std::initializer_list<tagSourceGain> entries) {
        tagSourceParam source;
        for (const tagSourceGain& entry : entries) {
            source.Src[source.Count++] = entry;
        }
        return source;
    };
    CEQData data;
    data.SetSrcGainData(table({{3, 5}, {4, 6}}));
    const std::pair<tagSourceParam, const char*> cases[] = {{table({{4, 6}, {3, 5}}), ""},
                                                            {table({{3, 5}, {4, 7}}), "SrcGain"},
                                                            {table({{3, 5}, {9, 7}}), "SrcGain"},
                                                            {table({{3, 5}}), "SrcGain"},
                                                            {table({}), "SrcGain"}};
    for (const auto& [source, raised] : cases) {
        data.SetUpdateSrcGainFlag(false);
        data.SetSrcGainData(source);
        EXPECT_EQ(Raised(data), raised);
        EXPECT_EQ(data.GetSrcData().Count, source.Count);
    }
}

TEST(Store, RaisesWholeGroups) {
    const char* groups[] = {"Volume FadBal SubWGain CenterGain Loud AudioIC",
                            "Eq0 Eq1 Eq2 Eq3 Eq4 Eq5 Eq6 Eq7 Eq8",
                            "SrcGain",
                            "ListenPos SRS",
                            "DBB Subwoofer SpeakerMode FrontFilter RearFilter",
                            "",
                            "",
                            ""};
    for (int group = 0; group < 8; ++group) {
        CEQData data;
        data.SetUpdateFlagsByType(group);
        EXPECT_EQ(Raised(data), groups[group]) << group;
    }
}

/// Applies a volume report that starts from the stored state, and tells the flags it raised.
std::string Report(CEQData& data, const std::function<void(T_SRC_VOL&)>& change) {
    tagSpeaker speaker = data.GetVolumeData();
    change(speaker.tSrcVol);
    data.SetVolumeData(speaker);
    std::string raised = Raised(data);
    data.SetUpdateVolumeFlag(false);
    data.SetUpdateSrcMuteFlag(false);
    data.SetUpdateLaunchVolumeFlag(false);
    data.SetUpdateSrcVolFlag(false);
    return raised;
}

TEST(VolumeRules, RaiseWhatAReportChanged) {
    CEQData data;
    const std::pair<const char*, std::function<void(T_SRC_VOL&)>> reports[] = {
        {"Volume SrcVol", [](T_SRC_VOL& v) { v.SysMute = 1, v.ChangeStatus = 0; }}, // the first report
        {"Volume Launch SrcVol", [](T_SRC_VOL& v) { v.SysMute = 0; }},
        {"", [](T_SRC_VOL&) {}},
        {"Launch", [](T_SRC_VOL& v) { v.ChangeStatus = 1; }},
        {"SrcVol", [](T_SRC_VOL& v) { v.SrcVol[1] = 9, v.ChangeStatus = 0; }},
        {"Volume", [](T_SRC_VOL& v) { v.MaxPowerVol = 9; }},
        {"Volume SrcVol", [](T_SRC_VOL& v) { v.Max = 40; }},
        {"Volume SrcVol", [](T_SRC_VOL& v) { v.SrcVol[0] = 200; }},
        {"SrcMute SrcVol", [](T_SRC_VOL& v) { v.SrcMute = 1; }},
        {"", [](T_SRC_VOL& v) { v.VolType = 5; }},
        {"SrcVol", [](T_SRC_VOL& v) { v.VolType = 2; }},
        {"SrcVol", [](T_SRC_VOL& v) { v.SrcVol[3] = 1, v.ChangeStatus = 3; }},
    };
    TakeLog();
    for (const auto& [raised, change] : reports) {
        EXPECT_EQ(Report(data, change), raised);
    }
    EXPECT_EQ(TakeErrors(), "_Melvane_[SetVolumeData]-CEQData, unknown volume change status(0 or 1): 3");
    EXPECT_EQ(data.GetVolumeData().tSrcVol.ChangeStatus, 0);
    EXPECT_EQ(data.GetVolumeData().tSrcVol.VolType, 2);
    data.InitSysMuteStatus();
    EXPECT_EQ(Report(data, [](T_SRC_VOL& v) { v.SysMute = 1; }), "Volume SrcVol");
}

TEST(VolumeRules, ExtendedReportsRaiseTheirOwn) {
    CEQData data;
    tagSpeaker speaker;
    speaker.tCarPlayVol.SrcVol[2] = 4;
    speaker.tCarPlayVol.ChangeStatus = 1;
    data.SetCarplayVolumeData(speaker);
    EXPECT_EQ(Raised(data), "Volume Launch Extend");
    data.SetUpdateExtendFlag(false);
    speaker.tCarPlayVol.VolType = 5;
    data.SetCarplayVolumeData(speaker);
    EXPECT_EQ(Raised(data), "Volume Launch");
    speaker.tCarPlayVol.VolType = 3;
    data.SetCarplayVolumeData(speaker);
    EXPECT_EQ(Raised(data), "Volume Launch Extend");
}

TEST(EqTables, CheckAndEncodeBands) {
    for (int band = 0; band < 5; ++band) {
        EXPECT_FALSE(IsFreqAllowed(band, 3 * band - 1));
        EXPECT_TRUE(IsFreqAllowed(band, 3 * band));
        EXPECT_TRUE(IsFreqAllowed(band, 3 * band + 2));
        EXPECT_FALSE(IsFreqAllowed(band, 3 * band + 3));
        EXPECT_EQ(IsQIndexAllowed(band, 0), band >= 2);
        EXPECT_EQ(IsQIndexAllowed(band, 3), band < 2);
        EXPECT_EQ(AllowedQIndexOf(band, 1.25), 2);
        EXPECT_EQ(AllowedQIndexOf(band, 1.0000001), -1);
    }
}

TEST(SourceNames, MatchWhole) {
    TLG::ZOCAR::SourcesNameIdMap map;
    unsigned char id = 99;
    EXPECT_FALSE(map.GetSrcIdByName("usb", id)) << "before Init";
    map.Init();
    map.Init();
    const std::pair<const char*, int> names[] = {{"none", 0},  {"usb", 3},      {"rusb", 4},      {"btaudio", 13},
                                                 {"navi", 16}, {"pandora", 17}, {"rightone", 30}, {"siri", 31}};
    for (const auto& [name, expected] : names) {
        std::string found;
        EXPECT_TRUE(map.GetSrcIdByName(name, id));
        EXPECT_EQ(id, expected);
        EXPECT_TRUE(map.GetSrcNameById(id, found));
        EXPECT_EQ(found, name);
    }
    id = 99;
    for (const char* name : {"USB", "usb ", "", "us"}) {
        EXPECT_FALSE(map.GetSrcIdByName(name, id)) << name;
    }
    EXPECT_EQ(id, 99);
    std::string name;
    EXPECT_FALSE(map.GetSrcNameById(32, name));
}

} // namespace
