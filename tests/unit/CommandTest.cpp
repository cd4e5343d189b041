#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "control/CEQControlPPSModule.h"
#include "tests/support/CapturedLog.h"

namespace {

std::string Hex(const std::vector<unsigned char>& bytes) {
    std::string text;
    char digits[4];
    for (const unsigned char byte : bytes) {
        std::snprintf(digits, sizeof digits, "%02x", byte);
        text.append(text.empty() ? "" : " ").append(digits);
    }
    return text;
}

/// A control object over a store in a known state.
class CommandTest : public testing::Test {
protected:
    CommandTest() {
        SetVolumes(0, 0);
        m_data.SetAudioICStatus(1);
        m_data.SetFadBalData({1, 2, 3, 4});
        m_data.SetSubWGainData(6);
        m_data.SetCenterGainData(7);
        m_data.SetLoudData(1);
        m_data.SetListenPosData(1);
        m_data.SetSRSData(1);
        m_data.SetSubwooferData({1, 180, 2});
        m_data.SetSpeakerModeData({1, 3});
        m_data.SetFrontFilterData({1, 5});
        m_data.SetRearFilterData({0, 2});
        m_control.AttachData(&m_data);
        TakeLog();
    }

    void SetVolumes(std::uint8_t sysMute, std::uint8_t srcMute) {
        tagSpeaker speaker;
        speaker.tSrcVol = {0, 0, 40, sysMute, 0, srcMute, {10, 20, 15, 8}, 30};
        speaker.tCarPlayVol.SrcVol[0] = 1;
        speaker.tCarPlayVol.SrcVol[1] = 2;
        speaker.tCarPlayVol.SrcVol[2] = 3;
        speaker.tCarPlayVol.SrcVol[3] = 4;
        m_data.SetVolumeData(speaker);
        m_data.SetCarplayVolumeData(speaker);
    }

    /// What a command comes to: its payload, with the way it is sent in front where that is special; or
    /// the error messages without tag.
    std::string Run(std::string name, std::string value, std::string encoding = "") {
        pps_attrib_t attribute{};
        attribute.attr_name = name.data();
        attribute.encoding = encoding.data();
        attribute.value = value.data();
        return Run(attribute);
    }
    std::string Run(pps_attrib_t& attribute) {
        unsigned char id = 255;
        bool isKey = false;
        std::vector<unsigned char> payload;
        const bool isComplete = m_control.OnPPSCmd(&attribute, id, isKey, payload);
        m_sentAs = std::to_string(id) + (isKey ? " key" : "");
        std::string errors = TakeErrors();
        const std::size_t tagEnd = errors.find("]-");
        errors.erase(0, tagEnd == std::string::npos ? 0 : tagEnd + 2);
        EXPECT_NE(isComplete, !errors.empty()) << attribute.attr_name << " " << attribute.value;
        return isComplete ? Hex(payload) : errors;
    }

    struct Row {
        const char* name;
        const char* value;
        const char* encoding;
        std::string result;
    };
    void Expect(std::initializer_list<Row> rows) {
        for (const Row& row : rows) {
            EXPECT_EQ(Run(row.name, row.value, row.encoding), row.result) << row.name << " " << row.value;
        }
    }

