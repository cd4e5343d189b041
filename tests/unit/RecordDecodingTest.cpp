// Records that the MCU should not send: what is refused, what is left of the others, and what is said of it. Proper
// records are compared with the reference model by the system tests.
#include <gtest/gtest.h>

#include "mcu/CEQMcuFile.h"
#include "tests/support/CapturedLog.h"

namespace {

using Bytes = std::vector<unsigned char>;

class RecordDecodingTest : public testing::Test {
protected:
    RecordDecodingTest() { m_link.AttachData(&m_data); }

    /// Decodes a record given from its type byte on; the payload ends where its memory ends, so that the
    /// address sanitizer sees a read past it.
    bool Decode(const Bytes& record) {
        Bytes payload{138, 2};
        payload.insert(payload.end(), record.begin(), record.end());
        payload.shrink_to_fit();
        TakeLog();
        return m_link.ParseRecDataPacket(payload.data(), static_cast<int>(payload.size()));
    }

    /// Expects of a record whether it is accepted and its messages, one to a line and without the common prefix.
    void Expect(const Bytes& record, bool accepted, const std::string& errors) {
        EXPECT_EQ(Decode(record), accepted) << errors;
        std::string told = TakeErrors();
        for (std::size_t at = 0; (at = told.find("_Melvane_", at)) != std::string::npos;) {
            told.erase(at, 9);
        }
        EXPECT_EQ(told, errors);
    }

