// What each packet of the MCU publishes, line by line and in its order, and nothing besides: reports that show one rule
// each, then random ones, valid and invalid. The environment variable TLG_RANDOM_REPORTS sets their number.
#include <cstdlib>

#include "platform/pps/Line.h"
#include "tests/support/Cases.h"
#include "tests/support/Chain.h"
#include "tests/support/FakeMcu.h"
#include "tests/support/Records.h"
#include "tests/system/ReferenceModel.h"
#include "tools/mcusim/RandomReports.h"

namespace {

constexpr const char* kLauncher = "/pps/services/app-launcher";

class PublicationTest : public testing::TestWithParam<int> {
protected:
    PublicationTest() {
        m_chain.root.WriteFile("/zoapps/etc/volume.conf", "scheme=" + std::to_string(GetParam()) + ";");
        for (const char* path :
             {kStatus, "/pps/tolvyn/eq/settings", "/pps/tolvyn/system/dev_status", kNavigation, kLauncher}) {
            const std::string name = std::string(path).substr(std::string(path).rfind('/') + 1);
            m_watchers.emplace(name, std::string(path) + "?delta").first->second.Read();
        }
        m_chain.service = std::make_unique<Process>("melvane");
        EXPECT_TRUE(m_mcu.Accept());
        for (const RecordLayout& layout : kRecordLayouts) {
            EXPECT_EQ(m_mcu.Receive().payload, (FakeMcu::Bytes{kQueryCommand, layout.type}));
        }
    }

    void Send(const FakeMcu::Bytes& packet) {
        m_mcu.SendBlock(packet);
        mculink::Packet sent;
        if (mculink::ParsePacket(mculink::View(packet), sent)) {
            m_reference.Receive(sent.header.Cmd, sent.header.PacketSize, {sent.payload.begin(), sent.payload.end()});
        }
    }
    void Report(const FakeMcu::Bytes& payload) { Send(mculink::MakePacket(payload, 0)); }

    /// Waits until as many lines were published as must be, and compares them. One too many shows in a later call.
    void Compare(const std::string& after) {
        for (auto& [object, watcher] : m_watchers) {
            const auto found = m_reference.Published().find(object);
            const std::size_t due = found == m_reference.Published().end() ? 0 : found->second.size();
            if (due == 0) {
                ASSERT_EQ(watcher.Read(0), "") << object << " after " << after;
                continue;
            }
            std::vector<std::string>& seen = m_seen[object];
            for (std::string packet = "-"; seen.size() < due && !packet.empty();) {
                packet = watcher.Read();
                for (std::string_view text = packet; !text.empty();) {
                    const std::string_view line = pps::NextLine(text);
                    if (line[0] != '@') {
                        seen.emplace_back(line.substr(0, 4) == "req:" ? "req" : line);
                    }
                }
            }
            ASSERT_EQ(seen, found->second) << object << " after " << after;
        }
        // Launch requests are all alike, so that one too many shows in their number alone.
        ASSERT_TRUE(WriteObject(kLauncher, "marker::1"));
        const std::string rest = m_watchers.at("app-launcher").ReadUntil("marker::1");
        ASSERT_EQ(rest.find("req:"), std::string::npos) << "a launch request too many after " << after;
    }

    Chain m_chain;
    FakeMcu m_mcu;
    std::map<std::string, PpsObjectClient> m_watchers; // by the object's name
    std::map<std::string, std::vector<std::string>> m_seen;
    ReferenceModel m_reference{GetParam()};
};

TEST_P(PublicationTest, EachPacketPublishesWhatTheRulesSay) {
    for (const std::vector<std::string>& row : Cases("reports.txt")) {
        Report(RecordOf(row[1]).Payload(row[0] == "answer" ? kQueryAnswer : kReport));
        ASSERT_NO_FATAL_FAILURE(Compare(row.back()));
    }
    const char* wanted = std::getenv("TLG_RANDOM_REPORTS");
    const int count = wanted == nullptr ? 3000 : std::stoi(wanted);
    mcusim::RandomReports random(static_cast<std::uint32_t>(1000 + GetParam()));
    constexpr int kBatch = 25;
    for (int i = 0; i < count; i += kBatch) {
        for (int j = 0; j < kBatch; ++j) {
            Send(random.Next());
        }
        ASSERT_NO_FATAL_FAILURE(Compare("random report " + std::to_string(i)));
    }
    // Something of every object, after which nothing too much can be left.
    Report(VolumeAndFade().With("navi", 1).Marked("main").Payload());
    Report(Curves().Payload(kQueryAnswer));
    Compare("the last report");
    m_chain.StopService();
}

TEST_P(PublicationTest, AfterAFakePowerOffTheFirstSystemMuteIsNoChange) {
    Report(VolumeAndFade().Payload());
    int mute = 1;
    std::size_t written = 0;
    for (const auto& [word, isNewFake] :
         {std::pair("off", false), std::pair("fakepowerOff", true), std::pair("fakepowerOff", false),
          std::pair("off", false), std::pair("fakepowerOff", true)}) {
        ASSERT_TRUE(WriteObject("/pps/tolvyn/system/poweron_status", std::string("zopoweroff::") + word));
        ASSERT_TRUE(m_chain.service->WaitFor("cmdVector.empty():", ++written));
        if (isNewFake) {
            m_reference.FakePowerOff();
        }
        Report(VolumeAndFade().With("system_mute", mute).Payload());
        ASSERT_NO_FATAL_FAILURE(Compare(word));
        mute ^= 1;
    }
    ASSERT_TRUE(WriteObject(kControl, "zoalc::9"));
    EXPECT_EQ(m_mcu.Receive().payload[kRecordTypeByte], ALC) << "power changes sent nothing";
}

INSTANTIATE_TEST_SUITE_P(Schemes, PublicationTest, testing::Values(0, 1));

} // namespace
