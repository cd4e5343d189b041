// What is refused of records, what is left of the others, and what is said of it.
#include <gtest/gtest.h>

#include "framework/LogBase.h"
#include "mcu/CEQMcuFile.h"
#include "model/RecordPayload.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Cases.h"
#include "tests/support/Records.h"

namespace {

using mculink::Bytes;

class RecordDecodingTest : public testing::Test {
protected:
    RecordDecodingTest() { m_link.AttachData(&m_data); }

    /// The payload ends where its memory ends, so that the address sanitizer sees a read past it.
    bool Decode(Bytes payload) {
        payload.shrink_to_fit();
        TakeLog();
        return m_link.ParseRecDataPacket(payload.data(), static_cast<int>(payload.size()));
    }

    /// The errors without their common prefix.
    static std::string Errors() {
        std::string errors = TakeErrors();
        for (std::size_t at = 0; (at = errors.find("_Melvane_", at)) != std::string::npos;) {
            errors.erase(at, 9);
        }
        return errors;
    }

    /// A field of a record as a command would send it now.
    int Stored(int type, const std::string& field) const {
        RecordValues values = VolumeAndFadeValues(m_data);
        values.audio = m_data.GetAudioData();
        Bytes payload{0, kControlRecordMark};
        Bytes record;
        WriteRecord(static_cast<RecordType>(type), values, record);
        payload.insert(payload.end(), record.begin(), record.end());
        return Record(payload).Get(field);
    }

    CEQData m_data;
    CEQMcuFile m_link{nullptr};
};

TEST_F(RecordDecodingTest, Cases) {
    for (const std::vector<std::string>& row : Cases("records.txt")) {
        SCOPED_TRACE(row.back());
        m_data.SetFadBalData({});
        const Record record = RecordOf(row[0]);
        EXPECT_EQ(Decode(record.Payload()), row[1] == "yes");
        EXPECT_EQ(Errors(), row[2]);
        if (const std::size_t value = row[3].find('='); row.size() > 4) {
            EXPECT_EQ(std::to_string(Stored(record.Type(), row[3].substr(0, value))), row[3].substr(value + 1));
        }
    }
    EXPECT_EQ(m_data.GetSrcData().Count, 0);
}

TEST_F(RecordDecodingTest, OneBadBandKeepsItsWholeTypeOut) {
    EXPECT_TRUE(Decode(RecordOf("eq types=8").Payload()));
    EXPECT_EQ(m_data.GetEqTypeDate().TypeNum, 7);
    EXPECT_TRUE(Decode(RecordOf("eq types=2 type=250 gain0=1 freq2=5 gain5=77").Payload()));
    const tagEQType eq = m_data.GetEqTypeDate();
    EXPECT_EQ(eq.TypeNum, 2);
    EXPECT_EQ(eq.Type, 250);
    EXPECT_EQ(eq.Band[0][0].Gain, 0);
    EXPECT_EQ(eq.Band[1][0].Gain, 77);
}

TEST_F(RecordDecodingTest, AShortOrUnknownRecordIsNamed) {
    const std::string need = "_Melvane_[ParseRecDataPacket]-case ";
    const std::pair<const char*, std::string> cases[] = {
        {"volume-and-fade cut=17", "VOLUME_AND_FADE_BALANCE,the data isn't enough, need 18 BYTEs, only 17 BYTEs"},
        {"volume-and-fade", ""},
        {"listen-pos cut=4", "LISTEN_POS, the data isn't enough, need 5 BYTEs, only 4 BYTEs"},
        {"audio-setting cut=5", "AUDIO_SETTING, the data isn't enough, need 6 BYTEs, only 5 BYTEs"},
        {"audio-setting", ""},
        {"extended-volumes cut=5", "EQ_EXPEND, the data isn't enough, need 4 BYTEs, only 5 BYTEs"},
        {"extended-volumes cut=6", ""},
    };
    for (const auto& [record, message] : cases) {
        Decode(RecordOf(record).Payload());
        EXPECT_EQ(TakeErrors(LOG_LEV_INFO), message.empty() ? "" : need + message);
    }
    for (const int type : {6, 8}) {
        EXPECT_FALSE(Decode({138, 2, static_cast<std::uint8_t>(type), 1}));
        EXPECT_EQ(Errors(), "[ParseRecDataPacket]-CEQMcuFile, Unknown case:" + std::to_string(type));
    }
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
