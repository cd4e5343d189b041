#include <gtest/gtest.h>

#include "model/RecordFields.h"
#include "status/CEQSettingPPSModule.h"
#include "status/CEQStatusPPSModule.h"
#include "status/GpsStatusPPSModule.h"
#include "status/PowerOnStatusPPSModule.h"
#include "status/SystemDevStatusPPSModule.h"
#include "tests/support/Bench.h"
#include "tests/support/Cases.h"

namespace {

class PublisherTest : public testing::Test {
protected:
    PublisherTest() : m_watcher("/pps/tolvyn/eq/status?delta") {
        EXPECT_TRUE(m_status.Open());
        EXPECT_EQ(m_watcher.Read(), "@status\n");
        TakeLog();
    }

    TemporaryRoot m_root;
    LocalServer m_server;
    PpsObjectClient m_watcher;
    CEQStatusPPSModule m_status{nullptr};
    CEQSettingPPSModule m_settings{nullptr};
    SystemDevStatusPPSModule m_device{nullptr};
};

// What the update cycle publishes is compared by the system tests; here is what that cycle does not show.
TEST_F(PublisherTest, WritesExtendedVolumes) {
    T_CARPLAY_VOLUME extended;
    extended.VolType = 4;
    extended.SrcVol[3] = 255;
    EXPECT_EQ(m_status.PublishExtendInfo(extended), 1);
    EXPECT_EQ(m_watcher.Read(), "@status\n[n]zoextra_vol:json:{\"vol_type\":4,\"val\":[0,0,0,255]}\n");
}

TEST_F(PublisherTest, WritesNothingOfARejectedCode) {
    T_SRC_VOL volume;
    volume.SysMute = 2;
    T_SRC_VOL sourceMuted;
    sourceMuted.SrcMute = 3;
    tagSourceParam sources;
    sources.Src[2] = {32, 1};
    sources.Count = 3;
    const struct {
        int result;
        const char* message;
    } calls[] = {
        {m_status.PublishAllVol(volume, {}), "[PublishAllVol]-CEQStatusPPSModule, unknown systemMute( 0 or 1): 2"},
        {m_status.PublishSrcVol(sourceMuted), "[PublishSrcVol]-CEQStatusPPSModule, unknown srcMute( 0 or 1): 3"},
        {m_status.PublishVolume(1, 2, 0, 2, 3), "[PublishVolume]-CEQStatusPPSModule, unknown srcMute( 0 or 1): 2"},
        {m_status.PublishAudioMix(2), "[PublishAudioMix]-CEQStatusPPSModule, unknown mixStatus( 1 or 0): 2"},
        {m_status.PublishLoud(2), "[PublishLoud]-CEQStatusPPSModule, unknown loudStatus( 0 or 1): 2"},
        {m_status.PublishDBB(-1), "[PublishDBB]-CEQStatusPPSModule, unknown dbbStatus( 0 or 1): -1"},
        {m_status.PublishSubwoofer(2, 0, 0),
         "[PublishSubwoofer]-CEQStatusPPSModule, unknown subwooferStatus( 0 or 1): 2"},
        {m_status.PublishFrontFilter(2, 0), "[PublishFrontFilter]-CEQStatusPPSModule, unknown frontStatus( 0 or 1): 2"},
        {m_status.PublishRearFilter(2, 0), "[PublishRearFilter]-CEQStatusPPSModule, unknown rearStatus( 0 or 1): 2"},
        {m_status.PublishEqType(7), "[PublishEqType]-CEQStatusPPSModule, unknown eqtype( 0 ~ 6 ): 7"},
        {m_status.PublishEqType(-1), "[PublishEqType]-CEQStatusPPSModule, unknown eqtype( 0 ~ 6 ): -1"},
        {m_status.PublishAudioICStatus(2),
         "[PublishAudioICStatus]-CEQStatusPPSModule, unknown audioStatus( 0 or 1): 2"},
        {m_status.PublishSrcGain(sources), "[PublishSrcGain]-CEQStatusPPSModule, unknown src ID: 32"},
        {m_settings.PublishEqSafByIndex(7, {}),
         "[PublishEqSafByIndex]-CEQModule::UpdateEqSafByIndex(): unknown index(type_0,type_1,...) 7"},
        {m_settings.PublishEqSafByIndex(-1, {}),
         "[PublishEqSafByIndex]-CEQModule::UpdateEqSafByIndex(): unknown index(type_0,type_1,...) -1"},
        {m_device.PublishVolumeStatus(2, 3),
         "[PublishVolumeStatus]-SystemDevStatusPPSModule, unknown mute status(1 or 0):2"},
        {m_device.PublishAudioMix(2), "[PublishAudioMix]-SystemDevStatusPPSModule, unknown mixStatus( 1 or 0): 2"},
    };
    std::string errors;
    for (const auto& [result, message] : calls) {
        EXPECT_EQ(result, 0) << message;
        errors.append(errors.empty() ? "" : "\n").append("_Melvane_").append(message);
    }
    EXPECT_EQ(TakeErrors(), errors);
    m_status.PublishSRS(1);
    EXPECT_EQ(m_watcher.Read(), "@status\nzosrs:n:1\n") << "nothing came before";
}

TEST_F(PublisherTest, SomeReportThatAWriteFailed) {
    m_status.Close();
    EXPECT_EQ(m_status.PublishVolume(1, 2, 0, 0, 3) + m_status.PublishExtendInfo({}) + m_status.PublishALC(1) +
                  m_status.PublishSpeakerMode(1, 1) + m_status.PublishLoud(1) + m_device.PublishVolumeStatus(0, 3),
              0);
    EXPECT_EQ(TakeErrors(), "_Melvane_[PublishVolume]-CEQStatusPPSModule, WritePPS return false\n"
                            "_Melvane_[PublishExtendInfo]-CEQStatusPPSModule, WritePPS return false\n"
                            "_Melvane_[PublishALC]-SetPPSIntAttr return false\n"
                            "_Melvane_[PublishVolumeStatus]-SystemDevStatusPPSModule, SetPPSIntAttr return false");
}

TEST_F(PublisherTest, TheDeviceStatusHasTheMixingStateOnRequest) {
    ASSERT_TRUE(m_device.Open());
    EXPECT_EQ(m_device.PublishAudioMix(1), 1);
    EXPECT_EQ(SettledStateOf("/pps/tolvyn/system/dev_status"), "@dev_status\n[n]zoaudiomix:n:1\n");
}

class NavigationTest : public testing::Test {
protected:
    NavigationTest() {
        m_data.SetVolumeScheme(1);
        SetVolumes(40, 20, 0);
        m_navigation.m_pEQData = &m_data;
        TakeLog();
    }
    void SetVolumes(std::uint8_t max, std::uint8_t navigation, std::uint8_t sysMute, std::uint8_t srcMute = 0) {
        tagSpeaker speaker;
        speaker.tSrcVol = {0, 0, max, sysMute, 0, srcMute, {10, navigation, 15, 8}, 30};
        m_data.SetVolumeData(speaker);
    }
    /// The navigation level that a request sends, or -1 where it sends nothing.
    int Request(std::string value, std::string name = "navivolume") {
        pps_attrib_t attribute{};
        attribute.attr_name = name.data();
        attribute.value = value.data();
        std::vector<unsigned char> payload;
        if (!m_navigation.OnGpsStatus(&attribute, payload)) {
            EXPECT_TRUE(payload.empty());
            return -1;
        }
        EXPECT_EQ(payload.size(), static_cast<std::size_t>(Layout<VOLUME_AND_FADE_BALANCE>().FixedSize() - 2));
        EXPECT_EQ(payload[2], 10) << "no change mark";
        return payload[4];
    }

