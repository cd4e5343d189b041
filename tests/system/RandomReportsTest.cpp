// Random valid and invalid reports: the published objects must hold what the rules give, and the log nothing
// but stated messages. TLG_RANDOM_REPORTS in the environment says how many reports a run sends.
#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "tests/support/Chain.h"
#include "tests/support/Published.h"
#include "tests/system/ReferenceModel.h"

namespace {

/// Beginnings of the level-2 messages that MCU data may give.
const char* const kStatedErrors[] = {
    "[ReadFile]-open fail",
    "[ProcessDataPacket]-Param error! function return. nSize[",
    "[ProcessDataPacket]-Param error! function return. audioMixStatus[",
    "[ProcessDataPacket]-Wrong packet size! function return. n",
    "[ProcessDataPacket]-Function return error. nCmd[",
    "[ProcessDataPacket]-Can't find the packet no:",
    "[ParseRecDataPacket]-Param error, function return error. pBuf[0x",
    "[ParseRecDataPacket]-case EQ, wrong MCU data size:4, need > 4, pBuf[4] saves the eq type",
    "[ParseRecDataPacket]-CEQMcuFile, the mcu data length isn't enougth after DealListenPosData, total mcu data",
    "[ParseRecDataPacket]-CEQMcuFile, Unknown case:",
    "[ParseFadeDataPacket]-CEQMcuFile, the mcu data length isn't enougth after Deal",
    "[ParseAudioSettingDataPacket]-CEQMcuFile, the mcu data length isn't enougth after Deal",
    "[ParseEQDataPacket]-CEQMcuFile, after DealEqTypeData the received data size = ",
    "[ParseEQDataPacket]-case EQ, the data length from the MCU isn't right, ",
    "[ParseEQEXtendDataPacket]-Param error! function return. nSize[",
    "[DealEqDataByIndex]-EQMcuFile, eqtype:",
    "[DealEqDataByIndex]-Deal EqData error! function return, eqtype[",
    "[DealAudioICData]-status error! function return. status[",
    "[DealVolumeData]-Param error! function return. nSize[",
    "[DealVolumeData]-Param error, speakerLocal.tSrcVol.SrcVol[",
    "[DealFadBalData]-Param error! function return. nSize[",
    "[DealFadBalData]-Fade balance's value is wrong(0~24), ff:",
    "[DealCenterGainData]-Center gain's value is wrong(0~12):",
    "[DealLoudData]-Loud status's value is wrong:",
    "[DealSubwooferData]-Unknown filter(0 ~ 4):",
    "[DealSpeakerModeData]-unknown channel(0 ~ 4):",
    "[DealSrcGainData]-Param error! function return. nSize[",
    "[DealSrcGainData]-EQMcuFile::DealSrcGainData(), source ID: ",
    "[SetSrcGainData]-the sources' number: ",
    "[PublishEqType]-CEQStatusPPSModule, unknown eqtype( 0 ~ 6 ): ",
    "[PublishSrcGain]-CEQStatusPPSModule, unknown src ID: "};

/// Beginnings of the traces.
const char* const kStatedTraces[] = {"[UpdatePPS]-end",
                                     "[OnRecvData]-receive MCU data",
                                     "[OnAttributeChange]-bRet:",
                                     "[OnAttributeChange]-cmdVector.empty():",
                                     "[OnPPSCmd]-CEQControlPPSModule::OnPPSCmd, attr_name:",
                                     "[SendCtrCmd]-Cmd[0x8], packet no = ",
                                     "[DealVolumeData]-nLength:7",
                                     "[DealVolumeData]----------------",
                                     "[SetVolumeData]-speakerVolume.tSrcVol.Max:",
                                     "[SetVolumeData]-m_EQSetting.Speaker.tSrcVol.VolType = ",
                                     "[SetVolumeData]- speakerVolume.tSrcVol.VolType = ",
                                     "[ParseRecDataPacket]-case ",
                                     "[PublishNaviVol]-nMax = 0"};

/// The lines of a log that are not stated.
std::string UnstatedLines(const std::string& log) {
    std::istringstream lines(log);
    std::string unstated;
    for (std::string line; std::getline(lines, line);) {
        const std::size_t text = line.find(" _Melvane_");
        const auto begins = [&](const char* stated) {
            return line.compare(text + 10, std::string(stated).size(), stated) == 0;
        };
        const bool isStated =
            text != std::string::npos &&
            (line[0] == '2' ? std::any_of(std::begin(kStatedErrors), std::end(kStatedErrors), begins)
                            : std::any_of(std::begin(kStatedTraces), std::end(kStatedTraces), begins));
        unstated += isStated ? "" : line + "\n";
    }
    return unstated;
}

/// Feeds the reference with what the simulated MCU says that it sent.
void TakeTrace(const std::string& trace, ReferenceModel& reference) {
    std::istringstream lines(trace);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t bytes = line.rfind('[');
        if (line.compare(0, 3, "-> ") != 0 || bytes == std::string::npos) {
            continue;
        }
        std::istringstream numbers(line.substr(line.find("size=") + 5));
        int size = 0;
        int command = 0;
        std::string word;
        numbers >> size >> word;
        command = std::stoi(word.substr(4));
        reference.Take(command, size, PayloadIn(line));
    }
}

