#include "tools/mcusim/RandomReports.h"

#include <cstring>

#include "model/McuCommands.h"
#include "model/RecordTypes.h"

namespace mcusim {

Bytes RandomReports::VolumeAndFade() {
    Bytes data{Byte(2)};
    for (int i = 0; i < 5; ++i) {
        data.push_back(static_cast<std::uint8_t>(Below(45) | (Below(6) == 0 ? kChangeMark : 0)));
    }
    data.push_back(Byte(45));
    data.push_back(Byte(4));
    for (int i = 0; i < 4; ++i) {
        data.push_back(Byte(kMaxFadeLevel + 1));
    }
    data.push_back(Byte(256));
    data.push_back(Byte(kMaxCenterGain + 1));
    data.push_back(Byte(2));
    return data;
}

Bytes RandomReports::Equaliser() {
    static constexpr std::uint8_t kQs[2][4] = {{1, 2, 3, 4}, {0, 1, 2, 4}};
    Bytes data{0, Byte(8)};
    const int types = Below(9);
    for (int i = 0; i < types * 5; ++i) {
        const int band = i % 5;
        data.push_back(Byte(256));
        data.push_back(static_cast<std::uint8_t>(3 * band + Below(3)));
        data.push_back(kQs[band < 2 ? 0 : 1][Below(4)]);
    }
    return data;
}

Bytes RandomReports::SourceGain() {
    const int count = Below(35);
    Bytes data{static_cast<std::uint8_t>(count)};
    for (int i = 0; i < count; ++i) {
        data.push_back(Byte(Below(10) == 0 ? 40 : 32));
        data.push_back(Byte(kMaxSourceGain + 1));
    }
    return data;
}

/// A well-formed record, from its command id on.
Bytes RandomReports::Record() {
    const int type = Below(8);
    Bytes payload{static_cast<std::uint8_t>(Below(4) == 0 ? kQueryAnswer : kReport), 2,
                  static_cast<std::uint8_t>(type)};
    Bytes data;
    switch (type) {
    case VOLUME_AND_FADE_BALANCE:
        data = VolumeAndFade();
        break;
    case EQ:
        data = Equaliser();
        break;
    case SOURCE_GAIN:
        data = SourceGain();
        break;
    case AUDIO_SETTING:
        data = {Byte(256), Byte(256), Byte(256)};
        break;
    default:
        for (int i = 0; i < (type == EQ_EXPEND ? 4 : 2); ++i) {
            data.push_back(Byte(256));
        }
        break;
    }
    payload.insert(payload.end(), data.begin(), data.end());
    return payload;
}

/// Changes a byte, cuts the end off or adds to it.
void RandomReports::Damage(Bytes& payload) {
    switch (Below(3)) {
    case 0:
        payload[static_cast<std::size_t>(Below(static_cast<int>(payload.size())))] = Byte(256);
        break;
    case 1:
        payload.resize(static_cast<std::size_t>(Below(static_cast<int>(payload.size()) + 1)));
        break;
    default:
        payload.push_back(Byte(256));
        break;
    }
}

Bytes RandomReports::Next() {
    Bytes payload = Below(10) == 0 ? Bytes{kAudioMixReport, Byte(3)} : Record();
    if (Below(4) == 0) {
        Damage(payload);
    }
    Bytes packet = MakePacket(payload, 0);
    if (Below(20) == 0) {
        // A header that lies about the payload's length, or a block without a whole header.
        if (Below(2) == 0) {
            const std::int32_t lie = Below(600) - 200;
            std::memcpy(packet.data(), &lie, sizeof lie);
        } else {
            packet.resize(1 + static_cast<std::size_t>(Below(static_cast<int>(packet.size()))));
        }
    }
    return packet;
}

} // namespace mcusim