    CEQData m_data;
    CEQControlPPSModule m_control{nullptr};
    std::string m_sentAs;
};

TEST_F(CommandTest, VolumeAndMute) {
    Expect({
        {"zovolume", "3", "", "00 01 8d 28 14 0f 08 1e 00 01 02 03 04 06 07 01"},
        {"zovolume", "-50", "", "00 01 80 28 14 0f 08 1e 00 01 02 03 04 06 07 01"},
        {"zovolume", "100", "", "00 01 a8 28 14 0f 08 1e 00 01 02 03 04 06 07 01"},
        {"zovolume", "99999999999999999999", "", "00 01 a8 28 14 0f 08 1e 00 01 02 03 04 06 07 01"},
        {"zovolume", "2147483647", "", "00 01 a8 28 14 0f 08 1e 00 01 02 03 04 06 07 01"},
        {"zovolume", "-99999999999999999999", "", "00 01 80 28 14 0f 08 1e 00 01 02 03 04 06 07 01"},
        {"zovolume", " +2x", "n", "00 01 8c 28 14 0f 08 1e 00 01 02 03 04 06 07 01"},
        {"zovolume", "loud", "", "00 01 8a 28 14 0f 08 1e 00 01 02 03 04 06 07 01"},
        {"zomaxpower_vol", "50", "", "00 01 0a 28 14 0f 08 28 00 01 02 03 04 06 07 01"},
        {"zomaxpower_vol", "-5", "", "00 01 0a 28 14 0f 08 00 00 01 02 03 04 06 07 01"},
        {"zosrc_vol", R"({"type":0,"val":11})", "json", "00 01 0b 28 14 0f 08 1e 00 01 02 03 04 06 07 01"},
        {"zosrc_vol", R"({"val":99,"type":1})", "json", "00 01 0a 28 28 0f 08 1e 00 01 02 03 04 06 07 01"},
        {"zosrc_vol", R"({"type":2,"val":-3})", "json", "00 01 0a 28 14 00 08 1e 00 01 02 03 04 06 07 01"},
        {"zosrc_vol", R"({"type":5,"val":200})", "json", "07 01 48 03 04"},
        {"zosrc_vol", R"({"type":7,"val":-1})", "json", "07 01 02 03 7f"},
        {"zosrc_vol", R"({"type":8,"val":1})", "json", "CEQControlPPSModule, unknown type : 8"},
        {"zosrc_vol", R"({"type":-1,"val":1})", "json", "CEQControlPPSModule, unknown type : -1"},
        {"zosrc_vol", R"({"type":1})", "json", "CEQControlPPSModule, pps_decoder_status() failed."},
        {"zosrc_vol", R"({"type":1,"val":1})", "", "Encoding isn't json, function return."},
        {"zovolume_mute", R"({"mutetype":"source","mute":"mute"})", "json", "a0 01 04"},
        {"zovolume_mute", R"({"mutetype":"system","mute":"unmute"})", "json", "a0 00 00"},
        {"zovolume_mute", R"({"mutetype":"x","mute":"mute"})", "json", "Param error! type[x]."},
        {"zovolume_mute", R"({"mutetype":"x","mute":"y"})", "json", "Param error! status[y]."},
        {"zovolume_mute", R"({"mutetype":"system"})", "json", " pps_decoder_status() failed."},
        {"zovolume_mute", R"({"mutetype":"system","mute":"mute"})", "JSON", "Encoding isn't json, function return."},
    });
}

TEST_F(CommandTest, SoundField) {
    Expect({
        {"zofade_balance", R"({"ff":12,"fr":12,"bl":0,"br":24})", "json",
         "00 01 0a 28 14 0f 08 1e 00 0c 0c 00 18 06 07 01"},
        {"zofade_balance", R"({"ff":12,"fr":12,"bl":0,"br":25})", "json",
         "Fade balance's value is wrong(0~24), ff:12, fr:12, bl:0, br:25"},
        {"zofade_balance", R"({"ff":12,"fr":12,"bl":-1,"br":4})", "json",
         "Fade balance's value is wrong(0~24), ff:12, fr:12, bl:-1, br:4"},
        {"zofade_balance", R"({"ff":12,"fr":12,"bl":1})", "json", " pps_decoder_status() failed."},
        {"zofade_balance", "1", "", "EncodingIsJson isn't json"},
        {"zocenter_gain", "12", "", "00 01 0a 28 14 0f 08 1e 00 01 02 03 04 06 0c 01"},
        {"zocenter_gain", "13", "", "Param error,function return.center gain's value is wrong(0~12-13)"},
        {"zocenter_gain", "-1", "", "Param error,function return.center gain's value is wrong(0~12--1)"},
        {"zosubwoofer_gain", "255", "", "00 01 0a 28 14 0f 08 1e 00 01 02 03 04 ff 07 01"},
        {"zosubwoofer_gain", "256", "", "Param error,function return, sub woofer gain's value is wrong(0~255):256"},
        {"zolisten_pos", "2", "", "03 02 01"},
        {"zolisten_pos", "256", "", "Unknown listening position:256"},
        {"zosource_gain", R"({"count":2,"src":["btaudio","navi"],"gain":[5,12]})", "json", "02 02 0d 05 10 0c"},
        {"zosource_gain", R"({"count":2,"src":["usb","usb"],"gain":[1,2]})", "json", "02 02 03 01 03 02"},
        {"zosource_gain", R"({"count":0,"src":[],"gain":[]})", "json", "02 00"},
        {"zosource_gain", R"({"src":[],"gain":[]})", "json", "CEQControlPPSModule, sourceCount(0~255):-1"},
        {"zosource_gain", R"({"count":256})", "json", "CEQControlPPSModule, sourceCount(0~255):256"},
        {"zosource_gain", R"({"count":2,"src":["usb","sd","tv"],"gain":[1,2]})", "json",
         "CEQControlPPSModule, src array's length in pps is wrong, pps length = 3, source count: 2"},
        {"zosource_gain", R"({"count":2,"src":["usb","sd"],"gain":[1]})", "json",
         "CEQControlPPSModule, gain array's length in pps is wrong, pps length = 1, source count: 2"},
        {"zosource_gain", R"({"count":2,"src":{"a":"usb","b":"sd"},"gain":[1,2]})", "json",
         "CEQControlPPSModule, src array's length in pps is wrong, pps length = 0, source count: 2"},
        {"zosource_gain", R"({"count":2,"src":["usb","sd"],"gain":[1,13]})", "json",
         "CEQControlPPSModule, wrong cmdGain[1]:13, (0 ~ 12)"},
        {"zosource_gain", R"({"count":2,"src":["usb","sd"],"gain":[-1,13]})", "json",
         "CEQControlPPSModule, wrong cmdGain[0]:-1, (0 ~ 12)"},
        {"zosource_gain", R"({"count":1,"src":[3],"gain":[1]})", "json",
         "CEQControlPPSModule, pps_decoder_*() failed."},
        {"zosource_gain", R"({"count":0})", "json", "CEQControlPPSModule, pps_decoder_*() failed."},
        {"zosource_gain", R"({"count":0,"":[],"gain":{}})", "json", "CEQControlPPSModule, pps_decoder_*() failed."},
        {"zosource_gain", R"({"count":2,"src":["usb","USB"],"gain":[1,2]})", "json",
         "Cann't get the src id by name, name:USB."},
        {"zosource_gain", "{}", "", "EncodingIsJson isn't json"},
    });
    for (const int count : {33, 124, 125, 255}) {
        std::string names;
        std::string gains;
        for (int i = 0; i < count; ++i) {
            names += i == 0 ? R"("none")" : R"(,"none")";
            gains += i == 0 ? "1" : ",1";
        }
        const std::string value =
            "{\"count\":" + std::to_string(count) + ",\"src\":[" + names + "],\"gain\":[" + gains + "]}";
        const std::string result = Run("zosource_gain", value, "json");
        if (count <= 124) {
            EXPECT_EQ(result.size(), 3U * (2U + 2U * static_cast<unsigned>(count)) - 1U);
        } else {
            EXPECT_EQ(result,
                      "CEQControlPPSModule, " + std::to_string(count) + " sources don't fit a packet, at most 124");
        }
    }
}

TEST_F(CommandTest, SwitchesAndFilters) {
    Expect({
        {"zoloud", "off", "", "00 01 0a 28 14 0f 08 1e 00 01 02 03 04 06 07 00"},
        {"zoloud", "On", "", "Unknown loud state:On"},
        {"zodbb", "on", "", "04 17 07 2d"},
        {"zodbb", "", "", "Unknown DBB state:"},
        {"zosubwoofer", R"({"status":"off","phase":0,"filter":4})", "json", "04 20 07 2d"},
        {"zosubwoofer", R"({"status":"ON","phase":90,"filter":5})", "json",
         "CEQControlPPSModule, Unknown subwoofer state:ON"},
        {"zosubwoofer", R"({"status":"on","phase":90,"filter":5})", "json",
         "CEQControlPPSModule, Unknown sub phase:90"},
        {"zosubwoofer", R"({"status":"on","phase":180,"filter":5})", "json",
         "CEQControlPPSModule, Unknown sub filter:5"},
        {"zosubwoofer", R"({"status":"on","phase":180,"filter":-1})", "json",
         "CEQControlPPSModule, Unknown sub filter:-1"},
        {"zosubwoofer", R"({"status":"on","phase":180})", "json", " pps_decoder_status() failed."},
        {"zospeaker_mode", R"({"mode":0,"channel":4})", "json", "04 16 08 2d"},
        {"zospeaker_mode", R"({"mode":2,"channel":5})", "json", "Unknown mode(0 0r 1):2"},
        {"zospeaker_mode", R"({"mode":1,"channel":5})", "json", "Unknown channel(0 ~ 4):5"},
        {"zospeaker_mode", R"({"mode":1,"channel":1.5})", "json", " pps_decoder_status() failed."},
        {"zofront_stereo_filter", R"({"status":"off","cutoff_freq":7})", "json", "04 16 07 27"},
        {"zofront_stereo_filter", R"({"status":"x","cutoff_freq":8})", "json",
         "CEQControlPPSModule, Unknown frontFilterState:x"},
        {"zofront_stereo_filter", R"({"status":"on","cutoff_freq":8})", "json",
         "CEQControlPPSModule, Unkown freq from pps:8"},
        {"zofront_stereo_filter", R"({"status":1,"cutoff_freq":8})", "json", "pps_decoder_status() failed."},
        {"zorear_stereo_filter", R"({"status":"on","cutoff_freq":7})", "json", "04 16 07 fd"},
        {"zorear_stereo_filter", R"({"status":"x","cutoff_freq":8})", "json",
         "CEQControlPPSModule, Unknown rearFilterState:x"},
        {"zorear_stereo_filter", R"({})", "json", " pps_decoder_status() failed."},
        {"zorear_stereo_filter", "on", "", "EncodingIsJson isn't json"},
        {"zosrs", "3", "", "03 01 03"},
        {"zosrs", "-1", "", "Unknown SRS:-1"},
        {"zoalc", "0", "", "05 00"},
        {"zoalc", "256", "", "CEQControlPPSModule, Unknown ACL:256"},
        {"zoaudiomix", "on", "", "01"},
        {"zoaudiomix", "off", "", "00"},
        {"zoaudiomix", "mix", "", "Unknown mix status:mix"},
    });
}

TEST_F(CommandTest, StoredMutesAreCheckedWhereTheRecordCarriesThem) {
    SetVolumes(1, 1);
    EXPECT_EQ(Run("zovolume", "0"), "00 01 8a 28 14 0f 08 1e 02 01 02 03 04 06 07 01");
    EXPECT_EQ(Run("zomaxpower_vol", "30"), "00 01 0a 28 14 0f 08 1e 02 01 02 03 04 06 07 01");
    EXPECT_EQ(Run("zoloud", "on"), "00 01 0a 28 14 0f 08 1e 03 01 02 03 04 06 07 01");
    const std::pair<std::uint8_t, std::uint8_t> states[] = {{2, 3}, {1, 3}};
    for (const auto& [sysMute, srcMute] : states) {
        SetVolumes(sysMute, srcMute);
        const std::string mute = sysMute > 1 ? "systemMute:2" : "sourceMute:3";
        Expect({
            {"zosrc_vol", R"({"type":0,"val":1})", "json", "Param error,function return, " + mute},
            {"zosrc_vol", R"({"type":9,"val":1})", "json", "CEQControlPPSModule, unknown type : 9"},
            {"zosrc_vol", R"({"type":4,"val":9})", "json", "07 09 02 03 04"},
            {"zofade_balance", "no json", "json", "Function return, " + mute},
            {"zocenter_gain", "99", "", "Param error,function return, " + mute},
            {"zosubwoofer_gain", "999", "", "Param error,function return. " + mute},
            {"zoloud", "loud", "", "Unknown loud state:loud"},
            {"zoloud", "on", "", std::string("Param error,") + (sysMute > 1 ? " " : "") + mute},
            {"zolisten_pos", "1", "", "03 01 01"},
        });
    }
}

TEST_F(CommandTest, AStoredPhaseThatCannotBeSentIsRefusedUnlessItIsReplaced) {
    m_data.SetSubwooferData({1, 90, 2});
    const std::string message = "CEQControlPPSModule, Unknown subwooferPhase from CEQData:90";
    Expect({
        {"zodbb", "on", "", "Unknown subwooferPhase from CEQData:90"},
        {"zospeaker_mode", R"({"mode":1,"channel":1})", "json", message},
        {"zofront_stereo_filter", R"({"status":"on","cutoff_freq":1})", "json",
         "Unknown subwooferPhase from CEQData:90"},
        {"zorear_stereo_filter", R"({"status":"on","cutoff_freq":1})", "json", message},
        {"zosubwoofer", R"({"status":"on","phase":0,"filter":0})", "json", "04 02 07 2d"},
    });
}

TEST_F(CommandTest, DispatchSetsTheWayOfSendingWhateverTheResult) {
    Run("zovolume_mute", "no json", "json");
    EXPECT_EQ(m_sentAs, "8 key");
    Run("zoaudiomix", "?");
    EXPECT_EQ(m_sentAs, "50");
    Run("zoalc", "300");
    EXPECT_EQ(m_sentAs, "8");
    EXPECT_EQ(Run("ZOVOLUME", "1"), "Unknown attribute : ZOVOLUME, function return.");
    EXPECT_EQ(m_sentAs, "8");
    unsigned char id = 255;
    bool isKey = false;
    std::vector<unsigned char> payload;
    EXPECT_FALSE(m_control.OnPPSCmd(nullptr, id, isKey, payload));
    EXPECT_EQ(id, 255);
    EXPECT_EQ(TakeErrors(), "_Melvane_[OnPPSCmd]-Param error! function return. info[0x0], pBuf[0x0].");
}

TEST_F(CommandTest, PreconditionsAreCheckedInTheHandlersOrder) {
    const std::string value = "CEQControlPPSModule, szValue is NULL.";
    const std::string store = "Param error! m_pEQData is NULL.";
    const std::string param = "Param error! szValue is NULL.";
    const std::string module = "CEQControlPPSModule, m_pEQData is NULL.";
    const std::string mix = "CEQControlPPSModule,  szValue is NULL.";
    struct Group {
        std::initializer_list<const char*> names;
        std::string noValue, noStore, neither;
    };
    const Group groups[] = {
        {{"zovolume"}, value, module, value},
        {{"zovolume_mute", "zosrc_vol", "zofade_balance", "zosource_gain", "zoeqtype", "zosubwoofer_gain",
          "zocenter_gain", "zolisten_pos", "zosrs", "zoalc"},
         value,
         store,
         value},
        {{"zoaudiomix"}, mix, "Unknown mix status:1", mix},
        {{"zoloud", "zodbb", "zosubwoofer", "zospeaker_mode", "zofront_stereo_filter", "zorear_stereo_filter"},
         param,
         store,
         store},
        {{"zomaxpower_vol"}, "", module, module}};
    for (const Group& group : groups) {
        for (std::string name : group.names) {
            const auto errors = [&name](CEQControlPPSModule& control, std::string text) {
                pps_attrib_t attribute{};
                attribute.attr_name = name.data();
                attribute.value = text.empty() ? nullptr : text.data();
                unsigned char id = 0;
                bool isKey = false;
                std::vector<unsigned char> payload;
                EXPECT_FALSE(control.OnPPSCmd(&attribute, id, isKey, payload)) << name;
                const std::string logged = TakeErrors();
                return logged.empty() ? logged : logged.substr(logged.find("]-") + 2);
            };
            CEQControlPPSModule bare(nullptr);
            EXPECT_EQ(errors(m_control, ""), group.noValue) << name;
            EXPECT_EQ(errors(bare, "1"), group.noStore) << name;
            EXPECT_EQ(errors(bare, ""), group.neither) << name;
        }
    }
}

TEST_F(CommandTest, NoMalformedJsonGetsThrough) {
    const std::string deep(200000, '[');
    const std::string longText(300000, 'x');
    const std::string values[] = {"",
                                  "x",
                                  "1",
                                  "\"text\"",
                                  "null",
                                  "true",
                                  "[]",
                                  "[1,2,3,4,5]",
                                  "{}",
                                  deep,
                                  "{\"a\":" + deep,
                                  longText, //
                                  "{\"" + longText + "\":1}",
                                  "{\"status\":\"\xFF\"}", //
                                  R"({"type":1e9,"val":99999999999999999999,"ff":1,"mode":{}})",
                                  R"({"status":"on\u0000","phase":0,"filter":0,"cutoff_freq":0})",
                                  R"({"mutetype":"system\u0000","mute":"mute"})"};
    for (const char* name : {"zovolume_mute", "zosrc_vol", "zofade_balance", "zosource_gain", "zoeqtype", "zosubwoofer",
                             "zospeaker_mode", "zofront_stereo_filter", "zorear_stereo_filter"}) {
        for (const std::string& value : values) {
            const std::string result = Run(name, value, "json");
            const bool isStated = result.find("pps_decoder_") != std::string::npos ||
                                  result.find("sourceCount(0~255):-1") != std::string::npos ||
                                  result.find("pps length = 0") != std::string::npos;
            EXPECT_TRUE(isStated) << name << " " << value.substr(0, 40) << ": " << result;
        }
    }
}

class EqCommandTest : public CommandTest {
protected:
    static std::string Value(const std::string& type, const std::string& freqs, const std::string& gains,
                             const std::string& qs) {
        return "{\"type\":\"" + type + "\",\"freqs\":[" + freqs + "],\"gain\":[" + gains + "],\"q\":[" + qs + "]}";
    }
    std::string Eq(const std::string& type, const std::string& freqs = "1,4,7,10,13",
                   const std::string& gains = "1,2,3,4,5", const std::string& qs = "1.0,1.0,1.0,1.0,1.0") {
        return Run("zoeqtype", Value(type, freqs, gains, qs), "json");
    }
};

TEST_F(EqCommandTest, ReplacesTheSelectedCurveAmongTheStoredOnes) {
    m_data.SetEqDataByIndex(2, {{9, 2, 0, 1.5}, {9, 5, 0, 2.0}, {9, 8, 0, 0.75}, {9, 11, 0, 1.25}, {9, 14, 0, 0.33}});
    const std::string zeros = "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00";
    const std::string stored = "09 02 03 09 05 04 09 08 00 09 0b 02 09 0e 00";
    EXPECT_EQ(Eq("type_3", "0,5,7,11,12", "-3,300,255,0,-256", "1.5,2,0.75,1.25,2.0"),
              "01 00 03 " + zeros + " " + zeros + " " + stored + " fd 00 03 2c 05 04 ff 07 00 00 0b 02 00 0c 04 " +
                  zeros + " " + zeros + " " + zeros);
    m_data.SetEqTypeNumData(0);
    EXPECT_EQ(Eq("type_0"), "CEQControlPPSModule, the MCU has no eq type:type_0, number of types:0");
    m_data.SetEqTypeNumData(1);
    EXPECT_EQ(Eq("type_0"), "01 00 00 01 01 01 02 04 01 03 07 01 04 0a 01 05 0d 01");
    EXPECT_EQ(Eq("type_1"), "CEQControlPPSModule, the MCU has no eq type:type_1, number of types:1");
}

TEST_F(EqCommandTest, ChecksBandsThenType) {
    EXPECT_EQ(Eq("type_0", "3,4,7,10,13"), "eqtype:type_0, band 1 unkown freq(0~2):3");
    EXPECT_EQ(Eq("type_0", "1,4,7,10,15"), "eqtype:type_0, band 5 unkown freq(12~14):15");
    EXPECT_EQ(Eq("type_9", "1,4,7,10,-1", "1,2,3,4,5", "0.75,1,1,1,1"), "Unknown q from pps, band:1, q:0.750000");
    EXPECT_EQ(Eq("type_0", "1,4,7,10,13", "1,2,3,4,5", "1,1,1,1.5,1"), "Unknown q from pps, band:4, q:1.500000");
    EXPECT_EQ(Eq("type_0", "1,4,7,10,13", "1,2,3,4,5", "1,0.9999999999999999,1,1,1"),
              "Unknown q from pps, band:2, q:1.000000");
    EXPECT_EQ(Eq("type_7"), "Unkown eq type:type_7");
    EXPECT_EQ(Eq("Type_1"), "Unkown eq type:Type_1");
    EXPECT_EQ(Eq("type_0", "1,4,7,10"),
              "CEQControlPPSModule, freq array's length in pps is wrong, pps length = 4, neend 5");
    EXPECT_EQ(Eq("type_0", "1,4,7,10,13", "1,2,3,4,5,6"),
              "CEQControlPPSModule, gain array's length in pps is wrong, pps length = 6, neend 5");
    EXPECT_EQ(Eq("type_0", "1,4,7,10,13", "1,2,3,4,5", ""),
              "CEQControlPPSModule, q array's length in pps is wrong, pps length = 0, neend 5");
    EXPECT_EQ(Eq("type_0", "1,4,7,10,13", "1,2,3.5,4,5"), " pps_decoder_status() failed.");
    EXPECT_EQ(Run("zoeqtype", Value("type_0", "", "", ""), ""), "EncodingIsJson isn't json.");
}

} // namespace
