// Records that the MCU should not send: what is refused, what is left of the others, and what is said of it. Proper
// records are compared with the reference model by the system tests.
#include <gtest/gtest.h>

#include "mcu/CEQMcuFile.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Records.h"

namespace {

using mcusim::Bytes;

class RecordDecodingTest : public testing::Test {
protected:
    RecordDecodingTest() { m_link.AttachData(&m_data); }

    /// The payload ends where its memory ends, so that the address sanitizer sees a read past it.
    bool Decode(const Record& record) {
        Bytes payload = record.Payload();
        payload.shrink_to_fit();
        TakeLog();
        return m_link.ParseRecDataPacket(payload.data(), static_cast<int>(payload.size()));
    }

    /// Expects of a record whether it is accepted and its messages, one to a line and without the common prefix.
    void Expect(const Record& record, bool accepted, const std::string& errors) {
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

TEST_F(RecordDecodingTest, AnUnacceptableFieldLeavesTheOthersAlone) {
    const std::string fade = "[DealFadBalData]-Fade balance's value is wrong(0~24), ";
    const struct {
        const char* field;
        int value;
        std::string message;
    } cases[] = {
        {"ic", 2, "[DealAudioICData]-status error! function return. status[2]."},
        {"ff", 25, fade + "ff:25, fr:2, bl:3, br:4"},
        {"fr", 25, fade + "ff:1, fr:25, bl:3, br:4"},
        {"bl", 25, fade + "ff:1, fr:2, bl:25, br:4"},
        {"br", 25, fade + "ff:1, fr:2, bl:3, br:25"},
        {"center_gain", 13, "[DealCenterGainData]-Center gain's value is wrong(0~12):13"},
        {"loud", 2, "[DealLoudData]-Loud status's value is wrong:2"},
        {"main", 99, "[DealVolumeData]-Param error, speakerLocal.tSrcVol.SrcVol[0]:99, maxVoume:40"},
    };
    for (const auto& [field, value, message] : cases) {
        Expect(VolumeAndFade().With(field, value), true, message);
        EXPECT_EQ(m_data.GetVolumeData().SubWGain, 5) << "what follows is decoded";
    }
    EXPECT_EQ(m_data.GetVolumeData().tSrcVol.SrcVol[0], 99) << "levels above the maximum are stored all the same";
}

TEST_F(RecordDecodingTest, AShortRecordIsDecodedAsFarAsItGoes) {
    const std::string cut = "[ParseFadeDataPacket]-CEQMcuFile, the mcu data length isn't enougth after Deal";
    const std::pair<std::size_t, std::string> cuts[] = {
        {4, cut + "AudioICData, nSize = 1"},
        {10, "[DealVolumeData]-Param error! function return. nSize[6], nLength[7]\n" + cut + "VolumeData, nSize = 7"},
        {11, cut + "VolumeData, nSize = 8"},
        {15, cut + "FadBalData, nSize = 12"},
        {16, cut + "SubWGainData, nSize = 13"},
        {17, cut + "CenterGainData, nSize = 14"},
    };
    for (const auto& [size, message] : cuts) {
        Expect(VolumeAndFade().Cut(size), true, message);
        Decode(VolumeAndFade().Cut(size));
        EXPECT_EQ(TakeErrors(5),
                  "_Melvane_[ParseRecDataPacket]-case VOLUME_AND_FADE_BALANCE,the data isn't enough, need 18 BYTEs, "
                  "only " +
                      std::to_string(size) + " BYTEs");
    }
}

TEST_F(RecordDecodingTest, EqRecords) {
    Expect(Curves(8), true, "");
    EXPECT_EQ(m_data.GetEqTypeDate().TypeNum, 7);
    Expect(Curves(2).With("gain0", 1).With("freq2", 5).With("gain5", 77), true,
           "[DealEqDataByIndex]-EQMcuFile, eqtype:0, band 3 unkown freq(6~8):5");
    EXPECT_EQ(m_data.GetEqTypeDate().TypeNum, 2);
    EXPECT_EQ(m_data.GetEqTypeDate().Band[0][0].Gain, 0) << "one bad band keeps its whole type out";
    EXPECT_EQ(m_data.GetEqTypeDate().Band[1][0].Gain, 77);
    Expect(Curves(1).With("q0", 0), true,
           "[DealEqDataByIndex]-Deal EqData error! function return, eqtype[0], band[1], unkown q:[0]");
    Expect(Curves(1).With("type", 250).Add({0}), true,
           "[ParseEQDataPacket]-case EQ, the data length from the MCU isn't right, "
           "\t\t\t    need to be an intergral multiple of the data numbers needed by one type, "
           "\t\t\t    one type need:15, the received data length:16, total MCU size: 17");
    EXPECT_EQ(m_data.GetEqTypeDate().Type, 250);
    Expect(Record(EQ).With("type", 4), true,
           "[ParseEQDataPacket]-CEQMcuFile, after DealEqTypeData the received data size = 0, total size = 1");
    Expect(Record(EQ).Cut(4), false,
           "[ParseRecDataPacket]-case EQ, wrong MCU data size:4, need > 4, pBuf[4] saves the eq type");
}

TEST_F(RecordDecodingTest, TheOtherRecords) {
    const std::string cut = "-CEQMcuFile, the mcu data length isn't enougth after Deal";
    const auto unknown = [](std::uint8_t type) { return Record(Bytes{138, 2, type, 1}); };
    Record tooMany(SOURCE_GAIN);
    for (int i = 0; i < 33; ++i) {
        tooMany.Add({0, 0});
    }
    tooMany.With("count", 33);
    const struct {
        Record record;
        bool accepted;
        std::string errors;
    } cases[] = {
        {Sources({{3, 12}, {4, 0}}).Cut(7), false,
         "[DealSrcGainData]-Param error! function return. nSize[4], nLength[5]"},
        {Sources({{3, 13}}), false,
         "[DealSrcGainData]-EQMcuFile::DealSrcGainData(), source ID: 3,gain is out of range(0~12):13"},
        {tooMany, true, "[SetSrcGainData]-the sources' number: 33, it is bigger than he size of array: 32."},
        {Record(LISTEN_POS).With("listen_pos", 9).Cut(4), true,
         "[ParseRecDataPacket]" + cut + "ListenPosData, total mcu data size = 4"},
        {Record(AUDIO_SETTING).With("dbb", 1).With("filter", 5).With("channel", 5), true,
         "[DealSubwooferData]-Unknown filter(0 ~ 4):5, function return.\n"
         "[DealSpeakerModeData]-unknown channel(0 ~ 4):5, function return."},
        {Record(AUDIO_SETTING).With("dbb", 1).Cut(4), true,
         "[ParseAudioSettingDataPacket]" + cut + "DBBData \t\t\t\tand DealSubwooferData, nSize = 1"},
        {Record(AUDIO_SETTING).With("dbb", 1).Cut(5), true,
         "[ParseAudioSettingDataPacket]" + cut + "SpeakerModeData, size = 2"},
        {Record(EQ_EXPEND).Cut(6), false,
         "[ParseEQEXtendDataPacket]-Param error! function return. nSize[4], nLength[5]"},
        {unknown(6), false, "[ParseRecDataPacket]-CEQMcuFile, Unknown case:6"},
        {unknown(8), false, "[ParseRecDataPacket]-CEQMcuFile, Unknown case:8"},
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
