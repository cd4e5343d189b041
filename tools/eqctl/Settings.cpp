#include "tools/eqctl/Settings.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <sstream>

#include "model/EqTables.h"
#include "model/RecordFields.h"
#include "model/SourcesNameIdMap.h"
#include "tools/common/Words.h"

namespace eqctl {

namespace {

constexpr const char* kVolume = "zovolume";
constexpr const char* kSourceVolumes = "zosrc_vol";
constexpr const char* kExtendedVolumes = "zoextra_vol";

/// A number of this range, perhaps with a plus sign; nothing where it is none.
std::optional<int> NumberWithin(std::string_view text, int min, int max) {
    text.remove_prefix(!text.empty() && text[0] == '+' ? 1 : 0);
    const std::optional<long> number = NumberIn(text, min, max);
    return number ? std::optional(static_cast<int>(*number)) : std::nullopt;
}

/// A plan to write a value, given with its encoding: ":5", "json:{...}".
Plan PlanFor(const Setting& setting, const std::string& value) {
    Plan plan;
    plan.line = std::string(setting.command) + ":" + value;
    plan.published = setting.published;
    return plan;
}

Plan Wrong(const std::string& what) {
    Plan plan;
    plan.error = what;
    return plan;
}

Plan WrongArguments(const Setting& setting) {
    return Wrong(std::string("the arguments are ") + setting.arguments + ": " + setting.meaning);
}

std::string Quoted(const std::string& text) {
    return '"' + text + '"';
}

// ---- Settings whose arguments are published as they are written ----

/// An argument: a number of a range, or a word.
struct Parameter {
    const char* key; ///< in the JSON value
    int min = 0;
    int max = 0;
    std::vector<std::string> words = {}; ///< where it is none of these, it is a number
    int step = 1;                        ///< of the numbers
};

const std::vector<std::string> kOnOff{"on", "off"};

/// The JSON text of an argument; empty where it is not allowed.
std::string JsonOf(const Parameter& parameter, const std::string& word) {
    if (!parameter.words.empty()) {
        const auto& words = parameter.words;
        return std::find(words.begin(), words.end(), word) == words.end() ? "" : Quoted(word);
    }
    const std::optional<int> number = NumberWithin(word, parameter.min, parameter.max);
    return number && *number % parameter.step == 0 ? std::to_string(*number) : "";
}

bool IsPublished(const rapidjson::Value& value, const std::string& json) {
    rapidjson::Document wanted;
    wanted.Parse(json.c_str(), json.size());
    return value == wanted;
}

/// The command's value is one word or number.
auto One(const Parameter& parameter) {
    return [parameter](const Setting& setting, const Arguments& arguments, const Published& /*published*/) {
        const std::string json = arguments.words.size() == 1 ? JsonOf(parameter, arguments.words[0]) : "";
        if (json.empty() || !arguments.options.empty()) {
            return WrongArguments(setting);
        }
        Plan plan = PlanFor(setting, ":" + (parameter.words.empty() ? json : arguments.words[0]));
        plan.hasCome = [json, attribute = std::string(setting.published)](const Published& published) {
            return IsPublished(published.Get(attribute), json);
        };
        return plan;
    };
}

/// The command's value is a JSON object, and so is the published one, with the same members.
auto Object(const std::vector<Parameter>& parameters) {
    return [parameters](const Setting& setting, const Arguments& arguments, const Published& /*published*/) {
        std::string json;
        for (std::size_t i = 0; i < parameters.size(); ++i) {
            const std::string value =
                arguments.words.size() == parameters.size() ? JsonOf(parameters[i], arguments.words[i]) : "";
            if (value.empty() || !arguments.options.empty()) {
                return WrongArguments(setting);
            }
            json += (json.empty() ? "" : ",") + Quoted(parameters[i].key) + ":" + value;
        }
        Plan plan = PlanFor(setting, "json:{" + json + "}");
        plan.hasCome = [json, attribute = std::string(setting.published)](const Published& published) {
            return IsPublished(published.Get(attribute), "{" + json + "}");
        };
        return plan;
    };
}

// ---- Settings with rules of their own ----

Plan PlanVolume(const Setting& setting, const Arguments& arguments, const Published& published) {
    constexpr int kMostSteps = 255;
    const std::string word = arguments.words.size() == 1 ? arguments.words[0] : "";
    const std::optional<int> step = NumberWithin(word, -kMostSteps, kMostSteps);
    const int current = published.Number(kVolume, "current");
    const int max = published.Number(kVolume, "max");
    if (!step || !arguments.options.empty()) {
        return WrongArguments(setting);
    }
    if (current < 0 || max < 0) {
        return Wrong("the volume is not published yet");
    }
    Plan plan = PlanFor(setting, ":" + std::to_string(*step));
    plan.hasCome = [level = std::clamp(current + *step, 0, max)](const Published& now) {
        return now.Number(kVolume, "current") == level;
    };
    return plan;
}

Plan PlanMute(const Setting& setting, const Arguments& arguments, const Published& /*published*/) {
    const std::vector<std::string>& words = arguments.words;
    if (words.size() != 2 || (words[0] != "system" && words[0] != "source") ||
        (words[1] != "on" && words[1] != "off") || !arguments.options.empty()) {
        return WrongArguments(setting);
    }
    const std::string state = words[1] == "on" ? "mute" : "unmute";
    Plan plan = PlanFor(setting, R"(json:{"mutetype":")" + words[0] + R"(","mute":")" + state + R"("})");
    plan.hasCome = [state, member = words[0] + "_mute"](const Published& now) {
        return now.Text(kVolume, member.c_str()) == state;
    };
    return plan;
}

Plan PlanSourceVolume(const Setting& setting, const Arguments& arguments, const Published& published) {
    static const std::vector<std::string> kNames{"main", "navi", "call", "voice", "ext0", "ext1", "ext2", "ext3"};
    const std::vector<std::string>& words = arguments.words;
    const auto name = words.size() == 2 ? std::find(kNames.begin(), kNames.end(), words[0]) : kNames.end();
    if (name == kNames.end() || !arguments.options.empty()) {
        return WrongArguments(setting);
    }
    const auto type = static_cast<int>(name - kNames.begin());
    const bool isExtended = type >= kVolumeCount;
    const int max = isExtended ? kLevelMask : published.Number(kVolume, "max");
    const std::optional<int> level = NumberWithin(words[1], 0, max);
    if (!level) {
        return Wrong("the level is a number from 0 to " + std::to_string(max));
    }
    Plan plan = PlanFor(setting, "json:{\"type\":" + std::to_string(type) + ",\"val\":" + std::to_string(*level) + "}");
    plan.published = isExtended ? kExtendedVolumes : kSourceVolumes;
    plan.otherwise = type == 0 ? "" : ", or not shown, as in volume scheme 0";
    plan.hasCome = [attribute = plan.published, type, level = *level](const Published& now) {
        return now.Number(attribute, "val", type % kVolumeCount) == level;
    };
    return plan;
}

Plan PlanMaxPower(const Setting& setting, const Arguments& arguments, const Published& published) {
    const int max = published.Number(kVolume, "max");
    const auto level = arguments.words.size() == 1 ? NumberWithin(arguments.words[0], 0, max) : std::nullopt;
    if (!level || !arguments.options.empty()) {
        return Wrong("the level is a number from 0 to " + std::to_string(max));
    }
    Plan plan = PlanFor(setting, ":" + std::to_string(*level));
    plan.hasCome = [level = *level](const Published& now) { return now.Number(kVolume, "max_power") == level; };
    return plan;
}

Plan PlanSourceGains(const Setting& setting, const Arguments& arguments, const Published& /*published*/) {
    TLG::ZOCAR::SourcesNameIdMap sources;
    sources.Init();
    std::string names;
    std::string gains;
    for (const std::string& word : arguments.words) {
        const std::size_t equal = word.find('=');
        const std::string name = word.substr(0, equal);
        unsigned char id = 0;
        const auto gain =
            equal == std::string::npos ? std::nullopt : NumberWithin(word.substr(equal + 1), 0, kMaxSourceGain);
        if (!gain || !sources.GetSrcIdByName(name, id)) {
            return Wrong("'" + word + "' is no NAME=GAIN: " + setting.meaning);
        }
        names += (names.empty() ? "" : ",") + Quoted(name);
        gains += (gains.empty() ? "" : ",") + std::to_string(*gain);
    }
    const std::size_t count = arguments.words.size();
    if (count == 0 || count > kSourceCount || !arguments.options.empty()) {
        return WrongArguments(setting);
    }
    const std::string json =
        "{\"count\":" + std::to_string(count) + ",\"src\":[" + names + "],\"gain\":[" + gains + "]}";
    Plan plan = PlanFor(setting, "json:" + json);
    plan.hasCome = [json, attribute = std::string(setting.published)](const Published& now) {
        return IsPublished(now.Get(attribute), json);
    };
    return plan;
}

/// Five numbers with commas between them.
std::vector<std::string> Five(const Arguments& arguments, const char* option) {
    std::vector<std::string> numbers;
    const auto found = arguments.options.find(option);
    const std::string text = found == arguments.options.end() ? "" : found->second;
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t comma = std::min(rest.find(','), rest.size());
        numbers.emplace_back(rest.substr(0, comma));
        rest.remove_prefix(std::min(comma + 1, rest.size()));
    }
    return numbers;
}

std::string Joined(const std::vector<std::string>& parts) {
    std::string text;
    for (const std::string& part : parts) {
        text += (text.empty() ? "" : ",") + part;
    }
    return "[" + text + "]";
}

/// What is wrong with a band of a curve; empty where nothing is. @p q becomes its text in JSON.
std::string WrongInBand(int band, const std::string& freq, const std::string& gain, std::string& q) {
    const int lowest = EQ_BAND_FC_MIN[band];
    const int highest = EQ_BAND_FC_MAX[band];
    const std::string name = "band " + std::to_string(band + 1);
    if (!NumberWithin(freq, lowest, highest)) {
        return name + ": the frequency index is " + std::to_string(lowest) + " to " + std::to_string(highest);
    }
    if (!NumberWithin(gain, 0, 255)) {
        return name + ": the gain is 0 to 255";
    }
    char* end = nullptr;
    const double value = std::strtod(q.c_str(), &end);
    if (q.empty() || *end != '\0' || AllowedQIndexOf(band, value) < 0) {
        return name + ": Q is " + (band < 2 ? "1.0, 1.25, 1.5 or 2.0" : "0.75, 1.0, 1.25 or 2.0");
    }
    rapidjson::StringBuffer text;
    rapidjson::Writer<rapidjson::StringBuffer>(text).Double(value);
    q = text.GetString();
    return "";
}

Plan PlanCurve(const Setting& setting, const Arguments& arguments, const Published& /*published*/) {
    const auto type =
        arguments.words.size() == 1 ? NumberWithin(arguments.words[0], 0, kEqTypeCount - 1) : std::nullopt;
    const std::vector<std::string> freqs = Five(arguments, "--freqs");
    const std::vector<std::string> gains = Five(arguments, "--gains");
    std::vector<std::string> qs = Five(arguments, "--qs");
    constexpr std::size_t kBands = kEqBandCount;
    if (!type || freqs.size() != kBands || gains.size() != kBands || qs.size() != kBands) {
        return WrongArguments(setting);
    }
    for (std::size_t band = 0; band < kBands; ++band) {
        const std::string wrong = WrongInBand(static_cast<int>(band), freqs[band], gains[band], qs[band]);
        if (!wrong.empty()) {
            return Wrong(wrong);
        }
    }
    const std::string curve =
        "\"freqs\":" + Joined(freqs) + ",\"gain\":" + Joined(gains) + ",\"q\":" + Joined(qs) + "}";
    const std::string name = "type_" + std::to_string(*type);
    Plan plan = PlanFor(setting, "json:{\"type\":\"" + name + "\"," + curve);
    plan.hasCome = [=](const Published& now) {
        return IsPublished(now.Get("zoeq" + name), "{" + curve) && IsPublished(now.Get("zoeq_type"), Quoted(name));
    };
    return plan;
}

} // namespace