    CEQData m_data;
    GpsStatusPPSModule m_navigation{nullptr};
};

TEST_F(NavigationTest, TurnsPercentagesIntoLevels) {
    for (const std::vector<std::string>& row : Cases("navigation.txt")) {
        SCOPED_TRACE(row.back());
        EXPECT_EQ(std::to_string(Request(row[0])), row[1]);
    }
    SetVolumes(30, 20, 0);
    EXPECT_EQ(Request("100"), 30);
    EXPECT_EQ(Request("100", "[n]navivolume"), 30);
    EXPECT_EQ(Request("100", "volume"), -1);
    EXPECT_EQ(TakeErrors(), "");
}

TEST_F(NavigationTest, DoesNotAnswerItsOwnEcho) {
    EXPECT_EQ(m_navigation.PublishNaviVol(10, 0), 0);
    EXPECT_EQ(TakeErrors(4), "_Melvane_[PublishNaviVol]-nMax = 0");
    EXPECT_EQ(Request("75"), 30);
    m_navigation.PublishNaviVol(30, 40);
    EXPECT_EQ(Request("75"), -1);
    EXPECT_EQ(Request("76"), 30) << "another percentage";
}

TEST_F(NavigationTest, RefusesUnknownMutesAndMissingParts) {
    SetVolumes(40, 20, 2);
    EXPECT_EQ(Request("75"), -1);
    SetVolumes(40, 20, 1, 2);
    EXPECT_EQ(Request("75"), -1);
    std::vector<unsigned char> payload;
    char name[] = "navivolume";
    pps_attrib_t nameless{};
    pps_attrib_t valueless{};
    valueless.attr_name = name;
    for (pps_attrib_t* attribute : {static_cast<pps_attrib_t*>(nullptr), &nameless, &valueless}) {
        EXPECT_FALSE(m_navigation.OnGpsStatus(attribute, payload));
    }
    EXPECT_FALSE(m_navigation.SubcribeNaviVol(nullptr, payload));
    m_navigation.m_pEQData = nullptr;
    EXPECT_FALSE(m_navigation.SubcribeNaviVol(name, payload));
    std::string errors;
    for (const char* error : {"[SubcribeNaviVol]-Param error,function return, systemMute:2\n",
                              "[SubcribeNaviVol]-Param error,function return, sourceMute:2\n",
                              "[OnGpsStatus]-GpsStatusPPSModule, NULL == info\n",
                              "[OnGpsStatus]-GpsStatusPPSModule, NULL == info->attr_name\n",
                              "[OnGpsStatus]-GpsStatusPPSModule, NULL == info->value\n",
                              "[SubcribeNaviVol]-GpsStatusPPSModule, NULL == szValue\n",
                              "[SubcribeNaviVol]-GpsStatusPPSModule, NULL == m_pEQData\n"}) {
        errors.append("_Melvane_").append(error);
    }
    EXPECT_EQ(TakeErrors() + "\n", errors);
}

TEST(PowerWatcher, RecordsWords) {
    CEQData data;
    EXPECT_EQ(data.GetPowerStatus(), 3);
    PowerOnStatusPPSModule power(nullptr);
    power.AttachData(&data);
    const auto report = [&](std::string value, std::string name = "zopoweroff") {
        pps_attrib_t attribute{};
        attribute.attr_name = name.data();
        attribute.value = value.data();
        return power.OnPowerStatus(&attribute);
    };
    for (const auto& [word, status] : {std::pair("poweroff", 1), std::pair("fakepowerOff", 2),
                                       std::pair("fakepoweroff", 3), std::pair("Off", 3), std::pair("off", 0)}) {
        EXPECT_TRUE(report(word));
        EXPECT_EQ(data.GetPowerStatus(), status) << word;
    }
    EXPECT_FALSE(report("poweroff", "[n]zopoweroff"));
    EXPECT_FALSE(report("poweroff", "other"));
    EXPECT_EQ(data.GetPowerStatus(), 0);
    TakeLog();
    pps_attrib_t attribute{};
    EXPECT_FALSE(power.OnPowerStatus(nullptr));
    EXPECT_FALSE(power.OnPowerStatus(&attribute));
    char name[] = "zopoweroff";
    attribute.attr_name = name;
    EXPECT_FALSE(power.OnPowerStatus(&attribute));
    EXPECT_FALSE(power.SubcribePowerOffStatus(nullptr));
    EXPECT_EQ(TakeErrors(), "_Melvane_[OnPowerStatus]-PowerOnStatusPPSModule, NULL == info\n"
                            "_Melvane_[OnPowerStatus]-PowerOnStatusPPSModule, NULL == info->attr_name\n"
                            "_Melvane_[OnPowerStatus]-PowerOnStatusPPSModule, NULL == info->value\n"
                            "_Melvane_[SubcribePowerOffStatus]-PowerOnStatusPPSModule, NULL == info->value");
}

} // namespace
