#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

#include "platform/pps/Line.h"
#include "service/CEQMidController.h"
#include "service/ConfigurationFile.h"
#include "service/SyncLaunch.h"
#include "tests/support/Bench.h"

namespace {

TEST(ConfigurationFile, ReadsTheScheme) {
    const TemporaryRoot root;
    const std::string far(900, 'x');
    const std::pair<std::string, int> files[] = {{"scheme=1;", 1},
                                                 {"scheme=0;", 0},
                                                 {"scheme=2;", 0},
                                                 {"scheme=1", 0},
                                                 {"scheme= 1;", 1},
                                                 {"scheme=01;", 1},
                                                 {"scheme=-1;", 1},
                                                 {"scheme=x;", 0},
                                                 {"scheme=;\n1", 1}, // the length is the end mark's position
                                                 {"mode=3;scheme=1;", 1},
                                                 {";scheme=1", 1},
                                                 {";scheme= 1", 0}, // cut to one character
                                                 {"Scheme=1;", 0},
                                                 {"scheme=4294967297;", 1}, // wraps in 32 bits
                                                 {"scheme=1 2;", 1},
                                                 {far + "scheme=1;", 1},
                                                 {"scheme=1" + far + ";", 1},
                                                 {std::string(1013, 'x') + "scheme=1;", 1},
                                                 {std::string(1014, 'x') + "scheme=1;", 0},
                                                 {std::string("a\0scheme=1;", 11), 0},
                                                 {std::string("\xFF\xFE\x80scheme=1;"), 1},
                                                 {"scheme=1;" + std::string(5000000, ';'), 1}};
    for (const auto& [content, scheme] : files) {
        root.WriteFile("/zoapps/etc/volume.conf", content);
        TakeLog();
        EXPECT_EQ(ConfigurationFile::ReadVolumeScheme(), scheme) << content.substr(0, 30);
        EXPECT_EQ(TakeErrors(), "");
    }
    root.WriteFile("/zoapps/etc/volume.conf", "");
    EXPECT_EQ(ConfigurationFile::ReadVolumeScheme(), 0);
    std::filesystem::remove(root.Path() + "/zoapps/etc/volume.conf");
    EXPECT_EQ(ConfigurationFile::ReadVolumeScheme(), 0);
    std::filesystem::create_directory(root.Path() + "/zoapps/etc/volume.conf");
    EXPECT_EQ(ConfigurationFile::ReadVolumeScheme(), 0) << "a file that can't be read";
    EXPECT_EQ(TakeErrors(), "_Melvane_[ReadFile]-read 0\n_Melvane_[ReadFile]-open fail");
}

TEST(ConfigurationFile, FindsNumbers) {
    EXPECT_EQ(ConfigurationFile::GetIntFromStr("a12-3;004x"), (std::vector<unsigned>{12, 3, 4}));
    EXPECT_EQ(ConfigurationFile::GetIntFromStr("4294967296"), std::vector<unsigned>{0});
    EXPECT_TRUE(ConfigurationFile::GetIntFromStr("").empty());
}

TEST(SyncLaunch, WritesOneRequest) {
    const TemporaryRoot root;
    const LocalServer server;
    TakeLog();
    EXPECT_EQ(SyncLaunch::ShowModule("zovolume", "null"), -1);
    EXPECT_EQ(TakeErrors(),
              "_Melvane_[ShowModule]-open('/pps/services/app-launcher') failed: No such file or directory");
    const PpsObjectClient launcher("/pps/services/app-launcher?delta");
    launcher.Read();
    std::srand(1);
    const int first = std::rand();
    const int second = std::rand();
    std::srand(1);
    for (const int number : {first, second}) {
        EXPECT_EQ(SyncLaunch::ShowModule("zovolume", "null"), 0);
        EXPECT_EQ(launcher.Read(), "@app-launcher\nreq:json:{\"id\":" + std::to_string(number) +
                                       ",\"cmd\":\"launch sync\",\"app\":\"zovolume\",\"dat\":\"null\"}\n");
    }
    EXPECT_EQ(SyncLaunch::ShowModule(std::string(300, 'a').c_str(), "null"), 0);
    EXPECT_EQ(launcher.Read().size(), std::string("@app-launcher\n\n").size() + 255U);
}

/// A controller that is driven by hand: opened, but without a running multiplexer.
class ControllerTest : public testing::Test {
protected:
    void Open(const std::string& scheme = "") {
        if (!scheme.empty()) {
            m_bench.root.WriteFile("/zoapps/etc/volume.conf", "scheme=" + scheme + ";");
        }
        ASSERT_TRUE(m_controller.Init());
        ASSERT_TRUE(m_bench.mcu.Accept());
        for (const char* path : {"/pps/tolvyn/eq/status", "/pps/tolvyn/eq/settings", "/pps/tolvyn/system/dev_status",
                                 "/pps/tolvyn/navigation/gps_status", "/pps/services/app-launcher"}) {
            m_watchers.emplace_back(std::string(path) + "?delta");
            m_watchers.back().Read();
        }
        TakeLog();
    }

