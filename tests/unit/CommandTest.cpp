// What each command makes of a value: the fields of its record that differ from the stored ones, or its message.
#include <gtest/gtest.h>

#include <sstream>

#include "control/CEQControlPPSModule.h"
#include "mcu/CEQMcuFile.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Cases.h"
#include "tests/support/Records.h"

namespace {

using mculink::Bytes;

const Record kStored[] = {
    VolumeAndFade(),
    Record(LISTEN_POS).With("listen_pos", 1).With("srs", 1),
    Record(AUDIO_SETTING)
        .With("subwoofer", 1)
        .With("phase", 180)
        .With("filter", 2)
        .With("mode", 1)
        .With("channel", 3)
        .With("front", 1)
        .With("front_cutoff", 5)
        .With("rear_cutoff", 2),
    Record(ALC).With("alc", 255),
    Record(EQ_EXPEND).With("ext0", 1).With("ext1", 2).With("ext2", 3).With("ext3", 4),
};

/// The fields of a record that differ from the stored ones, such as "main=13*"; the bytes of any other payload.
std::string Shown(const Bytes& payload) {
    std::string text;
    for (const Record& stored : kStored) {
        if (payload.size() != stored.FromType().size() || payload[0] != stored.Type()) {
            continue;
        }
        for (const RecordField& field : LayoutOf(stored.Type())->fields) {
            const std::uint8_t content = payload[static_cast<std::size_t>(field.byte - kRecordTypeByte)];
            const int value = field.ValueIn(content);
            if (value != stored.Get(field.name) || field.IsMarked(content)) {
                text.append(text.empty() ? "" : " ").append(field.name).append("=").append(std::to_string(value));
                text += field.IsMarked(content) ? "*" : "";
            }
        }
        return text.empty() ? "as stored" : text;
    }
    for (const std::uint8_t byte : payload) {
        text.append(text.empty() ? "" : " ").append(std::to_string(byte));
    }
    return text;
}

/// A control object over a store in a known state.
class CommandTest : public testing::Test {
protected:
    CommandTest() {
        m_data.SetVolumeScheme(1);
        CEQMcuFile link(nullptr);
        link.AttachData(&m_data);
        for (const Record& record : kStored) {
            const Bytes payload = record.Payload();
            link.ParseRecDataPacket(payload.data(), static_cast<int>(payload.size()));
        }
        m_control.AttachData(&m_data);
        TakeLog();
    }

    /// What an attribute comes to: its payload, or the error messages without tag.
    std::string Run(CEQControlPPSModule& control, std::string name, const char* value, std::string encoding = "") {
        std::string text = value == nullptr ? "" : value;
        pps_attrib_t attribute{};
        attribute.attr_name = name.data();
        attribute.encoding = encoding.data();
        attribute.value = value == nullptr ? nullptr : text.data();
        unsigned char id = 255;
        bool isKey = false;
        Bytes payload;
        const bool isComplete = control.OnPPSCmd(&attribute, id, isKey, payload);
        m_sentAs = std::to_string(id) + (isKey ? " key" : "");
        std::string errors = TakeErrors();
        const std::size_t tagEnd = errors.find("]-");
        errors.erase(0, tagEnd == std::string::npos ? 0 : tagEnd + 2);
        EXPECT_NE(isComplete, !errors.empty() || value == nullptr) << name;
        return isComplete ? Shown(payload) : errors;
    }
    std::string Run(const std::string& line) {
        const std::size_t encoding = line.find(':') + 1;
        const std::size_t value = line.find(':', encoding) + 1;
        return Run(m_control, line.substr(0, encoding - 1), line.c_str() + value,
                   line.substr(encoding, value - encoding - 1));
    }

