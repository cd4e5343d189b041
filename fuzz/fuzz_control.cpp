// Values of control attributes, over a store in many states: whatever a handler accepts is a record that the MCU side
// accepts too, and differs from the stored settings only in what the command may change.
//
// Byte 0 chooses the attribute, byte 1 the store's state, the rest is the value.
#include <cstdint>
#include <string>

#include "control/AudioSettingPayload.h"
#include "control/CEQControlPPSModule.h"
#include "fuzz/FilledStore.h"
#include "fuzz/QuietLog.h"
#include "fuzz/Require.h"
#include "model/EqTables.h"
#include "model/RecordTypes.h"
#include "model/VolumeAndFadePayload.h"

namespace {

using Payload = std::vector<unsigned char>;

/// Bits of one byte of a payload.
struct Bits {
    std::size_t at;
    unsigned char mask;
};

/// What a command may change in the record that the store gives.
struct Command {
    const char* name;
    int record; ///< the record's type; -1 for a payload that does not come from the store
    std::vector<Bits> mayChange;
};

const Command kCommands[] = {
    {"zovolume", VOLUME_AND_FADE_BALANCE, {{2, 0xFF}, {8, 0x01}}},
    {"zovolume_mute", -1, {}},
    {"zoaudiomix", -1, {}},
    {"zosrc_vol", VOLUME_AND_FADE_BALANCE, {{2, 0x7F}, {4, 0x7F}, {5, 0x7F}, {6, 0x7F}}},
    {"zofade_balance", VOLUME_AND_FADE_BALANCE, {{9, 0x1F}, {10, 0x1F}, {11, 0x1F}, {12, 0x1F}}},
    {"zosubwoofer_gain", VOLUME_AND_FADE_BALANCE, {{13, 0xFF}}},
    {"zocenter_gain", VOLUME_AND_FADE_BALANCE, {{14, 0x0F}}},
    {"zosource_gain", SOURCE_GAIN, {}},
    {"zolisten_pos", LISTEN_POS, {{1, 0xFF}}},
    {"zoeqtype", EQ, {{2, 0x07}}},
    {"zoloud", VOLUME_AND_FADE_BALANCE, {{15, 0x01}}},
    {"zodbb", AUDIO_SETTING, {{1, 0x01}}},
    {"zosubwoofer", AUDIO_SETTING, {{1, 0x3E}}},
    {"zospeaker_mode", AUDIO_SETTING, {{2, 0x0F}}},
    {"zofront_stereo_filter", AUDIO_SETTING, {{3, 0x0F}}},
    {"zosrs", LISTEN_POS, {{2, 0xFF}}},
    {"zorear_stereo_filter", AUDIO_SETTING, {{3, 0xF0}}},
    {"zoalc", ALC, {{1, 0xFF}}},
    {"zomaxpower_vol", VOLUME_AND_FADE_BALANCE, {{7, 0xFF}, {8, 0x01}}},
};

/// The record of a type as the store has it.
Payload Stored(int type, const CEQData& store) {
    Payload payload;
    const tagSpeaker speaker = store.GetVolumeData();
    switch (type) {
    case VOLUME_AND_FADE_BALANCE:
        VolumeAndFadePayload(store).WriteTo(payload);
        return payload;
    case AUDIO_SETTING:
        WriteAudioSetting(store.GetAudioData(), payload);
        return payload;
    case LISTEN_POS:
        return {LISTEN_POS, speaker.ListenPos, speaker.SRS};
    case ALC:
        return {ALC, store.GetALCData()};
    case EQ_EXPEND:
        payload = {EQ_EXPEND};
        payload.insert(payload.end(), std::begin(speaker.tCarPlayVol.SrcVol), std::end(speaker.tCarPlayVol.SrcVol));
        return payload;
    default:
        break;
    }
    const tagEQType eq = store.GetEqTypeDate();
    payload = {EQ, 0, 0};
    for (int curve = 0; curve < eq.TypeNum; ++curve) {
        for (const tagEQBand& band : eq.Band[curve]) {
            payload.insert(payload.end(), {static_cast<unsigned char>(band.Gain), static_cast<unsigned char>(band.Freq),
                                           static_cast<unsigned char>(QIndexOf(band.Q))});
        }
    }
    return payload;
}

/// The number of bytes that differ from the stored record; no bit may that is not allowed to.
int CountChanges(const Payload& payload, const Payload& stored, const std::vector<Bits>& mayChange) {
    Require(payload.size() == stored.size());
    int changes = 0;
    for (std::size_t i = 0; i < payload.size(); ++i) {
        int mask = 0;
        for (const Bits& bits : mayChange) {
            mask |= bits.at == i ? bits.mask : 0;
        }
        const int difference = payload[i] ^ stored[i];
        Require((difference & ~mask) == 0);
        changes += difference != 0 ? 1 : 0;
    }
    return changes;
}

void CheckSourceGain(const Payload& payload) {
    Require(payload.size() >= 2 && payload[0] == SOURCE_GAIN && payload.size() == 2U + 2U * payload[1]);
    for (std::size_t i = 2; i < payload.size(); i += 2) {
        Require(payload[i] < kSourceCount && payload[i + 1] <= kMaxSourceGain);
    }
}

void CheckChanges(const Command& command, const Payload& payload, const CEQData& store) {
    Require(!payload.empty());
    std::vector<Bits> mayChange = command.mayChange;
    int record = command.record;
    if (record == SOURCE_GAIN) {
        return CheckSourceGain(payload);
    }
    if (record == EQ) {
        Require(payload.size() > 2);
        for (std::size_t i = 0; i < kBytesPerEqType; ++i) {
            mayChange.push_back({3U + payload[2] * std::size_t{kBytesPerEqType} + i, 0xFF});
        }
    }
    const bool isSourceVolume = std::string_view(command.name) == "zosrc_vol";
    if (isSourceVolume && payload[0] == EQ_EXPEND) {
        record = EQ_EXPEND;
        mayChange = {{1, 0x7F}, {2, 0x7F}, {3, 0x7F}, {4, 0x7F}};
    }
    const int changes = CountChanges(payload, Stored(record, store), mayChange);
    Require(!isSourceVolume || changes <= 1);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) {
        return 0;
    }
    CEQData store;
    CEQControlPPSModule control(nullptr);
    control.AttachData(&store);
    CEQMcuFile link(nullptr);
    link.AttachData(&store);
    FillStore(store, link, data[1]);
    const Command& command = kCommands[data[0] % std::size(kCommands)];
    std::string name = command.name;
    std::string encoding = "json";
    std::string value(reinterpret_cast<const char*>(data) + 2, size - 2);
    pps_attrib_t attribute{};
    attribute.attr_name = name.data();
    attribute.encoding = encoding.data();
    attribute.value = value.data();
    unsigned char id = 0;
    bool isKey = false;
    Payload payload;
    if (!control.OnPPSCmd(&attribute, id, isKey, payload)) {
        return 0;
    }
    if (isKey) {
        Require(payload.size() == 3 && payload[0] == 160 && payload[1] <= 1 && (payload[2] == 0 || payload[2] == 4));
    } else if (id == 50) {
        Require(payload.size() == 1 && payload[0] <= 1);
    } else {
        CheckChanges(command, payload, store);
        Require(McuAccepts(link, payload));
    }
    return 0;
}