class RandomReportsTest : public testing::TestWithParam<int> {};

TEST_P(RandomReportsTest, ThePublishedObjectsFollowTheRules) {
    const int scheme = GetParam();
    const char* wanted = std::getenv("TLG_RANDOM_REPORTS");
    const std::string count = wanted == nullptr ? "3000" : wanted;
    Chain chain;
    chain.root.WriteFile("/zoapps/etc/volume.conf", "scheme=" + std::to_string(scheme) + ";");
    ASSERT_TRUE(WriteObject("/pps/services/app-launcher", "started::1"));
    Process launches("ppsctl", {"watch", "/pps/services/app-launcher"});
    ASSERT_TRUE(launches.WaitFor("started"));
    const std::string seed = std::to_string(1000 + scheme);
    chain.StartMcu({"--trace", "--seed", seed, "--rate", "2000", "--count", count});
    chain.service = std::make_unique<Process>("melvane");
    // Seven answers, the random reports, and one that nobody can mistake.
    const std::size_t packets = 7 + std::stoul(count);
    ASSERT_TRUE(chain.mcu->WaitFor("-> ", packets));
    chain.mcu->Type("volume max 126\n");
    ASSERT_TRUE(chain.service->WaitFor("receive MCU data", packets + 1)) << chain.service->Output().size();
    ASSERT_TRUE(WriteObject(kControl, "zoalc::201"));
    ASSERT_TRUE(chain.service->WaitFor("packet no = 1"));
    ASSERT_TRUE(chain.mcu->WaitFor("acknowledgement status=0"));
    const PpsObjectClient status(std::string(kStatus) + "?delta");
    status.ReadUntil("zoalc:n:201");

    ReferenceModel reference(scheme);
    TakeTrace(chain.mcu->Output(), reference);
    reference.Take(138, 4, {138, 2, 5, 201});
    const std::map<std::string, std::string> published = PublishedLines();
    EXPECT_EQ(TextOf(published), TextOf(reference.Lines()));
    EXPECT_GE(published.size(), 18U + 7U + 1U);
    EXPECT_TRUE(launches.WaitFor("req:json:", static_cast<std::size_t>(reference.Launches())));
    EXPECT_EQ(Count(launches.Output(), "req:json:"), static_cast<std::size_t>(reference.Launches()));
    chain.StopService();
    EXPECT_EQ(UnstatedLines(chain.service->Output()), "");
}

INSTANTIATE_TEST_SUITE_P(Schemes, RandomReportsTest, testing::Values(0, 1));

} // namespace