    /// Changes the store as a line of the cases says.
    void Change(const std::string& line) {
        std::istringstream words(line);
        std::string what;
        int first = 0;
        int second = 0;
        words >> what >> first >> second;
        if (what == "mutes") {
            tagSpeaker speaker = m_data.GetVolumeData();
            speaker.tSrcVol.SysMute = static_cast<std::uint8_t>(first);
            speaker.tSrcVol.SrcMute = static_cast<std::uint8_t>(second);
            m_data.SetVolumeData(speaker);
        } else if (what == "phase") {
            m_data.SetSubwooferData({1, first, 2});
        } else if (what == "types") {
            m_data.SetEqTypeNumData(first);
        } else {
            m_data.SetEqDataByIndex(
                2, {{9, 2, 0, 1.5}, {9, 5, 0, 2.0}, {9, 8, 0, 0.75}, {9, 11, 0, 1.25}, {9, 14, 0, 0.33}});
        }
        TakeLog();
    }

    CEQData m_data;
    CEQControlPPSModule m_control{nullptr};
    std::string m_sentAs;
};

TEST_F(CommandTest, Cases) {
    for (const std::vector<std::string>& row : Cases("commands.txt")) {
        SCOPED_TRACE(row.back());
        if (row.size() == 2) {
            Change(row[0]);
            continue;
        }
        EXPECT_EQ(Run(row[0]), row[1]);
        EXPECT_TRUE(row.size() == 3 || m_sentAs == row[2]) << m_sentAs;
    }
}

TEST_F(CommandTest, AtMost124SourcesFitAPacket) {
    for (const int count : {124, 125, 255}) {
        std::string names = R"("none")";
        std::string gains = "1";
        for (int i = 1; i < count; ++i) {
            names += R"(,"none")";
            gains += ",1";
        }
        const std::string number = std::to_string(count);
        const std::string result =
            Run("zosource_gain:json:{\"count\":" + number + ",\"src\":[" + names + "],\"gain\":[" + gains + "]}");
        EXPECT_EQ(count == 124 ? result.substr(0, 5) : result,
                  count == 124 ? "2 124"
                               : "CEQControlPPSModule, " + number + " sources don't fit a packet, at most 124");
    }
}

TEST_F(CommandTest, AnAttributeWithoutANameIsRefused) {
    unsigned char id = 255;
    bool isKey = true;
    Bytes payload;
    EXPECT_FALSE(m_control.OnPPSCmd(nullptr, id, isKey, payload));
    EXPECT_EQ(id, 255);
    EXPECT_EQ(TakeErrors(), "_Melvane_[OnPPSCmd]-Param error! function return. info[0x0], pBuf[0x0].");
    char name[] = "x";
    pps_attrib_t unknown{};
    unknown.attr_name = name;
    EXPECT_FALSE(m_control.OnPPSCmd(&unknown, id, isKey, payload));
    EXPECT_FALSE(isKey);
}

TEST_F(CommandTest, PreconditionsAreCheckedInTheHandlersOrder) {
    const std::string value = "CEQControlPPSModule, szValue is NULL.";
    const std::string store = "Param error! m_pEQData is NULL.";
    const std::string module = "CEQControlPPSModule, m_pEQData is NULL.";
    const std::string mix = "CEQControlPPSModule,  szValue is NULL.";
    const struct {
        std::string names, noValue, noStore, neither;
    } groups[] = {{"zovolume ", value, module, value},
                  {"zovolume_mute zosrc_vol zofade_balance zosource_gain zoeqtype zosubwoofer_gain zocenter_gain "
                   "zolisten_pos zosrs zoalc ",
                   value, store, value},
                  {"zoaudiomix ", mix, "Unknown mix status:1", mix},
                  {"zoloud zodbb zosubwoofer zospeaker_mode zofront_stereo_filter zorear_stereo_filter ",
                   "Param error! szValue is NULL.", store, store},
                  {"zomaxpower_vol ", "", module, module}};
    CEQControlPPSModule bare(nullptr);
    std::size_t commands = 0;
    for (const auto& [names, noValue, noStore, neither] : groups) {
        std::istringstream words(names);
        for (std::string name; words >> name; ++commands) {
            EXPECT_EQ(Run(m_control, name, nullptr), noValue) << name;
            EXPECT_EQ(Run(bare, name, "1"), noStore) << name;
            EXPECT_EQ(Run(bare, name, nullptr), neither) << name;
        }
    }
    EXPECT_EQ(commands, CEQControlPPSModule::CommandNames().size());
}

} // namespace
