// What each command makes of a value: the fields of its record that differ from the stored ones, or its message.
#include <gtest/gtest.h>

#include <sstream>

#include "control/CEQControlPPSModule.h"
#include "mcu/CEQMcuFile.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Records.h"

namespace {

using mcusim::Bytes;

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

    void SetMutes(int sysMute, int srcMute) {
        tagSpeaker speaker = m_data.GetVolumeData();
        speaker.tSrcVol.SysMute = static_cast<std::uint8_t>(sysMute);
        speaker.tSrcVol.SrcMute = static_cast<std::uint8_t>(srcMute);
        m_data.SetVolumeData(speaker);
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

    struct Row {
        std::string line, result;
    };
    void Expect(std::initializer_list<Row> rows, const char* name = "") {
        for (const auto& [line, result] : rows) {
            EXPECT_EQ(Run(name + line), result) << name << line;
        }
    }

    CEQData m_data;
    CEQControlPPSModule m_control{nullptr};
    std::string m_sentAs;
};

TEST_F(CommandTest, VolumeAndMute) {
    Expect({
        {"zovolume::3", "main=13*"},
        {"zovolume::-50", "main=0*"},
        {"zovolume::99999999999999999999", "main=40*"},
        {"zovolume::2147483647", "main=40*"},
        {"zovolume::-99999999999999999999", "main=0*"},
        {"zovolume:n: +2x", "main=12*"},
        {"zovolume::loud", "main=10*"},
        {"zomaxpower_vol::-5", "max_power=0"},
        {R"(zosrc_vol:json:{"type":0,"val":11})", "main=11"},
        {R"(zosrc_vol:json:{"val":99,"type":1})", "navi=40"},
        {R"(zosrc_vol:json:{"type":2,"val":-3})", "call=0"},
        {R"(zosrc_vol:json:{"type":5,"val":200})", "ext1=72"},
        {R"(zosrc_vol:json:{"type":7,"val":-1})", "ext3=127"},
        {R"(zosrc_vol:json:{"type":8,"val":1})", "CEQControlPPSModule, unknown type : 8"},
        {R"(zosrc_vol:json:{"type":-1,"val":1})", "CEQControlPPSModule, unknown type : -1"},
        {R"(zosrc_vol:json:{"type":1})", "CEQControlPPSModule, pps_decoder_status() failed."},
        {R"(zosrc_vol::{"type":1,"val":1})", "Encoding isn't json, function return."},
        {R"(zovolume_mute:json:{"mutetype":"system","mute":"unmute"})", "160 0 0"},
        {R"(zovolume_mute:json:{"mutetype":"x","mute":"mute"})", "Param error! type[x]."},
        {R"(zovolume_mute:json:{"mutetype":"x","mute":"y"})", "Param error! status[y]."},
        {R"(zovolume_mute:json:{"mutetype":"system"})", " pps_decoder_status() failed."},
        {R"(zovolume_mute:JSON:{"mutetype":"system","mute":"mute"})", "Encoding isn't json, function return."},
    });
}

TEST_F(CommandTest, SoundField) {
    const char* levels[] = {"ff", "fr", "bl", "br"};
    for (const char* wrong : levels) {
        for (const char* value : {"24", "25", "-1"}) {
            std::string json;
            std::string told;
            for (const char* level : levels) {
                const std::string now = level == wrong ? value : "24";
                json += std::string(json.empty() ? "\"" : ",\"") + level + "\":" + now;
                told.append(", ").append(level).append(":").append(now);
            }
            const bool isAccepted = value == std::string("24");
            EXPECT_EQ(Run("zofade_balance:json:{" + json + "}"),
                      isAccepted ? "ff=24 fr=24 bl=24 br=24" : "Fade balance's value is wrong(0~24)" + told);
        }
    }
    Expect({
        {R"(zofade_balance:json:{"ff":12,"fr":12,"bl":1})", " pps_decoder_status() failed."},
        {"zofade_balance::1", "EncodingIsJson isn't json"},
        {"zocenter_gain::13", "Param error,function return.center gain's value is wrong(0~12-13)"},
        {"zocenter_gain::-1", "Param error,function return.center gain's value is wrong(0~12--1)"},
        {"zosubwoofer_gain::256", "Param error,function return, sub woofer gain's value is wrong(0~255):256"},
        {"zolisten_pos::256", "Unknown listening position:256"},
        {"zosrs::-1", "Unknown SRS:-1"},
        {"zoalc::256", "CEQControlPPSModule, Unknown ACL:256"},
    });
}

TEST_F(CommandTest, SourceGains) {
    const std::string tag = "CEQControlPPSModule, ";
    const std::string length = " array's length in pps is wrong, pps length = ";
    Expect(
        {
            {R"(json:{"count":2,"src":["btaudio","usb"],"gain":[5,12]})", "2 2 13 5 3 12"},
            {R"(json:{"count":2,"src":["usb","usb"],"gain":[1,2]})", "2 2 3 1 3 2"},
            {R"(json:{"count":0,"src":[],"gain":[]})", "2 0"},
            {R"(json:{"src":[],"gain":[]})", tag + "sourceCount(0~255):-1"},
            {R"(json:{"count":256})", tag + "sourceCount(0~255):256"},
            {R"(json:{"count":2,"src":["usb","sd","tv"],"gain":[1,2]})", tag + "src" + length + "3, source count: 2"},
            {R"(json:{"count":2,"src":["usb","sd"],"gain":[1]})", tag + "gain" + length + "1, source count: 2"},
            {R"(json:{"count":2,"src":{"a":"usb"},"gain":[1,2]})", tag + "src" + length + "0, source count: 2"},
            {R"(json:{"count":2,"src":["usb","sd"],"gain":[1,13]})", tag + "wrong cmdGain[1]:13, (0 ~ 12)"},
            {R"(json:{"count":2,"src":["usb","sd"],"gain":[-1,13]})", tag + "wrong cmdGain[0]:-1, (0 ~ 12)"},
            {R"(json:{"count":1,"src":[3],"gain":[1]})", tag + "pps_decoder_*() failed."},
            {R"(json:{"count":0})", tag + "pps_decoder_*() failed."},
            {R"(json:{"count":0,"":[],"gain":{}})", tag + "pps_decoder_*() failed."},
            {R"(json:{"count":2,"src":["usb","USB"],"gain":[1,2]})", "Cann't get the src id by name, name:USB."},
            {R"(json:{"count":1,"src":["us"],"gain":[1]})", "Cann't get the src id by name, name:us."},
            {":{}", "EncodingIsJson isn't json"},
        },
        "zosource_gain:");
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
                  count == 124 ? "2 124" : tag + number + " sources don't fit a packet, at most 124");
    }
}

