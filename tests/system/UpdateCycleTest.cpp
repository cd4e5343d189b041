// Which attributes each report of the MCU publishes, and none besides, seen by those who watch the objects.
#include "platform/pps/Line.h"
#include "tests/support/Chain.h"
#include "tests/support/FakeMcu.h"

namespace {

class UpdateCycleTest : public testing::Test {
protected:
    void Start(const std::string& scheme) {
        m_chain.root.WriteFile("/zoapps/etc/volume.conf", "scheme=" + scheme + ";");
        for (const char* path : {kStatus, "/pps/tolvyn/eq/settings", "/pps/tolvyn/system/dev_status", kNavigation,
                                 "/pps/services/app-launcher"}) {
            m_watchers.emplace_back(std::string(path) + "?delta");
            m_watchers.back().Read();
        }
        m_service = std::make_unique<Process>("melvane");
        ASSERT_TRUE(m_mcu.Accept());
        for (int i = 0; i < 7; ++i) {
            m_mcu.Receive();
        }
    }

    /// Writes an attribute and waits until the service has done with it.
    void Write(const std::string& path, const std::string& line) {
        ASSERT_TRUE(WriteObject(path, line));
        ASSERT_TRUE(m_service->WaitFor("cmdVector.empty():", ++m_written));
    }

    /// Sends a report and waits until the service has done with it: with an attribute that comes behind it.
    void Receive(const FakeMcu::Bytes& payload) {
        m_mcu.Send(payload);
        ASSERT_TRUE(m_service->WaitFor("receive MCU data", ++m_sent));
        Write(kControl, "marker::");
    }

    /// The names of the attributes published since the last call, in order within each object; launch requests
    /// appear as "req".
    std::string Published() {
        WriteObject("/pps/test/marker", "x:n:1");
        std::string names;
        for (const PpsObjectClient& watcher : m_watchers) {
            for (std::string packet = watcher.Read(0); !packet.empty(); packet = watcher.Read(0)) {
                for (std::string_view text = packet; !text.empty();) {
                    const std::string_view line = pps::TakeLine(text);
                    if (line[0] != '@') {
                        names.append(names.empty() ? "" : " ").append(line.substr(0, line.find(':')));
                    }
                }
            }
        }
        return names;
    }