    void Receive(const FakeMcu::Bytes& payload) {
        FakeMcu::Bytes packet = mcusim::MakePacket(payload, 0);
        m_controller.OnRecvData(packet.data(), static_cast<int>(packet.size()));
    }

    /// The names of the attributes written since the last call, in order within each object; launch
    /// requests appear as "req".
    std::string Published() {
        WriteObject("/pps/test/marker", "x:n:1");
        std::string names;
        for (const PpsObjectClient& watcher : m_watchers) {
            for (std::string packet = watcher.Read(0); !packet.empty(); packet = watcher.Read(0)) {
                for (std::string_view text = packet; !text.empty();) {
                    const std::string_view line = pps::TakeLine(text);
                    if (line[0] != '@') {
                        names.append(names.empty() ? "" : " ").append(line.substr(0, line.find(':')));
                    }
                }
            }
        }
        return names;
    }

    void Change(int key, std::string name, std::string value, std::string encoding = "") {
        pps_attrib_t attribute{};
        attribute.attr_name = name.data();
        attribute.value = value.data();
        attribute.encoding = encoding.data();
        m_controller.OnAttributeChange(key, &attribute);
    }

    Bench m_bench;
    std::vector<PpsObjectClient> m_watchers;
    CEQMidController m_controller;
};

const FakeMcu::Bytes kFirst{138, 2, 0, 1, 10, 40, 20, 15, 8, 30, 0, 1, 2, 3, 4, 5, 6, 1};

/// The first volume report with one byte changed.
FakeMcu::Bytes With(std::size_t byte, std::uint8_t value) {
    FakeMcu::Bytes report = kFirst;
    report[byte] = value;
    return report;
}

TEST_F(ControllerTest, EachChangePublishesItsOwnGroup) {
    Open("1");
    struct Step {
        FakeMcu::Bytes report;
        const char* published;
    };
    FakeMcu::Bytes curves{138, 2, 1, 0, 0};
    curves.resize(5 + 7 * 15);
    for (std::size_t band = 0; band < 35; ++band) {
        curves[5 + 3 * band + 1] = static_cast<std::uint8_t>(3 * (band % 5));
        curves[5 + 3 * band + 2] = 1;
    }
    FakeMcu::Bytes oneCurve = curves;
    oneCurve[5 + 3 * 15] = 9;
    FakeMcu::Bytes otherType = oneCurve;
    otherType[4] = 5;
    const Step steps[] = {
        {kFirst, "zoaudio zovolume [n]zosrc_vol [n]zoextra_vol zofade_balance zosubwoofer_gain zocenter_gain zoloud "
                 "[n]sysvolume [n]navivolume"},
        {kFirst, ""},
        {{178, 1}, "[n]zoaudiomix"},
        {{138, 2, 5, 1}, "zoalc"},
        {With(3, 0), "zoaudio"},
        {With(3, 0), ""},
        {With(9, 31), "zoaudio zovolume [n]sysvolume"},
        {With(10, 2), "zovolume [n]zosrc_vol [n]zoextra_vol [n]sysvolume [n]navivolume"},
        {With(10, 1), "zovolume [n]zosrc_vol [n]zoextra_vol [n]sysvolume [n]navivolume req"},
        {kFirst, "zovolume [n]zosrc_vol [n]zoextra_vol [n]sysvolume [n]navivolume req"},
        {With(6, 21), "[n]zosrc_vol [n]zoextra_vol [n]navivolume"},
        {With(6, 0x80 | 20), "[n]zosrc_vol [n]zoextra_vol [n]navivolume req"},
        {With(6, 0x80 | 20), "req"},
        {kFirst, ""},
        {{138, 2, 7, 1, 2, 3, 4}, "[n]zosrc_vol [n]zoextra_vol [n]navivolume"},
        {{138, 2, 7, 0x81, 2, 3, 4}, "zovolume [n]zosrc_vol [n]zoextra_vol [n]sysvolume [n]navivolume req"},
        {With(14, 9), "zofade_balance"},
        {With(15, 9), "zofade_balance zosubwoofer_gain"},
        {With(16, 9), "zosubwoofer_gain zocenter_gain"},
        {With(17, 0), "zocenter_gain zoloud"},
        {{138, 2, 2, 1, 3, 5}, "zosource_gain"},
        {{138, 2, 3, 1, 0}, "zolisten_pos"},
        {{138, 2, 3, 1, 1}, "zosrs"},
        {{138, 2, 4, 0x01, 0, 0}, "zodbb"},
        {{138, 2, 4, 0x03, 0, 0}, "zosubwoofer"},
        {{138, 2, 4, 0x03, 1, 0}, "zospeaker_mode"},
        {{138, 2, 4, 0x03, 1, 8}, "zofront_stereo_filter"},
        {{138, 2, 4, 0x03, 1, 0x88}, "zorear_stereo_filter"},
        {curves, "zoeqtype_0 zoeqtype_1 zoeqtype_2 zoeqtype_3 zoeqtype_4 zoeqtype_5 zoeqtype_6"},
        {oneCurve, "zoeqtype_3"},
        {otherType, "zoeq_type"},
        {{137, 2, 3, 1, 1}, "zolisten_pos zosrs"},
        {{138, 2, 6, 0}, ""},
    };
    int index = 0;
    for (const Step& step : steps) {
        Receive(step.report);
        EXPECT_EQ(Published(), step.published) << "step " << index;
        ++index;
    }
}

TEST_F(ControllerTest, ARejectedValueKeepsTheOthersGoing) {
    Open();
    Receive(kFirst);
    Published();
    Receive({138, 2, 1, 0, 9});
    Receive({138, 2, 2, 1, 99, 1});
    Receive({137, 2, 3, 0, 0});
    EXPECT_EQ(Published(), "zolisten_pos zosrs");
    EXPECT_NE(TakeErrors().find("unknown src ID: 99"), std::string::npos);
}

TEST_F(ControllerTest, NavigationRequestsWaitForTheFirstVolumes) {
    Open("1");
    Change(5, "navivolume", "75");
    Receive(kFirst);
    m_controller.OnAttributeChange(5, nullptr);
    Change(1, "x", "y");
    EXPECT_EQ(TakeErrors(), "_Melvane_[OnAttributeChange]-CEQMidController, info == NULL\n"
                            "_Melvane_[OnAttributeChange]-CEQMidController, unknown key: 1, pps: x::y");
    Change(5, "navivolume", "50");
    Change(5, "navivolume", "100");
    EXPECT_EQ(m_bench.mcu.Receive().payload[6], 40) << "neither the early request nor the echo was sent";
}

TEST_F(ControllerTest, AFakePowerOffArmsTheFirstMuteAnew) {
    Open();
    Receive(kFirst);
    Published();
    const std::pair<const char*, const char*> states[] = {
        {"off", "zovolume [n]zosrc_vol [n]zoextra_vol [n]sysvolume req"},
        {"fakepowerOff", "zovolume [n]zosrc_vol [n]zoextra_vol [n]sysvolume"},
        {"fakepowerOff", "zovolume [n]zosrc_vol [n]zoextra_vol [n]sysvolume req"},
        {"off", "zovolume [n]zosrc_vol [n]zoextra_vol [n]sysvolume req"},
        {"fakepowerOff", "zovolume [n]zosrc_vol [n]zoextra_vol [n]sysvolume"}};
    std::uint8_t mute = 1;
    for (const auto& [word, published] : states) {
        Change(4, "zopoweroff", word);
        Receive(With(10, mute));
        EXPECT_EQ(Published(), published) << word;
        mute ^= 1;
    }
    Change(2, "zoalc", "9");
    EXPECT_EQ(m_bench.mcu.Receive().payload[2], 5) << "power changes sent nothing";
}

TEST_F(ControllerTest, WithoutTheMcuInitFailsAndStartSendsNothing) {
    CEQMidController controller;
    {
        const TemporaryRoot root;
        const LocalServer server;
        TakeLog();
        EXPECT_FALSE(controller.Init());
        EXPECT_EQ(TakeErrors(), "_Melvane_[Open]-can't open the device /dev/name/local/tolvyn/resmgr/mcucom/eq: No "
                                "such file or directory");
        EXPECT_EQ(StateOf("/pps/tolvyn/navigation/gps_status"), "@gps_status\n") << "the others were opened";
    }
    CEQMidController unprepared;
    EXPECT_FALSE(unprepared.Start()) << "the multiplexer was not prepared";
}

} // namespace