TEST_F(CommandTest, SwitchesAndFilters) {
    const std::string tag = "CEQControlPPSModule, ";
    Expect({
        {"zoloud::off", "loud=0"},
        {"zoloud::On", "Unknown loud state:On"},
        {"zodbb::on", "dbb=1"},
        {"zodbb::", "Unknown DBB state:"},
        {R"(zosubwoofer:json:{"status":"off","phase":0,"filter":4})", "subwoofer=0 phase=0 filter=4"},
        {R"(zosubwoofer:json:{"status":"on","phase":180,"filter":0})", "filter=0"},
        {R"(zosubwoofer:json:{"status":"ON","phase":90,"filter":5})", tag + "Unknown subwoofer state:ON"},
        {R"(zosubwoofer:json:{"status":"on","phase":90,"filter":5})", tag + "Unknown sub phase:90"},
        {R"(zosubwoofer:json:{"status":"on","phase":180,"filter":5})", tag + "Unknown sub filter:5"},
        {R"(zosubwoofer:json:{"status":"on","phase":180,"filter":-1})", tag + "Unknown sub filter:-1"},
        {R"(zosubwoofer:json:{"status":"on","phase":180})", " pps_decoder_status() failed."},
        {R"(zospeaker_mode:json:{"mode":0,"channel":4})", "mode=0 channel=4"},
        {R"(zospeaker_mode:json:{"mode":2,"channel":5})", "Unknown mode(0 0r 1):2"},
        {R"(zospeaker_mode:json:{"mode":-1,"channel":1})", "Unknown mode(0 0r 1):-1"},
        {R"(zospeaker_mode:json:{"mode":1,"channel":5})", "Unknown channel(0 ~ 4):5"},
        {R"(zospeaker_mode:json:{"mode":1,"channel":-1})", "Unknown channel(0 ~ 4):-1"},
        {R"(zospeaker_mode:json:{"mode":1,"channel":1.5})", " pps_decoder_status() failed."},
        {R"(zofront_stereo_filter:json:{"status":"off","cutoff_freq":7})", "front=0 front_cutoff=7"},
        {R"(zofront_stereo_filter:json:{"status":"x","cutoff_freq":8})", tag + "Unknown frontFilterState:x"},
        {R"(zofront_stereo_filter:json:{"status":"on","cutoff_freq":8})", tag + "Unkown freq from pps:8"},
        {R"(zofront_stereo_filter:json:{"status":1,"cutoff_freq":8})", "pps_decoder_status() failed."},
        {R"(zorear_stereo_filter:json:{"status":"on","cutoff_freq":7})", "rear=1 rear_cutoff=7"},
        {R"(zorear_stereo_filter:json:{"status":"x","cutoff_freq":8})", tag + "Unknown rearFilterState:x"},
        {R"(zorear_stereo_filter:json:{"status":"on","cutoff_freq":-1})", tag + "Unkown freq from pps:-1"},
        {"zorear_stereo_filter:json:{}", " pps_decoder_status() failed."},
        {"zorear_stereo_filter::on", "EncodingIsJson isn't json"},
        {"zospeaker_mode:json:1", "CEQControlPPSModule, pps_decoder_push return 2"},
        {"zosubwoofer:json:{", "CEQControlPPSModule, pps_decoder_parse_json_str return 5"},
        {"zoaudiomix::off", "0"},
        {"zoaudiomix::mix", "Unknown mix status:mix"},
    });
}