    CEQData m_data;
    CEQMcuFile m_link{nullptr};
};

const Bytes kVolumeAndFade{0, 1, 0x0A, 40, 0x05, 0x06, 0x07, 30, 0, 1, 2, 3, 4, 5, 6, 1};

TEST_F(RecordDecodingTest, AnUnacceptableFieldLeavesTheOthersAlone) {
    const struct {
        std::size_t byte;
        unsigned char value;
        std::string message;
    } cases[] = {
        {1, 2, "[DealAudioICData]-status error! function return. status[2]."},
        {9, 25, "[DealFadBalData]-Fade balance's value is wrong(0~24), ff:25, fr:2, bl:3, br:4"},
        {10, 25, "[DealFadBalData]-Fade balance's value is wrong(0~24), ff:1, fr:25, bl:3, br:4"},
        {11, 25, "[DealFadBalData]-Fade balance's value is wrong(0~24), ff:1, fr:2, bl:25, br:4"},
        {12, 25, "[DealFadBalData]-Fade balance's value is wrong(0~24), ff:1, fr:2, bl:3, br:25"},
        {14, 13, "[DealCenterGainData]-Center gain's value is wrong(0~12):13"},
        {15, 2, "[DealLoudData]-Loud status's value is wrong:2"},
        {2, 99, "[DealVolumeData]-Param error, speakerLocal.tSrcVol.SrcVol[0]:99, maxVoume:40"},
    };
    for (const auto& [byte, value, message] : cases) {
        Bytes record = kVolumeAndFade;
        record[byte] = value;
        Expect(record, true, message);
        EXPECT_EQ(m_data.GetVolumeData().SubWGain, 5) << "what follows is decoded";
    }
    EXPECT_EQ(m_data.GetVolumeData().tSrcVol.SrcVol[0], 99) << "levels above the maximum are stored all the same";
}

TEST_F(RecordDecodingTest, AShortRecordIsDecodedAsFarAsItGoes) {
    const std::string cut = "[ParseFadeDataPacket]-CEQMcuFile, the mcu data length isn't enougth after Deal";
    const std::pair<std::size_t, std::string> cuts[] = {
        {2, cut + "AudioICData, nSize = 1"},
        {8, "[DealVolumeData]-Param error! function return. nSize[6], nLength[7]\n" + cut + "VolumeData, nSize = 7"},
        {9, cut + "VolumeData, nSize = 8"},
        {13, cut + "FadBalData, nSize = 12"},
        {14, cut + "SubWGainData, nSize = 13"},
        {15, cut + "CenterGainData, nSize = 14"},
    };
    for (const auto& [length, message] : cuts) {
        Bytes record = kVolumeAndFade;
        record.resize(length);
        Expect(record, true, message);
        Decode(record);
        EXPECT_EQ(TakeErrors(5),
                  "_Melvane_[ParseRecDataPacket]-case VOLUME_AND_FADE_BALANCE,the data isn't enough, need 18 BYTEs, "
                  "only " +
                      std::to_string(length + 2) + " BYTEs");
    }
}

TEST_F(RecordDecodingTest, EqRecords) {
    const auto record = [](int types) {
        Bytes bytes{1, 0, 3};
        for (int i = 0; i < 5 * types; ++i) {
            bytes.insert(bytes.end(), {static_cast<unsigned char>(i), static_cast<unsigned char>(3 * (i % 5)), 2});
        }
        return bytes;
    };
    Expect(record(8), true, "");
    EXPECT_EQ(m_data.GetEqTypeDate().TypeNum, 7);
    Bytes broken = record(2);
    broken[3 + 7] = 5;
    broken[3] = 1;
    broken[3 + 15] = 77;
    Expect(broken, true, "[DealEqDataByIndex]-EQMcuFile, eqtype:0, band 3 unkown freq(6~8):5");
    EXPECT_EQ(m_data.GetEqTypeDate().TypeNum, 2);
    EXPECT_EQ(m_data.GetEqTypeDate().Band[0][0].Gain, 0) << "one bad band keeps its whole type out";
    EXPECT_EQ(m_data.GetEqTypeDate().Band[1][0].Gain, 77);
    broken = record(1);
    broken[5] = 0;
    Expect(broken, true, "[DealEqDataByIndex]-Deal EqData error! function return, eqtype[0], band[1], unkown q:[0]");
    Bytes odd = record(1);
    odd.push_back(0);
    odd[2] = 250;
    Expect(odd, true,
           "[ParseEQDataPacket]-case EQ, the data length from the MCU isn't right, "
           "\t\t\t    need to be an intergral multiple of the data numbers needed by one type, "
           "\t\t\t    one type need:15, the received data length:16, total MCU size: 17");
    EXPECT_EQ(m_data.GetEqTypeDate().Type, 250);
    Expect({1, 0, 4}, true,
           "[ParseEQDataPacket]-CEQMcuFile, after DealEqTypeData the received data size = 0, total size = 1");
    Expect({1, 0}, false, "[ParseRecDataPacket]-case EQ, wrong MCU data size:4, need > 4, pBuf[4] saves the eq type");
}

TEST_F(RecordDecodingTest, TheOtherRecords) {
    const std::string cut = "-CEQMcuFile, the mcu data length isn't enougth after Deal";
    Bytes tooMany{2, 33};
    tooMany.resize(2 + 2 * 33);
    const struct {
        Bytes record;
        bool accepted;
        std::string errors;
    } cases[] = {
        {{2, 2, 3, 12, 4}, false, "[DealSrcGainData]-Param error! function return. nSize[4], nLength[5]"},
        {{2, 1, 3, 13},
         false,
         "[DealSrcGainData]-EQMcuFile::DealSrcGainData(), source ID: 3,gain is out of range(0~12):13"},
        {tooMany, true, "[SetSrcGainData]-the sources' number: 33, it is bigger than he size of array: 32."},
        {{3, 9}, true, "[ParseRecDataPacket]" + cut + "ListenPosData, total mcu data size = 4"},
        {{4, 0x2F, 0x0A, 0},
         true,
         "[DealSubwooferData]-Unknown filter(0 ~ 4):5, function return.\n"
         "[DealSpeakerModeData]-unknown channel(0 ~ 4):5, function return."},
        {{4, 1}, true, "[ParseAudioSettingDataPacket]" + cut + "DBBData \t\t\t\tand DealSubwooferData, nSize = 1"},
        {{4, 1, 2}, true, "[ParseAudioSettingDataPacket]" + cut + "SpeakerModeData, size = 2"},
        {{7, 1, 2, 3}, false, "[ParseEQEXtendDataPacket]-Param error! function return. nSize[4], nLength[5]"},
        {{6, 1}, false, "[ParseRecDataPacket]-CEQMcuFile, Unknown case:6"},
        {{8, 1}, false, "[ParseRecDataPacket]-CEQMcuFile, Unknown case:8"},
    };
    for (const auto& [record, accepted, errors] : cases) {
        Expect(record, accepted, errors);
    }
    EXPECT_EQ(m_data.GetSrcData().Count, 0);
    EXPECT_EQ(m_data.GetVolumeData().ListenPos, 9);
    EXPECT_EQ(m_data.GetAudioData().DBB, 1);
}

TEST_F(RecordDecodingTest, NothingIsDecodedWithoutAStoreOrData) {
    CEQMcuFile bare(nullptr);
    unsigned char packet[40] = {};
    EXPECT_FALSE(bare.ProcessDataPacket(packet, sizeof packet));
    EXPECT_FALSE(m_link.ProcessDataPacket(nullptr, 40));
    EXPECT_FALSE(m_link.ParseRecDataPacket(nullptr, 40));
    EXPECT_FALSE(bare.ParseFadeDataPacket(packet, 15));
    EXPECT_FALSE(m_link.ParseFadeDataPacket(nullptr, 15));
    int consumed = -1;
    EXPECT_FALSE(m_link.DealVolumeData(nullptr, 7, consumed));
    EXPECT_EQ(consumed, -1);
    EXPECT_FALSE(m_link.DealVolumeData(packet, 6, consumed));
    EXPECT_EQ(consumed, 7);
}

} // namespace
