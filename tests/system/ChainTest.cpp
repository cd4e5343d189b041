// The whole chain with real processes: a command goes to the MCU and comes back as a status attribute.
#include <fstream>

#include "tests/support/Cases.h"
#include "tests/support/Chain.h"
#include "tests/support/FakeMcu.h"

namespace {

TEST(ChainTest, EveryCommandReachesTheMcuAndComesBack) {
    Chain chain;
    const PpsObjectClient launcher("/pps/services/app-launcher?delta");
    launcher.Read();
    chain.StartMcu();
    chain.StartService();
    const PpsObjectClient status(std::string(kStatus) + "?delta");
    const PpsObjectClient settings("/pps/tolvyn/eq/settings?delta");
    const std::string start = status.Read();
    EXPECT_EQ(Count(start, "\n"), 1U + 18U) << "all but the audio mixing state: " << start;
    for (const std::vector<std::string>& row : Cases("chain.txt")) {
        SCOPED_TRACE(row.back());
        ASSERT_TRUE(WriteObject(kControl, row[0]));
        EXPECT_TRUE(status.Hears(row[2] + "\n"));
        EXPECT_TRUE(chain.mcu->WaitFor(row[1]));
        EXPECT_EQ(LineOf(StateOf(kStatus), row[2].substr(0, row[2].find(':'))), row[2]);
    }
    const std::string curve =
        R"(zoeqtype_3:json:{"freqs":[0,5,7,11,12],"gain":[253,44,5,6,7],"q":[1.5,2.0,0.75,1.25,1.0]})";
    EXPECT_NE(settings.ReadUntil(curve).find(curve), std::string::npos);
    EXPECT_EQ(LineOf(StateOf("/pps/tolvyn/system/dev_status"), "[n]sysvolume"), "[n]sysvolume:n:9");
    EXPECT_NE(launcher.ReadUntil("\"app\":\"zovolume\"").find(R"("cmd":"launch sync","app":"zovolume","dat":"null"})"),
              std::string::npos);
    chain.StopService();
    EXPECT_EQ(Count("\n" + chain.service->Output(), "\n2 "), 1U) << "no configuration file, and no other error";
    const PpsObjectClient mine("/pps/test/mine");
    chain.ppsd->Stop(SIGTERM);
    std::ifstream saved(chain.root.Path() + "/var/pps/objects");
    for (std::string line; std::getline(saved, line);) {
        EXPECT_TRUE(line[0] != '/' || line.substr(line.rfind(' ')) == " 666") << line;
    }
}

TEST(ChainTest, TwoStepsBeforeTheFirstAcknowledgementStartFromTheSameVolume) {
    const Chain chain;
    FakeMcu mcu;
    Process service("melvane");
    ASSERT_TRUE(mcu.Accept());
    for (int i = 0; i < 7; ++i) {
        EXPECT_EQ(mcu.Receive().payload[1], i == 6 ? 7 : i);
    }
    mcu.Send({137, 2, 0, 1, 10, 40, 0, 0, 0, 30, 0, 1, 2, 3, 4, 5, 6, 0});
    ASSERT_TRUE(service.WaitFor("[UpdatePPS]-end"));
    for (const int number : {1, 2}) {
        ASSERT_TRUE(WriteObject(kControl, "zovolume::1"));
        const mculink::Packet packet = mcu.Receive();
        EXPECT_EQ(packet.header.PacketNo, number);
        EXPECT_EQ(packet.payload[4], 0x80 | 11) << "nothing was acknowledged yet";
    }
    mcu.Acknowledge(1);
    mcu.Acknowledge(2);
    ASSERT_TRUE(service.WaitFor("[UpdatePPS]-end", 3));
    ASSERT_TRUE(WriteObject(kControl, "zovolume::1"));
    EXPECT_EQ(mcu.Receive().payload[4], 0x80 | 12) << "two steps became one";
    mcu.SendBlock(FakeMcu::Bytes(100000, 7));
    mcu.Acknowledge(3, 1);
    ASSERT_TRUE(WriteObject(kControl, "zoeqtype::1"));
    for (const char* line : {"nPacketSize[117901063], nHeaderSize[28], nSize[100000]",
                             "Function return error. nCmd[136], nPacketSize[2]", "EncodingIsJson isn't json"}) {
        ASSERT_TRUE(service.WaitFor(line));
    }
    EXPECT_NE(StateOf(kStatus).find("\"current\":11,"), std::string::npos)
        << "what is refused does not become a setting";
    EXPECT_EQ(service.Stop(SIGINT), 0);
}

TEST(ChainTest, LastWordsOfAClientThatReadsNothingAreHeard) {
    const Chain chain;
    {
        const PpsObjectClient client("/pps/test/object?delta");
        chain.ppsd->Signal(SIGSTOP);
        EXPECT_TRUE(client.Write("last::1"));
    }
    chain.ppsd->Signal(SIGCONT);
    EXPECT_EQ(StateOf("/pps/test/object"), "@object\nlast::1\n");
}

TEST(ChainTest, WhatIsMissingAtTheStartIsNamed) {
    std::string output;
    {
        const TemporaryRoot root;
        EXPECT_EQ(RunProgram("melvane", {}, output), 0);
        EXPECT_NE(output.find("can't open the PPS server's object /pps/tolvyn/eq/status?delta: Connection refused"),
                  std::string::npos)
            << output;
        for (const char* level : {"1", "2", "9"}) {
            ::setenv("TLG_SLOG_LEVEL", level, 1);
            EXPECT_EQ(RunProgram("melvane", {}, output), 0);
            EXPECT_EQ(Count(output, "2 0x"), *level == '1' ? 0U : 8U) << "seven files and that it ends";
        }
        ::unsetenv("TLG_SLOG_LEVEL");
    }
    Chain chain;
    EXPECT_EQ(RunProgram("melvane", {}, output), 0);
    EXPECT_NE(output.find("can't open the device /dev/name/local/tolvyn/resmgr/mcucom/eq: No such file or directory"),
              std::string::npos);
    chain.StartMcu();
    chain.StartService();
    EXPECT_EQ(RunProgram("melvane", {}, output), 0);
    EXPECT_EQ(output, "2 0x4e33 _Melvane_[DoWork]-the service already runs below this root, this one ends\n");
    ASSERT_TRUE(WriteObject(kControl, "zoalc::9"));
    EXPECT_TRUE(chain.mcu->WaitFor("-> no=1 size=2 cmd=136 reply=0,0,200,3 acknowledgement status=0"));
}

TEST(ChainTest, TheCommandLineHasTwoOptions) {
    const TemporaryRoot root;
    const std::string version = "TolvynEQ:Melvane for MAIN_LINE_Build2015-10-20\n";
    const std::string help = version + "  -v    get version\n  -h    get help\n";
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"-v"}, version}, {{"-v", "-h"}, version}, {{"-h", "x"}, help}, {{"-h"}, help}, {{"-x"}, help}};
    for (const auto& [arguments, printed] : cases) {
        std::string output;
        EXPECT_EQ(RunProgram("melvane", arguments, output), 0);
        EXPECT_EQ(output.substr(output.find("TolvynEQ")), printed) << "after getopt's own diagnostic";
    }
}

