#include "tools/mcusim/Settings.h"

#include <algorithm>
#include <cstddef>
#include <random>

#include "model/EqTables.h"
#include "model/McuCommands.h"
#include "model/RecordTypes.h"

namespace mcusim {

namespace {

constexpr std::size_t kDataOffset = 3;

// Bytes of the volume and fade data.
constexpr std::size_t kAudioIc = 0;
constexpr std::size_t kMain = 1;
constexpr std::size_t kMax = 2;
constexpr std::size_t kVoice = 5;
constexpr std::size_t kMaxPower = 6;
constexpr std::size_t kMutes = 7;
constexpr std::size_t kFades = 8;
constexpr std::size_t kSubwooferGain = 12;
constexpr std::size_t kCenterGain = 13;
constexpr std::size_t kLoud = 14;
constexpr std::size_t kVolumeAndFadeSize = 15;

// Bytes of the EQ data: reserved, current type, 15 bytes a type.
constexpr std::size_t kEqHead = 2;
constexpr std::size_t kEqTypes = kEqTypeCount;

Bytes FlatCurves() {
    Bytes data{0, 0};
    for (std::size_t type = 0; type < kEqTypes; ++type) {
        for (int band = 0; band < 5; ++band) {
            const int q = 1;
            data.push_back(10);
            data.push_back(static_cast<std::uint8_t>(3 * band + 1));
            data.push_back(q);
        }
    }
    return data;
}

bool IsAcceptableVolumeAndFade(const Bytes& data) {
    return data.size() == kVolumeAndFadeSize && data[kCenterGain] <= kMaxCenterGain && data[kLoud] <= 1 &&
           std::all_of(data.begin() + kFades, data.begin() + kFades + 4,
                       [](std::uint8_t level) { return level <= kMaxFadeLevel; });
}

bool IsAcceptableCurves(const Bytes& data, std::size_t size) {
    if (data.size() != size || data[1] >= kEqTypes) {
        return false;
    }
    for (std::size_t i = 0; i < kEqTypes * kEqBandCount; ++i) {
        const int band = static_cast<int>(i % kEqBandCount);
        const std::uint8_t* bytes = data.data() + kEqHead + i * kBytesPerBand;
        if (!IsFreqAllowed(band, bytes[1]) || !IsQIndexAllowed(band, bytes[2])) {
            return false;
        }
    }
    return true;
}

bool IsAcceptableAudioSetting(const Bytes& data) {
    return data.size() == 3 && (data[0] >> 3 & 7) <= kMaxSubwooferFilter && (data[1] >> 1 & 7) <= kMaxSpeakerChannel;
}

bool IsAcceptableSourceGain(const Bytes& data) {
    if (data.empty() || data[0] > kSourceCount || data.size() != 1U + 2U * data[0]) {
        return false;
    }
    for (std::size_t i = 2; i < data.size(); i += 2) {
        if (data[i] > kMaxSourceGain) {
            return false;
        }
    }
    return true;
}

} // namespace

Settings::Settings() {
    m_data[VOLUME_AND_FADE_BALANCE] = {1, 12, 40, 18, 15, 20, 30, 0, 12, 12, 12, 12, 6, 6, 0};
    m_data[EQ] = FlatCurves();
    m_data[SOURCE_GAIN] = {4, 3, 6, 5, 6, 13, 5, 16, 12}; // usb, radio, btaudio, navi
    m_data[LISTEN_POS] = {0, 0};
    m_data[AUDIO_SETTING] = {0x12, 0x00, 0x00}; // subwoofer on, filter 2
    m_data[ALC] = {1};
    m_data[EQ_EXPEND] = {10, 11, 12, 13};
}

Settings::Settings(std::uint32_t seed) : Settings() {
    std::mt19937 random(seed);
    const auto upTo = [&random](int most) {
        return static_cast<std::uint8_t>(random() % (static_cast<std::uint32_t>(most) + 1U));
    };
    Bytes& volumes = m_data[VOLUME_AND_FADE_BALANCE];
    volumes[kMax] = static_cast<std::uint8_t>(30 + upTo(10));
    for (const std::size_t level : {kMain, kMax + 1, kMax + 2, kVoice, kMaxPower}) {
        volumes[level] = upTo(volumes[kMax]);
    }
    volumes[kMutes] = upTo(3);
    std::generate_n(volumes.begin() + kFades, 4, [&] { return upTo(kMaxFadeLevel); });
    volumes[kSubwooferGain] = upTo(255);
    volumes[kCenterGain] = upTo(kMaxCenterGain);
    volumes[kLoud] = upTo(1);
    m_data[EQ][1] = upTo(kEqTypes - 1);
    for (std::size_t gain = kEqHead; gain < m_data[EQ].size(); gain += kBytesPerBand) {
        m_data[EQ][gain] = upTo(255);
    }
    m_data[SOURCE_GAIN] = {upTo(10)};
    for (std::uint8_t source = 0; source < m_data[SOURCE_GAIN][0]; ++source) {
        m_data[SOURCE_GAIN].insert(m_data[SOURCE_GAIN].end(), {source, upTo(kMaxSourceGain)});
    }
    m_data[LISTEN_POS] = {upTo(255), upTo(255)};
    const auto filter = static_cast<std::uint8_t>(upTo(kMaxSubwooferFilter) << 3);
    const auto channel = static_cast<std::uint8_t>(upTo(kMaxSpeakerChannel) << 1);
    m_data[AUDIO_SETTING] = {static_cast<std::uint8_t>(upTo(7) | filter), static_cast<std::uint8_t>(upTo(1) | channel),
                             upTo(255)};
    m_data[ALC] = {upTo(254)};
    std::generate(m_data[EQ_EXPEND].begin(), m_data[EQ_EXPEND].end(), [&] { return upTo(kLevelMask); });
}

Bytes Settings::Answer(int group) const {
    if (group < 0 || group >= kGroupCount || m_data[static_cast<std::size_t>(group)].empty()) {
        return {};
    }
    const Bytes& data = m_data[static_cast<std::size_t>(group)];
    Bytes payload{kQueryAnswer, kControlRecordMark, static_cast<std::uint8_t>(group)};
    payload.insert(payload.end(), data.begin(), data.end());
    return payload;
}

bool Settings::IsAcceptable(int group, const Bytes& data) const {
    switch (group) {
    case VOLUME_AND_FADE_BALANCE:
        return IsAcceptableVolumeAndFade(data);
    case EQ:
        return IsAcceptableCurves(data, m_data[EQ].size());
    case SOURCE_GAIN:
        return IsAcceptableSourceGain(data);
    case AUDIO_SETTING:
        return IsAcceptableAudioSetting(data);
    case LISTEN_POS:
    case ALC:
    case EQ_EXPEND:
        return data.size() == m_data[static_cast<std::size_t>(group)].size();
    default:
        return false;
    }
}

bool Settings::Apply(const Bytes& payload) {
    if (payload.size() <= kDataOffset || payload[1] != kControlRecordMark) {
        return false;
    }
    const int group = payload[2];
    Bytes data(payload.begin() + kDataOffset, payload.end());
    if (!IsAcceptable(group, data)) {
        return false;
    }
    const auto cutMark = [](std::uint8_t& byte) { byte &= kLevelMask; };
    if (group == VOLUME_AND_FADE_BALANCE) {
        std::for_each(data.begin() + kMain, data.begin() + kVoice + 1, cutMark);
        // The state of the audio processor and the maximum are the MCU's own.
        data[kAudioIc] = m_data[VOLUME_AND_FADE_BALANCE][kAudioIc];
        data[kMax] = m_data[VOLUME_AND_FADE_BALANCE][kMax];
    } else if (group == EQ_EXPEND) {
        std::for_each(data.begin(), data.end(), cutMark);
    }
    m_data[static_cast<std::size_t>(group)] = std::move(data);
    return true;
}

Bytes Settings::Report(int group, std::size_t markedByte) const {
    Bytes payload = Answer(group);
    payload[0] = kReport;
    payload[kDataOffset + markedByte] |= kChangeMark;
    return payload;
}

Bytes Settings::PressKey(const Bytes& payload) {
    constexpr std::uint8_t kMuteKey = 160;
    constexpr std::uint8_t kSystem = 0;
    constexpr std::uint8_t kSource = 4;
    if (payload.size() != 4 || payload[1] != kMuteKey || payload[2] > 1 ||
        (payload[3] != kSystem && payload[3] != kSource)) {
        return {};
    }
    const int bit = payload[3] == kSystem ? 0 : 1;
    std::uint8_t& mutes = m_data[VOLUME_AND_FADE_BALANCE][kMutes];
    mutes = static_cast<std::uint8_t>((mutes & ~(1 << bit)) | payload[2] << bit);
    return Report(VOLUME_AND_FADE_BALANCE, kMain);
}

Bytes Settings::Mix(const Bytes& payload) {
    return payload.size() == 2 && payload[1] <= 1 ? Bytes{kAudioMixReport, payload[1]} : Bytes{};
}

Bytes Settings::ChangeVolume(const std::string& name, int level) {
    struct Volume {
        const char* name;
        RecordType group;
        std::size_t byte;
        std::size_t markedByte;
    };
    static constexpr Volume kVolumes[] = {
        {"main", VOLUME_AND_FADE_BALANCE, kMain, kMain},
        {"max", VOLUME_AND_FADE_BALANCE, kMax, kMain},
        {"navi", VOLUME_AND_FADE_BALANCE, kMax + 1, kMax + 1},
        {"call", VOLUME_AND_FADE_BALANCE, kMax + 2, kMax + 2},
        {"voice", VOLUME_AND_FADE_BALANCE, kVoice, kVoice},
        {"ext0", EQ_EXPEND, 0, 0},
        {"ext1", EQ_EXPEND, 1, 1},
        {"ext2", EQ_EXPEND, 2, 2},
        {"ext3", EQ_EXPEND, 3, 3},
    };
    const auto* volume = std::find_if(std::begin(kVolumes), std::end(kVolumes),
                                      [&name](const Volume& each) { return name == each.name; });
    if (volume == std::end(kVolumes) || level < 0 || level > kLevelMask) {
        return {};
    }
    m_data[volume->group][volume->byte] = static_cast<std::uint8_t>(level);
    return Report(volume->group, volume->markedByte);
}

} // namespace mcusim
