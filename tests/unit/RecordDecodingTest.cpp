// What is said of records that are refused, in whole or in part. What is stored of them is compared with the reference
// model.
#include <gtest/gtest.h>

#include "framework/LogBase.h"
#include "mcu/CEQMcuFile.h"
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

    CEQData m_data;
    CEQMcuFile m_link{nullptr};
};

TEST_F(RecordDecodingTest, Cases) {
    for (const std::vector<std::string>& row : Cases("records.txt")) {
        SCOPED_TRACE(row.back());
        EXPECT_EQ(Decode(RecordOf(row[0]).Payload()), row[1] == "yes");
        EXPECT_EQ(Errors(), row[2]);
    }
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
    EXPECT_FALSE(m_link.DealSrcGainData(nullptr, 1));
    int consumed = -1;
    EXPECT_FALSE(m_link.DealVolumeData(nullptr, 7, consumed));
    EXPECT_EQ(consumed, -1);
    EXPECT_FALSE(m_link.DealVolumeData(packet, 6, consumed));
    EXPECT_EQ(consumed, 7);
}

} // namespace