TEST(ChainTest, TheSchemeDecidesAboutNavigation) {
    for (const bool follows : {false, true}) {
        Chain chain;
        chain.root.WriteFile("/zoapps/etc/volume.conf", follows ? "scheme=1;\n" : "scheme=0;\n");
        chain.StartMcu();
        chain.StartService();
        const PpsObjectClient navigation(std::string(kNavigation) + "?delta");
        EXPECT_EQ(Count(navigation.Read(), "[n]navivolume:n:45"), follows ? 1U : 0U);
        EXPECT_TRUE(navigation.Write("navivolume:n:75"));
        ASSERT_TRUE(chain.service->WaitFor(follows ? "packet no = 1" : "cmdVector.empty():1"));
        ASSERT_TRUE(chain.service->WaitFor("[UpdatePPS]-end", follows ? 8 : 7));
        chain.mcu->Type("volume navi 20\nvolume ext2 33\nnonsense\n");
        ASSERT_TRUE(chain.service->WaitFor("[UpdatePPS]-end", follows ? 10 : 9));
        EXPECT_TRUE(chain.mcu->WaitFor("'nonsense' is no order"));
        EXPECT_EQ(Count(chain.mcu->Output(), "navi=30 "), follows ? 1U : 0U);
        EXPECT_EQ(Count(StateOf(kNavigation), "[n]navivolume:n:50\n"), follows ? 1U : 0U);
        EXPECT_EQ(Count(StateOf(kStatus), "\"val\":[10,11,33,13]"), follows ? 1U : 0U);
        chain.StopService();
    }
}

} // namespace
