#include <gtest/gtest.h>

#include <filesystem>

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
    host::PpsReply reply;
    host::RequestOfPpsServer("delete /pps/services/app-launcher", reply);
    EXPECT_EQ(SyncLaunch::ShowModule("zovolume", "null"), -1) << "the object is gone";
}

/// A controller that is driven by hand: opened, but without a running multiplexer.
class ControllerTest : public testing::Test {
protected:
    void Open(const std::string& scheme) {
        m_bench.root.WriteFile("/zoapps/etc/volume.conf", "scheme=" + scheme + ";");
        ASSERT_TRUE(m_controller.Init());
        ASSERT_TRUE(m_bench.mcu.Accept());
        TakeLog();
    }

    void Receive(const FakeMcu::Bytes& payload) {
        FakeMcu::Bytes packet = mcusim::MakePacket(payload, 0);
        m_controller.OnRecvData(packet.data(), static_cast<int>(packet.size()));
    }

    void Change(int key, std::string name, std::string value, std::string encoding = "") {
        pps_attrib_t attribute{};
        attribute.attr_name = name.data();
        attribute.value = value.data();
        attribute.encoding = encoding.data();
        m_controller.OnAttributeChange(key, &attribute);
    }

    Bench m_bench;
    CEQMidController m_controller;
};

TEST_F(ControllerTest, NavigationRequestsWaitForTheFirstVolumes) {
    Open("1");
    Change(5, "navivolume", "75");
    Receive({138, 2, 0, 1, 10, 40, 20, 15, 8, 30, 0, 1, 2, 3, 4, 5, 6, 1});
    m_controller.OnAttributeChange(5, nullptr);
    Change(1, "x", "y");
    EXPECT_EQ(TakeErrors(), "_Melvane_[OnAttributeChange]-CEQMidController, info == NULL\n"
                            "_Melvane_[OnAttributeChange]-CEQMidController, unknown key: 1, pps: x::y");
    Change(5, "navivolume", "50");
    Change(5, "navivolume", "100");
    EXPECT_EQ(m_bench.mcu.Receive().payload[6], 40) << "neither the early request nor the echo was sent";
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
