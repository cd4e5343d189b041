#include "tests/system/ReferenceModel.h"

#include <algorithm>
#include <cstddef>
#include <sstream>

namespace {

using Bytes = std::vector<int>;

const char* const kQs[] = {"0.75", "1.0", "1.25", "1.5", "2.0"};
const char* const kSources[] = {"none", "disc",    "sd",         "usb",  "rusb",  "radio",   "hdradio",  "dab",
                                "sxm",  "tv",      "aux1",       "aux2", "bttel", "btaudio", "ipod",     "camera",
                                "navi", "pandora", "iheadradio", "tpms", "cdc",   "dar",     "linker",   "tsp",
                                "ptt",  "asr",     "mpu",        "svc",  "media", "phone",   "rightone", "siri"};

std::string List(const Bytes& values) {
    std::string text;
    for (const int value : values) {
        text += (text.empty() ? "" : ",") + std::to_string(value);
    }
    return "[" + text + "]";
}

std::string Number(const Bytes& value) {
    return "n:" + std::to_string(value[0]);
}

std::string Mute(int code) {
    return code == 1 ? "\"mute\"" : "\"unmute\"";
}

/// The first marked of four volume bytes; 5 where none is.
int MarkedOf(const Bytes& volumes) {
    const auto marked = std::find_if(volumes.begin(), volumes.end(), [](int byte) { return byte >= 128; });
    return marked == volumes.end() ? 5 : static_cast<int>(marked - volumes.begin());
}

} // namespace

void ReferenceModel::Set(const std::string& group, const Bytes& value) {
    Bytes& stored = m_values.try_emplace(group, Bytes(value.size(), 0)).first->second;
    if (stored != value) {
        stored = value;
        m_raised.insert(group);
    }
}

void ReferenceModel::Receive(int command, int packetSize, const Bytes& payload) {
    const int there = static_cast<int>(payload.size());
    if (there == 0 || packetSize < 0 || packetSize > there) {
        return;
    }
    const Bytes p(payload.begin(), payload.begin() + packetSize);
    bool accepted = false;
    if (command == 178 && packetSize == 2) {
        accepted = true;
        if (p[1] <= 1) {
            Set("[n]zoaudiomix", {p[1]});
        }
    } else if (command == 137 || command == 138) {
        accepted = Record(p);
        if (accepted && command == 137) {
            RaiseGroup(p[2]);
        }
    }
    if (accepted) {
        PublishRaised();
    }
}

bool ReferenceModel::Record(const Bytes& p) {
    if (p.size() < 4) {
        return false;
    }
    switch (p[2]) {
    case 0:
        return VolumeAndFade(p);
    case 1:
        return Equaliser(p);
    case 2:
        return SourceGain(p);
    case 3:
        Set("listen_pos", {p[3]});
        if (p.size() > 4) {
            Set("srs", {p[4]});
        }
        return true;
    case 4:
        return AudioSetting(p);
    case 5:
        Set("alc", {p[3]});
        return true;
    case 7:
        return Extended(p);
    default:
        return false;
    }
}

bool ReferenceModel::VolumeAndFade(const Bytes& p) {
    const std::size_t size = p.size();
    bool accepted = p[3] <= 1;
    if (accepted) {
        Set("audio", {p[3]});
    }
    if (size >= 11) {
        Volumes(Bytes(p.begin() + 4, p.begin() + 11));
        accepted = true;
    }
    if (size >= 15 && std::all_of(p.begin() + 11, p.begin() + 15, [](int level) { return level <= 24; })) {
        Set("fade_balance", Bytes(p.begin() + 11, p.begin() + 15));
    }
    if (size >= 16) {
        Set("subwoofer_gain", {p[15]});
    }
    if (size >= 17 && p[16] <= 12) {
        Set("center_gain", {p[16]});
    }
    if (size >= 18 && p[17] <= 1) {
        Set("loud", {p[17]});
    }
    return accepted;
}

void ReferenceModel::Volumes(const Bytes& block) {
    Bytes bytes{block[0], block[2], block[3], block[4]};
    if (m_scheme != 1) {
        bytes = {block[0], 0, 0, 0};
    }
    const int type = MarkedOf(bytes);
    Bytes levels = bytes;
    for (int& level : levels) {
        level %= 128;
    }
    const int max = block[1] % 128;
    const int sysMute = block[6] % 2;
    const int srcMute = block[6] / 2 % 2;
    const bool muted = sysMute != m_sysMute;
    if (block[5] != m_maxPower || levels[0] != m_levels[0] || max != m_max || muted) {
        m_raised.insert("volume");
    }
    if (srcMute != m_srcMute) {
        m_raised.insert("srcmute");
    }
    if (type != 5 || (muted && !m_firstMute)) {
        m_raised.insert("launch");
    }
    if (levels != m_levels || max != m_max || muted || srcMute != m_srcMute || (type != m_volType && type <= 3)) {
        m_raised.insert("srcvol");
    }
    m_firstMute = false;
    m_maxPower = block[5];
    m_levels = levels;
    m_max = max;
    m_sysMute = sysMute;
    m_srcMute = srcMute;
    m_volType = type;
}

