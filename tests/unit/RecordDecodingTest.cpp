#include <gtest/gtest.h>

#include "mcu/CEQMcuFile.h"
#include "tests/support/CapturedLog.h"

namespace {

using Bytes = std::vector<unsigned char>;

class RecordDecodingTest : public testing::Test {
protected:
    RecordDecodingTest() { m_link.AttachData(&m_data); }

    /// Decodes a record given from its type byte on; the payload ends where its memory ends, so that the
    /// address sanitizer sees a read behind it.
    bool Decode(const Bytes& record) {
        Bytes payload{138, 2};
        payload.insert(payload.end(), record.begin(), record.end());
        payload.shrink_to_fit();
        TakeLog();
        return m_link.ParseRecDataPacket(payload.data(), static_cast<int>(payload.size()));
    }

    /// The volume and fade record with one byte, counted from the type byte, replaced.
    static Bytes VolumeAndFade(std::size_t byte = 0, unsigned char value = 0) {
        Bytes record{0, 1, 0x0A, 40, 0x05, 0x06, 0x07, 30, 0, 1, 2, 3, 4, 5, 6, 1};
        record[byte] = value;
        return record;
    }

    T_SRC_VOL Volumes() const { return m_data.GetVolumeData().tSrcVol; }

    CEQData m_data;
    CEQMcuFile m_link{nullptr};
};

TEST_F(RecordDecodingTest, AnUnacceptableFieldLeavesTheOthersAlone) {
    const std::pair<std::pair<std::size_t, unsigned char>, const char*> cases[] = {
        {{1, 2}, "[DealAudioICData]-status error! function return. status[2]."},
        {{9, 25}, "[DealFadBalData]-Fade balance's value is wrong(0~24), ff:25, fr:2, bl:3, br:4"},
        {{12, 255}, "[DealFadBalData]-Fade balance's value is wrong(0~24), ff:1, fr:2, bl:3, br:255"},
        {{14, 13}, "[DealCenterGainData]-Center gain's value is wrong(0~12):13"},
        {{15, 2}, "[DealLoudData]-Loud status's value is wrong:2"},
    };
    for (const auto& [change, message] : cases) {
        EXPECT_TRUE(Decode(VolumeAndFade(change.first, change.second)));
        EXPECT_EQ(TakeErrors(), std::string("_Melvane_") + message);
        EXPECT_EQ(m_data.GetVolumeData().SubWGain, 5) << "what follows is decoded";
    }
    EXPECT_TRUE(Decode(VolumeAndFade(2, 99)));
    EXPECT_EQ(TakeErrors(), "_Melvane_[DealVolumeData]-Param error, speakerLocal.tSrcVol.SrcVol[0]:99, maxVoume:40");
    EXPECT_EQ(Volumes().SrcVol[0], 99) << "levels above the maximum are stored all the same";
}

TEST_F(RecordDecodingTest, AShortRecordIsDecodedAsFarAsItGoes) {
    const std::pair<std::size_t, const char*> cuts[] = {
        {2, "_Melvane_[ParseFadeDataPacket]-CEQMcuFile, the mcu data length isn't enougth after DealAudioICData, "
            "nSize = 1"},
        {8, "_Melvane_[DealVolumeData]-Param error! function return. nSize[6], nLength[7]\n"
            "_Melvane_[ParseFadeDataPacket]-CEQMcuFile, the mcu data length isn't enougth after DealVolumeData, "
            "nSize = 7"},
        {9, "_Melvane_[ParseFadeDataPacket]-CEQMcuFile, the mcu data length isn't enougth after DealVolumeData, "
            "nSize = 8"},
        {13, "_Melvane_[ParseFadeDataPacket]-CEQMcuFile, the mcu data length isn't enougth after DealFadBalData, "
             "nSize = 12"},
        {15, "_Melvane_[ParseFadeDataPacket]-CEQMcuFile, the mcu data length isn't enougth after "
             "DealCenterGainData, nSize = 14"},
    };
    for (const auto& [length, message] : cuts) {
        Bytes record = VolumeAndFade();
        record.resize(length);
        EXPECT_TRUE(Decode(record));
        const auto lines = TakeLog();
        EXPECT_EQ(lines[0].text, "_Melvane_[ParseRecDataPacket]-case VOLUME_AND_FADE_BALANCE,the data isn't enough, "
                                 "need 18 BYTEs, only " +
                                     std::to_string(length + 2) + " BYTEs");
        EXPECT_EQ(lines[0].severity, 5);
        Decode(record);
        EXPECT_EQ(TakeErrors(), message);
    }
}

TEST_F(RecordDecodingTest, ChangeMarksNameTheVolumeThatChanged) {
    struct Case {
        int scheme;
        Bytes marks; ///< main, navigation, call, voice
        int volType;
        int changeStatus;
    };
    for (const Case& each : {Case{0, {0x8A, 0x85, 6, 7}, 0, 1}, Case{0, {10, 0x85, 0x86, 0x87}, 5, 0},
                             Case{1, {10, 0x85, 0x86, 7}, 1, 1}, Case{1, {10, 5, 0x86, 0x87}, 2, 1},
                             Case{1, {10, 5, 6, 0x87}, 3, 1}, Case{1, {0x8A, 0x85, 0x86, 0x87}, 0, 1}}) {
        m_data.SetVolumeScheme(each.scheme);
        Bytes record = VolumeAndFade();
        record[2] = each.marks[0];
        std::copy(each.marks.begin() + 1, each.marks.end(), record.begin() + 4);
        EXPECT_TRUE(Decode(record));
        EXPECT_EQ(Volumes().VolType, each.volType);
        EXPECT_EQ(Volumes().ChangeStatus, each.changeStatus);
        EXPECT_EQ(Volumes().SrcVol[0], 10);
        EXPECT_EQ(Volumes().SrcVol[3], each.scheme == 1 ? 7 : 0);
        EXPECT_TRUE(Decode({7, each.marks[0], each.marks[1], each.marks[2], each.marks[3]}));
        const T_CARPLAY_VOLUME extended = m_data.GetCarPlayVolumeData().tCarPlayVol;
        EXPECT_EQ(extended.VolType, each.scheme == 1 ? each.volType : 5);
        EXPECT_EQ(extended.SrcVol[0], each.scheme == 1 ? 10 : 0);
    }
}

TEST_F(RecordDecodingTest, EqRecords) {
    Bytes curve;
    for (unsigned char band = 0; band < 5; ++band) {
        curve.insert(curve.end(), {static_cast<unsigned char>(200 + band), static_cast<unsigned char>(3 * band), 2});
    }
    const auto record = [&curve](int types) {
        Bytes bytes{1, 0, 3};
        for (int i = 0; i < types; ++i) {
            bytes.insert(bytes.end(), curve.begin(), curve.end());
        }
        return bytes;
    };
    EXPECT_TRUE(Decode(record(8)));
    EXPECT_EQ(m_data.GetEqTypeDate().TypeNum, 7);
    EXPECT_EQ(m_data.GetEqTypeDate().Type, 3);
    EXPECT_EQ(m_data.GetEqTypeDate().Band[6][4].Gain, 204);
    EXPECT_EQ(m_data.GetEqTypeDate().Band[6][4].Q, 1.25);
    Bytes broken = record(2);
    broken[3 + 7] = 5;
    broken[3] = 1;
    broken[3 + 15] = 77;
    EXPECT_TRUE(Decode(broken));
    EXPECT_EQ(TakeErrors(), "_Melvane_[DealEqDataByIndex]-EQMcuFile, eqtype:0, band 3 unkown freq(6~8):5");
    EXPECT_EQ(m_data.GetEqTypeDate().TypeNum, 2);
    EXPECT_EQ(m_data.GetEqTypeDate().Band[0][0].Gain, 200) << "one bad band keeps its whole type out";
    EXPECT_EQ(m_data.GetEqTypeDate().Band[1][0].Gain, 77);
    broken = record(1);
    broken[5] = 0;
    EXPECT_TRUE(Decode(broken));
    EXPECT_EQ(TakeErrors(),
              "_Melvane_[DealEqDataByIndex]-Deal EqData error! function return, eqtype[0], band[1], unkown q:[0]");
    Bytes odd = record(1);
    odd.push_back(0);
    odd[2] = 250;
    EXPECT_TRUE(Decode(odd));
    EXPECT_EQ(m_data.GetEqTypeDate().Type, 250);
    EXPECT_EQ(TakeErrors(), "_Melvane_[ParseEQDataPacket]-case EQ, the data length from the MCU isn't right, "
                            "\t\t\t    need to be an intergral multiple of the data numbers needed by one type, "
                            "\t\t\t    one type need:15, the received data length:16, total MCU size: 17");
    EXPECT_TRUE(Decode({1, 0, 4}));
    EXPECT_EQ(TakeErrors(), "_Melvane_[ParseEQDataPacket]-CEQMcuFile, after DealEqTypeData the received data size "
                            "= 0, total size = 1");
    EXPECT_FALSE(Decode({1, 0}));
    EXPECT_EQ(TakeErrors(), "_Melvane_[ParseRecDataPacket]-case EQ, wrong MCU data size:4, need > 4, pBuf[4] saves "
                            "the eq type");
}

TEST_F(RecordDecodingTest, TheOtherRecords) {
    struct Case {
        Bytes record;
        bool accepted;
        std::string errors;
    };
    const std::string tag = "_Melvane_";
    Bytes tooMany{2, 33};
    tooMany.resize(2 + 2 * 33);
    for (const Case& each : {
             Case{{2, 2, 3, 12, 4, 0}, true, ""},
             Case{{2, 0}, true, ""},
             Case{
                 {2, 2, 3, 12, 4}, false, tag + "[DealSrcGainData]-Param error! function return. nSize[4], nLength[5]"},
             Case{{2, 1, 3, 13},
                  false,
                  tag + "[DealSrcGainData]-EQMcuFile::DealSrcGainData(), source ID: 3,gain is out of range(0~12):13"},
             Case{tooMany, true,
                  tag + "[SetSrcGainData]-the sources' number: 33, it is bigger than he size of array: 32."},
             Case{{3, 9, 8}, true, ""},
             Case{{3, 9},
                  true,
                  tag + "[ParseRecDataPacket]-CEQMcuFile, the mcu data length isn't enougth after DealListenPosData, "
                        "total mcu data size = 4"},
             Case{{4, 0x17, 0x07, 0xAD}, true, ""},
             Case{{4, 0x2F, 0x0A, 0},
                  true,
                  tag + "[DealSubwooferData]-Unknown filter(0 ~ 4):5, function return.\n" + tag +
                      "[DealSpeakerModeData]-unknown channel(0 ~ 4):5, function return."},
             Case{{4, 1},
                  true,
                  tag + "[ParseAudioSettingDataPacket]-CEQMcuFile, the mcu data length isn't enougth after "
                        "DealDBBData \t\t\t\tand DealSubwooferData, nSize = 1"},
             Case{{4, 1, 0x0A},
                  true,
                  tag + "[DealSpeakerModeData]-unknown channel(0 ~ 4):5, function return.\n" + tag +
                      "[ParseAudioSettingDataPacket]-CEQMcuFile, the mcu data length isn't enougth after "
                      "DealSpeakerModeData, size = 2"},
             Case{{5, 255}, true, ""},
             Case{{7, 1, 2, 3, 4}, true, ""},
             Case{{7, 1, 2, 3},
                  false,
                  tag + "[ParseEQEXtendDataPacket]-Param error! function return. nSize[4], nLength[5]"},
             Case{{6, 1}, false, tag + "[ParseRecDataPacket]-CEQMcuFile, Unknown case:6"},
             Case{{8, 1}, false, tag + "[ParseRecDataPacket]-CEQMcuFile, Unknown case:8"},
         }) {
        EXPECT_EQ(Decode(each.record), each.accepted) << int{each.record[0]};
        EXPECT_EQ(TakeErrors(), each.errors);
    }
    EXPECT_EQ(m_data.GetSrcData().Count, 0);
    EXPECT_EQ(m_data.GetAudioData().DBB, 1);
    EXPECT_TRUE(m_data.GetAudioData().Subwoofer == (tagSubwoofer{0, 0, 0})) << "of the last accepted record";
    EXPECT_TRUE(m_data.GetAudioData().FrontFilter == (tagStereoFilterParam{0, 0}));
    EXPECT_EQ(m_data.GetVolumeData().ListenPos, 9);
    EXPECT_EQ(m_data.GetVolumeData().SRS, 8);
    Decode({4, 0x17, 0x07, 0xAD});
    EXPECT_TRUE(m_data.GetAudioData().Subwoofer == (tagSubwoofer{1, 180, 2}));
    EXPECT_TRUE(m_data.GetAudioData().SpeakerMode == (tagSpeakerMode{1, 3}));
    EXPECT_TRUE(m_data.GetAudioData().FrontFilter == (tagStereoFilterParam{1, 5}));
    EXPECT_TRUE(m_data.GetAudioData().RearFilter == (tagStereoFilterParam{1, 2}));
}

TEST_F(RecordDecodingTest, NothingIsDecodedWithoutAStoreOrData) {
    CEQMcuFile bare(nullptr);
    unsigned char packet[40] = {};
    TakeLog();
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