    const Chain m_chain;
    FakeMcu m_mcu;
    std::unique_ptr<Process> m_service;
    std::vector<PpsObjectClient> m_watchers;
    std::size_t m_written = 0;
    std::size_t m_sent = 0;
};

const FakeMcu::Bytes kFirst{138, 2, 0, 1, 10, 40, 20, 15, 8, 30, 0, 1, 2, 3, 4, 5, 6, 1};

/// The first volume report with one byte changed.
FakeMcu::Bytes With(std::size_t byte, std::uint8_t value) {
    FakeMcu::Bytes report = kFirst;
    report[byte] = value;
    return report;
}

TEST_F(UpdateCycleTest, EachChangePublishesItsOwnGroup) {
    Start("1");
    struct Step {
        FakeMcu::Bytes report;
        const char* published;
    };
    FakeMcu::Bytes curves{138, 2, 1, 0, 0};
    curves.resize(5 + 7 * 15);
    for (std::size_t band = 0; band < 35; ++band) {
        curves[5 + 3 * band + 1] = static_cast<std::uint8_t>(3 * (band % 5));
        curves[5 + 3 * band + 2] = 1;
    }
    FakeMcu::Bytes otherType = curves;
    otherType[4] = 6;
    FakeMcu::Bytes answer = kFirst;
    answer[0] = 137;
    FakeMcu::Bytes curvesAnswer = otherType;
    curvesAnswer[0] = 137;
    const Step steps[] = {
        {kFirst, "zoaudio zovolume [n]zosrc_vol [n]zoextra_vol zofade_balance zosubwoofer_gain zocenter_gain zoloud "
                 "[n]sysvolume [n]navivolume"},
        {kFirst, ""},
        {{178, 1}, "[n]zoaudiomix"},
        {{138, 2, 5, 1}, "zoalc"},
        {With(3, 0), "zoaudio"},
        {With(3, 0), ""},
        {With(9, 31), "zoaudio zovolume [n]sysvolume"},
        {With(10, 2), "zovolume [n]zosrc_vol [n]zoextra_vol [n]sysvolume [n]navivolume"},
        {With(10, 1), "zovolume [n]zosrc_vol [n]zoextra_vol [n]sysvolume [n]navivolume req"},
        {kFirst, "zovolume [n]zosrc_vol [n]zoextra_vol [n]sysvolume [n]navivolume req"},
        {With(6, 21), "[n]zosrc_vol [n]zoextra_vol [n]navivolume"},
        {With(6, 0x80 | 20), "[n]zosrc_vol [n]zoextra_vol [n]navivolume req"},
        {With(6, 0x80 | 20), "req"},
        {With(8, 0x80 | 8), "[n]zosrc_vol [n]zoextra_vol [n]navivolume req"},
        {kFirst, ""},
        {{138, 2, 7, 1, 2, 3, 4}, "[n]zosrc_vol [n]zoextra_vol [n]navivolume"},
        {{138, 2, 7, 0x81, 2, 3, 4}, "zovolume [n]zosrc_vol [n]zoextra_vol [n]sysvolume [n]navivolume req"},
        {{138, 2, 7, 1, 2, 3, 0x84}, "zovolume [n]zosrc_vol [n]zoextra_vol [n]sysvolume [n]navivolume req"},
        {With(14, 9), "zofade_balance"},
        {With(15, 9), "zofade_balance zosubwoofer_gain"},
        {With(16, 9), "zosubwoofer_gain zocenter_gain"},
        {With(17, 0), "zocenter_gain zoloud"},
        {{138, 2, 2, 2, 3, 5, 4, 6}, "zosource_gain"},
        {{138, 2, 2, 2, 4, 6, 3, 5}, ""},
        {{138, 2, 2, 2, 3, 5, 4, 7}, "zosource_gain"},
        {{138, 2, 2, 2, 3, 5, 9, 7}, "zosource_gain"},
        {{138, 2, 2, 1, 3, 5}, "zosource_gain"},
        {{138, 2, 2, 0}, "zosource_gain"},
        {{138, 2, 3, 1, 0}, "zolisten_pos"},
        {{138, 2, 3, 1, 1}, "zosrs"},
        {{138, 2, 4, 0x01, 0, 0}, "zodbb"},
        {{138, 2, 4, 0x03, 0, 0}, "zosubwoofer"},
        {{138, 2, 4, 0x03, 1, 0}, "zospeaker_mode"},
        {{138, 2, 4, 0x03, 1, 8}, "zofront_stereo_filter"},
        {{138, 2, 4, 0x03, 1, 0x88}, "zorear_stereo_filter"},
        {curves, "zoeqtype_0 zoeqtype_1 zoeqtype_2 zoeqtype_3 zoeqtype_4 zoeqtype_5 zoeqtype_6"},
        {otherType, "zoeq_type"},
        {kFirst, "zoloud"},
        {answer, "zoaudio zovolume zofade_balance zosubwoofer_gain zocenter_gain zoloud [n]sysvolume"},
        {curvesAnswer, "zoeq_type zoeqtype_0 zoeqtype_1 zoeqtype_2 zoeqtype_3 zoeqtype_4 zoeqtype_5 zoeqtype_6"},
        {{137, 2, 2, 0}, "zosource_gain"},
        {{137, 2, 2, 1, 0, 13}, ""}, // an answer that stores nothing
        {{137, 2, 3, 1, 1}, "zolisten_pos zosrs"},
        {{137, 2, 4, 3, 1, 0x88}, "zodbb zosubwoofer zospeaker_mode zofront_stereo_filter zorear_stereo_filter"},
        {{137, 2, 5, 1}, ""},
        {{138, 2, 1, 0, 9}, ""}, // neither a type nor a source of that number: the next report goes on
        {{138, 2, 2, 1, 99, 1}, ""},
        {{138, 2, 3, 2, 1}, "zolisten_pos"},
        {otherType, "zoeq_type"},
        {{138, 2, 6, 0}, ""},
    };
    int index = 0;
    for (const Step& step : steps) {
        Receive(step.report);
        EXPECT_EQ(Published(), step.published) << "step " << index;
        ++index;
    }
    for (std::size_t type = 0; type < 7; ++type) {
        otherType[5 + 15 * type] = 9;
        Receive(otherType);
        EXPECT_EQ(Published(), "zoeqtype_" + std::to_string(type));
    }
}

TEST_F(UpdateCycleTest, AFakePowerOffArmsTheFirstMuteAnew) {
    Start("0");
    Receive(kFirst);
    Published();
    const std::pair<const char*, const char*> states[] = {
        {"off", "zovolume [n]zosrc_vol [n]zoextra_vol [n]sysvolume req"},
        {"fakepowerOff", "zovolume [n]zosrc_vol [n]zoextra_vol [n]sysvolume"},
        {"fakepowerOff", "zovolume [n]zosrc_vol [n]zoextra_vol [n]sysvolume req"},
        {"off", "zovolume [n]zosrc_vol [n]zoextra_vol [n]sysvolume req"},
        {"fakepowerOff", "zovolume [n]zosrc_vol [n]zoextra_vol [n]sysvolume"}};
    std::uint8_t mute = 1;
    for (const auto& [word, published] : states) {
        Write("/pps/tolvyn/system/poweron_status", std::string("zopoweroff::") + word);
        Receive(With(10, mute));
        EXPECT_EQ(Published(), published) << word;
        mute ^= 1;
    }
    Write(kControl, "zoalc::9");
    EXPECT_EQ(m_mcu.Receive().payload[2], 5) << "power changes sent nothing";
}

} // namespace