bool ReferenceModel::Equaliser(const Bytes& p) {
    if (p.size() == 4) {
        return false;
    }
    Set("eq_type", {p[4]});
    const std::size_t rest = p.size() - 5;
    if (rest <= 1 || rest % 15 != 0) {
        return true;
    }
    for (std::size_t type = 0; type < std::min<std::size_t>(rest / 15, 7); ++type) {
        const auto begin = p.begin() + 5 + static_cast<std::ptrdiff_t>(15 * type);
        Bytes curve(begin, begin + 15);
        bool good = true;
        for (std::size_t band = 0; band < 5; ++band) {
            const int q = curve[3 * band + 2];
            good = good && curve[3 * band + 1] / 3 == static_cast<int>(band) && q <= 4 && q != (band < 2 ? 0 : 3);
        }
        const int key = static_cast<int>(type);
        // An unreported curve differs from every acceptable one.
        if (good && m_curves[key] != curve) {
            m_curves[key] = curve;
            m_raised.insert("eqtype_" + std::to_string(type));
        }
    }
    return true;
}

bool ReferenceModel::SourceGain(const Bytes& p) {
    const std::size_t count = static_cast<std::size_t>(p[3]);
    if (p.size() < 4 + 2 * count) {
        return false;
    }
    std::map<int, int> stored; // of several entries of one source the first counts
    for (std::size_t i = 0; i < m_sources.size(); i += 2) {
        stored.emplace(m_sources[i], m_sources[i + 1]);
    }
    const Bytes sources(p.begin() + 4, p.begin() + 4 + static_cast<std::ptrdiff_t>(2 * count));
    bool differs = sources.size() != m_sources.size();
    for (std::size_t i = 0; i < sources.size(); i += 2) {
        if (sources[i + 1] > 12) {
            return false;
        }
        const auto found = stored.find(sources[i]);
        differs = differs || found == stored.end() || found->second != sources[i + 1];
    }
    if (count <= 32 && differs) {
        m_sources = sources;
        m_raised.insert("source_gain");
    }
    return true;
}

bool ReferenceModel::AudioSetting(const Bytes& p) {
    Set("dbb", {p[3] % 2});
    if (p[3] / 8 % 8 <= 4) {
        Set("subwoofer", {p[3] / 2 % 2, p[3] / 4 % 2 * 180, p[3] / 8 % 8});
    }
    if (p.size() > 4 && p[4] / 2 % 8 <= 4) {
        Set("speaker_mode", {p[4] % 2, p[4] / 2 % 8});
    }
    if (p.size() > 5) {
        Set("front_stereo_filter", {p[5] / 8 % 2, p[5] % 8});
        Set("rear_stereo_filter", {p[5] / 128, p[5] / 16 % 8});
    }
    return true;
}

bool ReferenceModel::Extended(const Bytes& p) {
    if (p.size() < 7) {
        return false;
    }
    Bytes bytes = m_scheme == 1 ? Bytes(p.begin() + 3, p.begin() + 7) : Bytes{0, 0, 0, 0};
    const int type = MarkedOf(bytes);
    for (int& level : bytes) {
        level %= 128;
    }
    if (type != 5) {
        m_raised.insert({"volume", "launch"});
    }
    if (bytes != m_extended || (type != m_extendedType && type <= 3)) {
        m_raised.insert("extend");
    }
    m_extended = bytes;
    m_extendedType = type;
    return true;
}

void ReferenceModel::RaiseGroup(int group) {
    static const std::set<std::string> kGroups[] = {
        {"audio", "volume", "fade_balance", "subwoofer_gain", "center_gain", "loud"},
        {"eq_type", "eqtype_0", "eqtype_1", "eqtype_2", "eqtype_3", "eqtype_4", "eqtype_5", "eqtype_6"},
        {"source_gain"},
        {"listen_pos", "srs"},
        {"dbb", "subwoofer", "speaker_mode", "front_stereo_filter", "rear_stereo_filter"}};
    if (group < 5) {
        m_raised.insert(kGroups[group].begin(), kGroups[group].end());
    }
}

/// The members that the two volume attributes share.
std::string ReferenceModel::Members() const {
    return ",\"max\":" + std::to_string(m_max) + ",\"max_power\":" + std::to_string(m_maxPower) +
           ",\"system_mute\":" + Mute(m_sysMute) + ",\"source_mute\":" + Mute(m_srcMute) + "}";
}

void ReferenceModel::PublishVolume() {
    Line("zovolume", "json:{\"current\":" + std::to_string(m_levels[0]) + Members());
    Line("[n]sysvolume", Number({m_sysMute == 1 ? 255 : m_levels[0]}), "dev_status");
}

