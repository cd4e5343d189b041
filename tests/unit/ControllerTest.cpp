#include <gtest/gtest.h>

#include <filesystem>

#include "service/CEQMidController.h"
#include "service/ConfigurationFile.h"
#include "service/SyncLaunch.h"
#include "tests/support/Bench.h"
#include "tests/support/Cases.h"
#include "tests/support/Records.h"

namespace {

TEST(ConfigurationFile, ReadsTheScheme) {
    const TemporaryRoot root;
    const std::string far(900, 'x');
    std::vector<std::vector<std::string>> cases = Cases("scheme.txt");
    for (const std::size_t before : {900U, 1013U, 1014U}) {
        cases.push_back({std::string(before, 'x') + "scheme=1;", before < 1014 ? "1" : "0", "after a long line"});
    }
    cases.push_back({"scheme=1" + far + ";", "1", "before a long rest"});
    cases.push_back({"scheme=1;" + std::string(5000000, ';'), "1", "a large file"});
    for (const std::vector<std::string>& row : cases) {
        SCOPED_TRACE(row.back());
        root.WriteFile("/zoapps/etc/volume.conf", row[0]);
        TakeLog();
        EXPECT_EQ(std::to_string(ConfigurationFile::ReadVolumeScheme()), row[1]);
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
        FakeMcu::Bytes packet = mculink::MakePacket(payload, 0);
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
    Receive(VolumeAndFade().Payload());
    m_controller.OnAttributeChange(5, nullptr);
    Change(1, "x", "y");
    EXPECT_EQ(TakeErrors(), "_Melvane_[OnAttributeChange]-CEQMidController, info == NULL\n"
                            "_Melvane_[OnAttributeChange]-CEQMidController, unknown key: 1, pps: x::y");
    Change(5, "navivolume", "50");
    Change(5, "navivolume", "100");
    EXPECT_EQ(m_bench.mcu.Receive().payload[6], 40) << "neither the early request nor the echo was sent";
}

} // namespace