const std::vector<Setting>& Settings() {
    static const std::vector<Setting> settings{
        {"volume", "STEP", "steps up (+3) or down (-2), within 0 and the maximum; ends a system mute", "zovolume",
         "zovolume", PlanVolume},
        {"mute", "system|source on|off", "mutes or unmutes", "zovolume_mute", "zovolume", PlanMute},
        {"srcvol", "main|navi|call|voice|ext0..ext3 LEVEL",
         "a source's volume: 0 to the maximum, extended ones to 127; all but main show in volume scheme 1 alone",
         "zosrc_vol", "zosrc_vol", PlanSourceVolume},
        {"maxpower", "LEVEL", "the volume at power-on: 0 to the maximum; ends a system mute", "zomaxpower_vol",
         "zovolume", PlanMaxPower},
        {"fade", "FF FR BL BR", "fade and balance: front left, front right, back left, back right, 0 to 24 each",
         "zofade_balance", "zofade_balance",
         Object(
             {{"ff", 0, kMaxFadeLevel}, {"fr", 0, kMaxFadeLevel}, {"bl", 0, kMaxFadeLevel}, {"br", 0, kMaxFadeLevel}})},
        {"subgain", "N", "subwoofer gain: 0 to 255", "zosubwoofer_gain", "zosubwoofer_gain", One({"", 0, 255})},
        {"center", "N", "centre gain: 0 to 12", "zocenter_gain", "zocenter_gain", One({"", 0, kMaxCenterGain})},
        {"loud", "on|off", "loudness", "zoloud", "zoloud", One({"", 0, 0, kOnOff})},
        {"srcgain", "NAME=GAIN...", "the table of source gains: up to 32 sources, gains 0 to 12", "zosource_gain",
         "zosource_gain", PlanSourceGains},
        {"listen", "N", "listening position: 0 to 255", "zolisten_pos", "zolisten_pos", One({"", 0, 255})},
        {"srs", "N", "surround effect: 0 to 255", "zosrs", "zosrs", One({"", 0, 255})},
        {"eq", "TYPE --freqs A,B,C,D,E --gains A,B,C,D,E --qs A,B,C,D,E",
         "a curve, and the type in use: type 0 to 6; frequency index of band b 3b-3 to 3b-1; gain 0 to 255; Q 0.75 to "
         "2.0",
         "zoeqtype", "zoeq_type", PlanCurve},
        {"dbb", "on|off", "bass boost", "zodbb", "zodbb", One({"", 0, 0, kOnOff})},
        {"subwoofer", "on|off PHASE FILTER", "phase 0 or 180 degrees, filter 0 to 4", "zosubwoofer", "zosubwoofer",
         Object({{"status", 0, 0, kOnOff},
                 {"phase", 0, kReversedPhase, {}, kReversedPhase},
                 {"filter", 0, kMaxSubwooferFilter}})},
        {"mode", "MODE CHANNEL", "speaker mode: 0 or 1, channel 0 to 4", "zospeaker_mode", "zospeaker_mode",
         Object({{"mode", 0, 1}, {"channel", 0, kMaxSpeakerChannel}})},
        {"front", "on|off CUTOFF", "front stereo filter, cut-off frequency index 0 to 7", "zofront_stereo_filter",
         "zofront_stereo_filter", Object({{"status", 0, 0, kOnOff}, {"cutoff_freq", 0, kMaxCutoffFreq}})},
        {"rear", "on|off CUTOFF", "rear stereo filter, cut-off frequency index 0 to 7", "zorear_stereo_filter",
         "zorear_stereo_filter", Object({{"status", 0, 0, kOnOff}, {"cutoff_freq", 0, kMaxCutoffFreq}})},
        {"alc", "N", "ALC: 0 to 255", "zoalc", "zoalc", One({"", 0, 255})},
        {"mix", "on|off", "audio mixing", "zoaudiomix", "zoaudiomix", One({"", 0, 0, kOnOff})},
    };
    return settings;
}

