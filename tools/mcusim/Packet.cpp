#include "tools/mcusim/Packet.h"

#include <algorithm>
#include <cstring>

#include "model/McuCommands.h"
#include "model/RecordTypes.h"

namespace mcusim {

namespace {

using TLG::ZOCAR::PacketHeader_s;

/// Tells the bytes of a payload in turn; what is not there any more is told once as cut off.
class Teller {
public:
    explicit Teller(const Bytes& payload, std::size_t position) : m_payload(payload), m_position(position) {}

    Teller& Word(std::string_view word) {
        m_text.append(" ").append(word);
        return *this;
    }
    Teller& Number(std::string_view name) {
        std::uint8_t byte = 0;
        if (Next(byte)) {
            Field(name, std::to_string(byte));
        }
        return *this;
    }
    /// A level, with a star where the change mark is set.
    Teller& Volume(std::string_view name) {
        std::uint8_t byte = 0;
        if (Next(byte)) {
            Field(name, std::to_string(byte & kLevelMask) + ((byte & kChangeMark) != 0 ? "*" : ""));
        }
        return *this;
    }
    /// Hands a byte to @p tell(byte), which tells its bit fields.
    template <typename Tell>
    Teller& Bits(Tell tell) {
        std::uint8_t byte = 0;
        if (Next(byte)) {
            tell(byte);
        }
        return *this;
    }
    void Field(std::string_view name, const std::string& value) {
        m_text.append(" ").append(name).append("=").append(value);
    }
    bool AtEnd() const { return m_position >= m_payload.size(); }
    const std::string& Text() const { return m_text; }

private:
    bool Next(std::uint8_t& byte) {
        if (AtEnd()) {
            m_text += m_cut ? "" : " (cut)";
            m_cut = true;
            return false;
        }
        byte = m_payload[m_position++];
        return true;
    }