void ReferenceModel::PublishSourceVolumes() {
    Line("[n]zosrc_vol", "json:{\"vol_type\":" + std::to_string(m_volType) + ",\"val\":" + List(m_levels) + Members());
    Line("[n]zoextra_vol",
         "json:{\"vol_type\":" + std::to_string(m_extendedType) + ",\"val\":" + List(m_extended) + "}");
    if (m_scheme == 1 && m_max != 0) {
        Line("[n]navivolume", Number({m_levels[1] * 100 / m_max}), "gps_status");
    }
}

/// The value of the attribute that a group is published as; nothing where it can't be published.
std::string ReferenceModel::ValueOf(const std::string& group) {
    static const std::map<std::string, std::vector<const char*>> kMembers{
        {"fade_balance", {"ff", "fr", "bl", "br"}},
        {"subwoofer", {"status", "phase", "filter"}},
        {"speaker_mode", {"mode", "channel"}},
        {"front_stereo_filter", {"status", "cutoff_freq"}},
        {"rear_stereo_filter", {"status", "cutoff_freq"}}};
    if (group == "source_gain") {
        return PublishedSources();
    }
    if (group.compare(0, 7, "eqtype_") == 0) {
        return PublishedCurve(m_curves[group[7] - '0']);
    }
    const auto members = kMembers.find(group);
    const std::size_t size = members == kMembers.end() ? 1 : members->second.size();
    const Bytes& value = m_values.try_emplace(group, Bytes(size, 0)).first->second;
    if (members != kMembers.end()) {
        std::string text;
        for (std::size_t i = 0; i < value.size(); ++i) {
            const std::string name = members->second[i];
            const std::string word = value[i] == 1 ? "\"on\"" : "\"off\"";
            text += (i == 0 ? "\"" : ",\"") + name + "\":" + (name == "status" ? word : std::to_string(value[i]));
        }
        return "json:{" + text + "}";
    }
    if (group == "[n]zoaudiomix" || group == "loud" || group == "dbb") {
        return value[0] == 1 ? ":on" : ":off";
    }
    if (group == "audio") {
        return value[0] == 1 ? ":ready" : ":bad";
    }
    if (group == "eq_type") {
        return value[0] <= 6 ? ":type_" + std::to_string(value[0]) : "";
    }
    return Number(value);
}

std::string ReferenceModel::PublishedSources() const {
    std::string names;
    Bytes gains;
    for (std::size_t i = 0; i < m_sources.size(); i += 2) {
        if (m_sources[i] >= 32) {
            return "";
        }
        names += std::string(names.empty() ? "\"" : ",\"") + kSources[m_sources[i]] + "\"";
        gains.push_back(m_sources[i + 1]);
    }
    return "json:{\"count\":" + std::to_string(gains.size()) + ",\"src\":[" + names + "],\"gain\":" + List(gains) + "}";
}

std::string ReferenceModel::PublishedCurve(Bytes curve) const {
    const bool isReported = !curve.empty();
    curve.resize(15);
    Bytes freqs;
    Bytes gains;
    std::string qs;
    for (std::size_t band = 0; band < 15; band += 3) {
        gains.push_back(curve[band]);
        freqs.push_back(curve[band + 1]);
        qs += (qs.empty() ? "" : ",") + std::string(isReported ? kQs[curve[band + 2]] : "0.0");
    }
    return "json:{\"freqs\":" + List(freqs) + ",\"gain\":" + List(gains) + ",\"q\":[" + qs + "]}";
}

void ReferenceModel::PublishRaised() {
    std::istringstream order("[n]zoaudiomix alc audio volume srcmute launch srcvol extend fade_balance subwoofer_gain "
                             "center_gain source_gain listen_pos srs loud dbb subwoofer speaker_mode "
                             "front_stereo_filter rear_stereo_filter eq_type eqtype_0 eqtype_1 eqtype_2 eqtype_3 "
                             "eqtype_4 eqtype_5 eqtype_6");
    for (std::string group; order >> group;) {
        if (m_raised.count(group) == 0 || (group == "srcmute" && m_raised.count("volume") != 0) ||
            (group == "extend" && m_raised.count("srcvol") != 0)) {
            continue;
        }
        if (group == "volume" || group == "srcmute") {
            PublishVolume();
        } else if (group == "srcvol" || group == "extend") {
            PublishSourceVolumes();
        } else if (group == "launch") {
            m_published["app-launcher"].push_back("req");
        } else if (const std::string value = ValueOf(group); !value.empty()) {
            const bool isCurve = group.compare(0, 7, "eqtype_") == 0;
            Line(group[0] == '[' ? group : "zo" + group, value, isCurve ? "settings" : "status");
        }
    }
    m_raised.clear();
}