std::vector<std::string> ChoicesOf(const Setting& setting, std::size_t place) {
    const Words arguments = WordsOf(setting.arguments);
    std::vector<std::string> choices;
    std::istringstream words(place < arguments.size() ? arguments[place] : "");
    for (std::string word; std::getline(words, word, '|');) {
        const std::size_t dots = word.find("..");
        if (dots == std::string::npos) {
            choices.push_back(word);
            continue;
        }
        // "ext0..ext3"
        for (char digit = word[dots - 1]; digit <= word.back(); ++digit) {
            choices.push_back(word.substr(0, dots - 1) + digit);
        }
    }
    choices = choices.size() > 1 ? choices : std::vector<std::string>();
    std::copy_if(arguments.begin(), arguments.end(), std::back_inserter(choices),
                 [](const std::string& word) { return word.compare(0, 2, "--") == 0; });
    return choices;
}

const std::vector<Reading>& Readings() {
    static const std::vector<Reading> readings{{"audio", "zoaudio"},
                                               {"volume", kVolume},
                                               {"srcvol", kSourceVolumes},
                                               {"extvol", kExtendedVolumes},
                                               {"fade", "zofade_balance"},
                                               {"subgain", "zosubwoofer_gain"},
                                               {"center", "zocenter_gain"},
                                               {"loud", "zoloud"},
                                               {"srcgain", "zosource_gain"},
                                               {"listen", "zolisten_pos"},
                                               {"srs", "zosrs"},
                                               {"eq", "zoeq_type"},
                                               {"eq0", "zoeqtype_0"},
                                               {"eq1", "zoeqtype_1"},
                                               {"eq2", "zoeqtype_2"},
                                               {"eq3", "zoeqtype_3"},
                                               {"eq4", "zoeqtype_4"},
                                               {"eq5", "zoeqtype_5"},
                                               {"eq6", "zoeqtype_6"},
                                               {"dbb", "zodbb"},
                                               {"subwoofer", "zosubwoofer"},
                                               {"mode", "zospeaker_mode"},
                                               {"front", "zofront_stereo_filter"},
                                               {"rear", "zorear_stereo_filter"},
                                               {"alc", "zoalc"},
                                               {"mix", "zoaudiomix"}};
    return readings;
}

} // namespace eqctl