TEST_F(CommandTest, StoredMutesAreCheckedWhereTheRecordCarriesThem) {
    SetMutes(1, 1);
    Expect({{"zovolume::0", "main=10* source_mute=1"},
            {"zomaxpower_vol::30", "source_mute=1"},
            {"zoloud::on", "system_mute=1 source_mute=1"}});
    for (const auto& [sysMute, srcMute] : {std::pair(2, 3), std::pair(1, 2)}) {
        SetMutes(sysMute, srcMute);
        const std::string mute = sysMute > 1 ? "systemMute:2" : "sourceMute:2";
        Expect({
            {R"(zosrc_vol:json:{"type":0,"val":1})", "Param error,function return, " + mute},
            {R"(zosrc_vol:json:{"type":9,"val":1})", "CEQControlPPSModule, unknown type : 9"},
            {R"(zosrc_vol:json:{"type":4,"val":9})", "ext0=9"},
            {"zofade_balance:json:no json", "Function return, " + mute},
            {"zocenter_gain::99", "Param error,function return, " + mute},
            {"zosubwoofer_gain::999", "Param error,function return. " + mute},
            {"zoloud::loud", "Unknown loud state:loud"},
            {"zoloud::on", std::string("Param error,") + (sysMute > 1 ? " " : "") + mute},
            {"zolisten_pos::1", "as stored"},
        });
    }
}

TEST_F(CommandTest, AStoredPhaseThatCannotBeSentIsRefusedUnlessItIsReplaced) {
    m_data.SetSubwooferData({1, 90, 2});
    const std::string message = "Unknown subwooferPhase from CEQData:90";
    Expect({
        {"zodbb::on", message},
        {R"(zospeaker_mode:json:{"mode":1,"channel":1})", "CEQControlPPSModule, " + message},
        {R"(zofront_stereo_filter:json:{"status":"on","cutoff_freq":1})", message},
        {R"(zorear_stereo_filter:json:{"status":"on","cutoff_freq":1})", "CEQControlPPSModule, " + message},
        {R"(zosubwoofer:json:{"status":"on","phase":0,"filter":0})", "phase=0 filter=0"},
    });
}

