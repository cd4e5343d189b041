// The EQ type command. It sends the EQ record with every stored type, one of them replaced.
#include <algorithm>
#include <array>
#include <iterator>

#include "control/CEQControlPPSModule.h"
#include "control/CommandChecks.h"
#include "control/ControlKeys.h"
#include "control/JsonValue.h"
#include "framework/LogBase.h"
#include "model/RecordPayload.h"

namespace {

constexpr const char* kFunction = "OnCmdEqtype";
constexpr const RecordLayout& kRecord = Layout<EQ>();

/// The curve that a command asks for; the values as they stand in its JSON.
struct Curve {
    const char* type = nullptr;
    std::array<int, kEqBandCount> freqs{};
    std::array<int, kEqBandCount> gains{};
    std::array<double, kEqBandCount> qs{};
    std::array<int, kEqBandCount> qIndexes{};
};

/// Where a curve begins in the payload.
constexpr std::size_t PlaceOf(int type) {
    constexpr auto kFirst = static_cast<std::size_t>(kRecord.FixedSize() - kRecordTypeByte);
    constexpr auto kSize = static_cast<std::size_t>(kRecord.entries.GroupSize());
    return kFirst + static_cast<std::size_t>(type) * kSize;
}

/// Writes a band at its place in a curve's bytes.
void WriteBand(unsigned char* curve, std::size_t band, int gain, int freq, int qIndex) {
    constexpr FieldList kBand = kRecord.entries.fields;
    constexpr RecordField kGain = kBand["gain"];
    constexpr RecordField kFreq = kBand["freq"];
    constexpr RecordField kQ = kBand["q"];
    unsigned char* const bytes = curve + band * kRecord.entries.EntrySize();
    bytes[kGain.byte] = static_cast<unsigned char>(gain);
    bytes[kFreq.byte] = static_cast<unsigned char>(freq);
    bytes[kQ.byte] = static_cast<unsigned char>(qIndex);
}

/// Reads an array of exactly one value for each band; @p name is the array's in the message.
template <typename T>
bool ReadBands(JsonValue& json, const std::string& key, std::array<T, kEqBandCount>& values, const char* name) {
    const int length = json.EnterArray(key);
    if (length != kEqBandCount) {
        LOGBASE(LOG_LEV_ERROR, kFunction,
                "CEQControlPPSModule, %s array's length in pps is wrong, pps length = %d, neend %d\n", name, length,
                kEqBandCount);
        return false;
    }
    for (T& value : values) {
        json.GetNext(value);
    }
    json.LeaveArray();
    return true;
}

bool Read(char* text, Curve& curve) {
    JsonValue json(kFunction);
    if (!json.Enter(text)) {
        return false;
    }
    json.Get(EQTYPE_TYPE, curve.type);
    return ReadBands(json, EQTYPE_FREQS, curve.freqs, "freq") && ReadBands(json, EQTYPE_GAIN, curve.gains, "gain") &&
           ReadBands(json, EQTYPE_Q, curve.qs, "q") && json.Check(" pps_decoder_status() failed.\n");
}

/// Checks each band's frequency and Q, and finds the Q indexes.
bool CheckBands(Curve& curve) {
    for (int band = 0; band < kEqBandCount; ++band) {
        const auto at = static_cast<std::size_t>(band);
        if (!IsFreqAllowed(band, curve.freqs[at])) {
            LOGBASE(LOG_LEV_ERROR, kFunction, "eqtype:%s, band %d unkown freq(%d~%d):%d\n", curve.type, band + 1,
                    EQ_BAND_FC_MIN[band], EQ_BAND_FC_MAX[band], curve.freqs[at]);
            return false;
        }
        curve.qIndexes[at] = AllowedQIndexOf(band, curve.qs[at]);
        if (curve.qIndexes[at] < 0) {
            LOGBASE(LOG_LEV_ERROR, kFunction, "Unknown q from pps, band:%d, q:%f\n", band + 1, curve.qs[at]);
            return false;
        }
    }
    return true;
}

/// The index of the type of that name, logged where there is none or the store has fewer types.
bool FindType(const char* name, int typeCount, int& index) {
    static const std::string* const kTypes[kEqTypeCount] = {
        &EQTYPE_TYPE_0, &EQTYPE_TYPE_1, &EQTYPE_TYPE_2, &EQTYPE_TYPE_3, &EQTYPE_TYPE_4, &EQTYPE_TYPE_5, &EQTYPE_TYPE_6};
    const auto* found =
        std::find_if(std::begin(kTypes), std::end(kTypes), [name](const std::string* type) { return *type == name; });
    if (found == std::end(kTypes)) {
        LOGBASE(LOG_LEV_ERROR, kFunction, "Unkown eq type:%s\n", name);
        return false;
    }
    index = static_cast<int>(found - kTypes);
    if (index >= typeCount) {
        LOGBASE(LOG_LEV_ERROR, kFunction, "CEQControlPPSModule, the MCU has no eq type:%s, number of types:%d\n", name,
                typeCount);
        return false;
    }
    return true;
}

/// The record of all stored types; type 0 stands as the selected one.
void WriteStoredTypes(const tagEQType& stored, std::vector<unsigned char>& payload) {
    payload.reserve(PlaceOf(stored.TypeNum));
    WriteRecord(EQ, {}, payload);
    payload.resize(PlaceOf(stored.TypeNum));
    for (int type = 0; type < stored.TypeNum; ++type) {
        for (std::size_t at = 0; at < kEqBandCount; ++at) {
            const tagEQBand& band = stored.Band[type][at];
            WriteBand(&payload[PlaceOf(type)], at, band.Gain, band.Freq, QIndexOf(band.Q));
        }
    }
}

} // namespace

bool CEQControlPPSModule::OnCmdEqtype(char* encoding, char* value, Payload& payload) {
    if (!Check(kFunction, {{value != nullptr, "CEQControlPPSModule, szValue is NULL.\n"},
                           {m_pEQData != nullptr, "Param error! m_pEQData is NULL.\n"},
                           {EncodingIsJson(encoding), "EncodingIsJson isn't json.\n"}})) {
        return false;
    }
    Curve curve;
    if (!Read(value, curve) || !CheckBands(curve)) {
        return false;
    }
    const tagEQType stored = m_pEQData->GetEqTypeDate();
    if (static_cast<unsigned>(stored.TypeNum) > kEqTypeCount) {
        LOGBASE(LOG_LEV_ERROR, kFunction, "CEQControlPPSModule, wrong type num(0 ~ %d): %d\n", kEqTypeCount,
                stored.TypeNum);
        return false;
    }
    WriteStoredTypes(stored, payload);
    int selected = 0;
    if (!FindType(curve.type, stored.TypeNum, selected)) {
        return false;
    }
    constexpr std::size_t kSelectedType = PayloadIndex(kRecord.fields["type"]);
    payload[kSelectedType] = static_cast<unsigned char>(selected);
    for (std::size_t band = 0; band < kEqBandCount; ++band) {
        WriteBand(&payload[PlaceOf(selected)], band, curve.gains[band], curve.freqs[band], curve.qIndexes[band]);
    }
    return true;
}