    const Bytes& m_payload;
    std::size_t m_position;
    std::string m_text;
    bool m_cut = false;
};

std::string Bit(int byte, int bit) {
    return std::to_string(byte >> bit & 1);
}

void TellVolumeAndFade(Teller& teller) {
    teller.Word("volume-and-fade").Number("ic").Volume("main").Volume("max").Volume("navi").Volume("call");
    teller.Volume("voice").Number("max_power").Bits([&](int mutes) {
        teller.Field("system_mute", Bit(mutes, 0));
        teller.Field("source_mute", Bit(mutes, 1));
    });
    teller.Number("ff").Number("fr").Number("bl").Number("br");
    teller.Number("subwoofer_gain").Number("center_gain").Number("loud");
}

void TellEq(Teller& teller) {
    teller.Word("eq").Number("reserved").Number("type");
    for (int type = 0; !teller.AtEnd(); ++type) {
        teller.Word("type_" + std::to_string(type));
        for (int band = 1; band <= 5 && !teller.AtEnd(); ++band) {
            teller.Number("gain" + std::to_string(band)).Number("freq" + std::to_string(band));
            teller.Number("q" + std::to_string(band));
        }
    }
}

void TellAudioSetting(Teller& teller) {
    teller.Word("audio-setting");
    teller.Bits([&](int byte) {
        teller.Field("dbb", Bit(byte, 0));
        teller.Field("subwoofer", Bit(byte, 1));
        teller.Field("phase", (byte >> 2 & 1) != 0 ? "180" : "0");
        teller.Field("filter", std::to_string(byte >> 3 & 7));
    });
    teller.Bits([&](int byte) {
        teller.Field("mode", Bit(byte, 0));
        teller.Field("channel", std::to_string(byte >> 1 & 7));
    });
    teller.Bits([&](int byte) {
        teller.Field("front", Bit(byte, 3));
        teller.Field("front_cutoff", std::to_string(byte & 7));
        teller.Field("rear", Bit(byte, 7));
        teller.Field("rear_cutoff", std::to_string(byte >> 4 & 7));
    });
}

void TellRecord(const Bytes& payload, Teller& teller) {
    switch (payload.size() < 3 ? -1 : payload[2]) {
    case VOLUME_AND_FADE_BALANCE:
        return TellVolumeAndFade(teller);
    case EQ:
        return TellEq(teller);
    case SOURCE_GAIN:
        teller.Word("source-gain").Number("count");
        while (!teller.AtEnd()) {
            teller.Number("id").Number("gain");
        }
        return;
    case LISTEN_POS:
        teller.Word("listen-pos").Number("listen_pos").Number("srs");
        return;
    case AUDIO_SETTING:
        return TellAudioSetting(teller);
    case ALC:
        teller.Word("alc").Number("alc");
        return;
    case EQ_EXPEND:
        teller.Word("extended-volumes").Volume("ext0").Volume("ext1").Volume("ext2").Volume("ext3");
        return;
    default:
        teller.Word("unknown-record");
    }
}

std::string TellPayload(const PacketHeader_s& header, const Bytes& payload) {
    constexpr std::size_t kRecordData = 3;
    Teller record(payload, kRecordData);
    Teller plain(payload, 1);
    switch (header.Cmd) {
    case kControlCommand:
        TellRecord(payload, record);
        return "control" + record.Text();
    case kQueryAnswer:
        TellRecord(payload, record);
        return "answer" + record.Text();
    case kReport:
        TellRecord(payload, record);
        return "report" + record.Text();
    case kQueryCommand:
        return "query" + plain.Number("group").Text();
    case kKeyCommand:
        return "key" + plain.Number("key").Number("mute").Number("type").Text();
    case kAudioMixCommand:
        return "audio-mix" + plain.Number("mix").Text();
    case kAcknowledgement:
        return "acknowledgement" + plain.Number("status").Text();
    case kAudioMixReport:
        return "audio-mix-report" + plain.Number("mix").Text();
    default:
        return "unknown";
    }
}

} // namespace

Bytes MakePacket(const Bytes& payload, std::int32_t number) {
    const PacketHeader_s header{
        static_cast<std::int32_t>(payload.size()), payload.empty() ? 0 : payload[0], 0, 0, 200, 3, number};
    Bytes packet(sizeof header + payload.size());
    std::memcpy(packet.data(), &header, sizeof header);
    std::copy(payload.begin(), payload.end(), packet.begin() + sizeof header);
    return packet;
}

bool ParsePacket(std::string_view block, Packet& packet) {
    if (block.size() < sizeof packet.header) {
        return false;
    }
    std::memcpy(&packet.header, block.data(), sizeof packet.header);
    const std::size_t there = block.size() - sizeof packet.header;
    const auto announced = static_cast<std::size_t>(std::max(packet.header.PacketSize, 0));
    const auto* payload = reinterpret_cast<const std::uint8_t*>(block.data()) + sizeof packet.header;
    packet.payload.assign(payload, payload + std::min(there, announced));
    return true;
}

std::string Describe(const Packet& packet) {
    std::string text = "no=" + std::to_string(packet.header.PacketNo);
    text += " size=" + std::to_string(packet.header.PacketSize);
    text += " cmd=" + std::to_string(packet.header.Cmd);
    text += " reply=" + std::to_string(packet.header.Reply) + "," + std::to_string(packet.header.Third) + "," +
            std::to_string(packet.header.Fourth) + "," + std::to_string(packet.header.Fifth) + " ";
    text += TellPayload(packet.header, packet.payload) + " [";
    static constexpr char kDigits[] = "0123456789abcdef";
    for (std::size_t i = 0; i < packet.payload.size(); ++i) {
        text.append(i == 0 ? "" : " ");
        text += kDigits[packet.payload[i] >> 4];
        text += kDigits[packet.payload[i] & 0xF];
    }
    return text + "]";
}

} // namespace mcusim