TEST_F(CommandTest, DispatchSetsTheWayOfSendingWhateverTheResult) {
    for (const auto& [line, sentAs] :
         {std::pair("zovolume_mute:json:no json", "8 key"), std::pair("zoaudiomix::?", "50"),
          std::pair("zoalc::300", "8"), std::pair("ZOVOLUME::1", "8")}) {
        EXPECT_NE(Run(line), "");
        EXPECT_EQ(m_sentAs, sentAs);
    }
    EXPECT_EQ(Run("ZOVOLUME::1"), "Unknown attribute : ZOVOLUME, function return.");
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

std::string Curve(const std::string& type, const std::string& freqs = "1,4,7,10,13",
                  const std::string& gains = "1,2,3,4,5", const std::string& qs = "1.0,1.0,1.0,1.0,1.0") {
    return "zoeqtype:json:{\"type\":\"" + type + "\",\"freqs\":[" + freqs + "],\"gain\":[" + gains + "],\"q\":[" + qs +
           "]}";
}

TEST_F(CommandTest, ACurveReplacesTheSelectedOneAmongTheStored) {
    m_data.SetEqDataByIndex(2, {{9, 2, 0, 1.5}, {9, 5, 0, 2.0}, {9, 8, 0, 0.75}, {9, 11, 0, 1.25}, {9, 14, 0, 0.33}});
    const std::string zeros = " 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0";
    EXPECT_EQ(Run(Curve("type_3", "0,5,7,11,12", "-3,300,255,0,-256", "1.5,2,0.75,1.25,2.0")),
              "1 0 3" + zeros + zeros + " 9 2 3 9 5 4 9 8 0 9 11 2 9 14 0 253 0 3 44 5 4 255 7 0 0 11 2 0 12 4" +
                  zeros + zeros + zeros);
    const std::string none = "CEQControlPPSModule, the MCU has no eq type:type_";
    m_data.SetEqTypeNumData(0);
    EXPECT_EQ(Run(Curve("type_0")), none + "0, number of types:0");
    m_data.SetEqTypeNumData(1);
    EXPECT_EQ(Run(Curve("type_0")), "1 0 0 1 1 1 2 4 1 3 7 1 4 10 1 5 13 1");
    EXPECT_EQ(Run(Curve("type_1")), none + "1, number of types:1");
}

TEST_F(CommandTest, ACurveIsCheckedBandByBandThenItsType) {
    const std::string freqs = "1,4,7,10,13";
    const std::string gains = "1,2,3,4,5";
    const std::string length = " array's length in pps is wrong, pps length = ";
    Expect({
        {Curve("type_0", "3,4,7,10,13"), "eqtype:type_0, band 1 unkown freq(0~2):3"},
        {Curve("type_0", "1,4,7,10,15"), "eqtype:type_0, band 5 unkown freq(12~14):15"},
        {Curve("type_9", "1,4,7,10,-1", gains, "0.75,1,1,1,1"), "Unknown q from pps, band:1, q:0.750000"},
        {Curve("type_0", freqs, gains, "1,1,1,1.5,1"), "Unknown q from pps, band:4, q:1.500000"},
        {Curve("type_0", freqs, gains, "1,0.9999999999999999,1,1,1"), "Unknown q from pps, band:2, q:1.000000"},
        {Curve("type_7"), "Unkown eq type:type_7"},
        {Curve("Type_1"), "Unkown eq type:Type_1"},
        {Curve("type_0", "1,4,7,10"), "CEQControlPPSModule, freq" + length + "4, neend 5"},
        {Curve("type_0", freqs, gains + ",6"), "CEQControlPPSModule, gain" + length + "6, neend 5"},
        {Curve("type_0", freqs, gains, ""), "CEQControlPPSModule, q" + length + "0, neend 5"},
        {Curve("type_0", freqs, "1,2,3.5,4,5"), " pps_decoder_status() failed."},
        {"zoeqtype::{}", "EncodingIsJson isn't json."},
    });
}

} // namespace
