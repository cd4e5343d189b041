// The EQ type command. Its payload is the EQ record, which always carries every stored type:
//
//   byte 0          1, the record type
//   byte 1          0, reserved
//   byte 2          index of the selected EQ type
//   byte 3 + 15t    EQ type t: gain, frequency index and Q index of each of the five bands
#include <algorithm>
#include <array>
#include <iterator>

#include "control/CEQControlPPSModule.h"
#include "control/CommandChecks.h"
#include "control/ControlKeys.h"
#include "control/JsonValue.h"
#include "framework/LogBase.h"
#include "model/EqTables.h"
#include "model/RecordTypes.h"

namespace {

constexpr const char* kHandler = "OnCmdEqtype";
constexpr std::size_t kBandsOffset = 3;

/// The curve that a command asks for; the values as they stand in its JSON.
struct Curve {
    const char* type = nullptr;
    std::array<int, kEqBandCount> freqs{};
    std::array<int, kEqBandCount> gains{};
    std::array<double, kEqBandCount> qs{};
    std::array<int, kEqBandCount> qIndexes{};
};

void AppendBand(std::vector<unsigned char>& payload, int gain, int freq, int qIndex) {
    payload.push_back(static_cast<unsigned char>(gain));
    payload.push_back(static_cast<unsigned char>(freq));
    payload.push_back(static_cast<unsigned char>(qIndex));
}

/// Reads an array of exactly one value a band; @p lengthMessage takes the length found and the one needed.
template <typename T>
bool ReadBands(JsonValue& json, const std::string& key, std::array<T, kEqBandCount>& values,
               const char* lengthMessage) {
    const int length = json.EnterArray(key);
    if (length != kEqBandCount) {
        LOGBASE(LOG_LEV_ERROR, kHandler, lengthMessage, length, kEqBandCount);
        return false;
    }
    for (T& value : values) {
        json.GetNext(value);
    }
    json.LeaveArray();
    return true;
}

bool Read(char* text, Curve& curve) {
    JsonValue json(kHandler);
    if (!json.Enter(text)) {
        return false;
    }
    json.Get(EQTYPE_TYPE, curve.type);
    return ReadBands(json, EQTYPE_FREQS, curve.freqs,
                     "CEQControlPPSModule, freq array's length in pps is wrong, pps length = %d, neend %d\n") &&
           ReadBands(json, EQTYPE_GAIN, curve.gains,
                     "CEQControlPPSModule, gain array's length in pps is wrong, pps length = %d, neend %d\n") &&
           ReadBands(json, EQTYPE_Q, curve.qs,
                     "CEQControlPPSModule, q array's length in pps is wrong, pps length = %d, neend %d\n") &&
           json.Check(" pps_decoder_status() failed.\n");
}

/// Checks each band's frequency and Q, and finds the Q indexes.
bool CheckBands(Curve& curve) {
    for (int band = 0; band < kEqBandCount; ++band) {
        const auto at = static_cast<std::size_t>(band);
        if (!IsFreqAllowed(band, curve.freqs[at])) {
            LOGBASE(LOG_LEV_ERROR, kHandler, "eqtype:%s, band %d unkown freq(%d~%d):%d\n", curve.type, band + 1,
                    EQ_BAND_FC_MIN[band], EQ_BAND_FC_MAX[band], curve.freqs[at]);
            return false;
        }
        curve.qIndexes[at] = AllowedQIndexOf(band, curve.qs[at]);
        if (curve.qIndexes[at] < 0) {
            LOGBASE(LOG_LEV_ERROR, kHandler, "Unknown q from pps, band:%d, q:%f\n", band + 1, curve.qs[at]);
            return false;
        }
    }
    return true;
}

/// The index of the type of that name, logged where there is none or the stored types don't reach it.
bool FindType(const char* name, int typeCount, int& index) {
    static const std::string* const kTypes[kEqTypeCount] = {
        &EQTYPE_TYPE_0, &EQTYPE_TYPE_1, &EQTYPE_TYPE_2, &EQTYPE_TYPE_3, &EQTYPE_TYPE_4, &EQTYPE_TYPE_5, &EQTYPE_TYPE_6};
    const auto* found =
        std::find_if(std::begin(kTypes), std::end(kTypes), [name](const std::string* type) { return *type == name; });
    if (found == std::end(kTypes)) {
        LOGBASE(LOG_LEV_ERROR, kHandler, "Unkown eq type:%s\n", name);
        return false;
    }
    index = static_cast<int>(found - kTypes);
    if (index >= typeCount) {
        LOGBASE(LOG_LEV_ERROR, kHandler, "CEQControlPPSModule, the MCU has no eq type:%s, number of types:%d\n", name,
                typeCount);
        return false;
    }
    return true;
}

/// The record of all stored types, with a place for the selected one.
void WriteStoredTypes(const tagEQType& stored, std::vector<unsigned char>& payload) {
    constexpr unsigned char kNotSelectedYet = 255;
    payload = {EQ, 0, kNotSelectedYet};
    for (int type = 0; type < stored.TypeNum; ++type) {
        for (const tagEQBand& band : stored.Band[type]) {
            AppendBand(payload, band.Gain, band.Freq, QIndexOf(band.Q));
        }
    }
}

} // namespace

bool CEQControlPPSModule::OnCmdEqtype(char* encoding, char* value, Payload& payload) {
    if (!Check(kHandler, {{value != nullptr, "CEQControlPPSModule, szValue is NULL.\n"},
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
        LOGBASE(LOG_LEV_ERROR, kHandler, "CEQControlPPSModule, wrong type num(0 ~ %d): %d\n", kEqTypeCount,
                stored.TypeNum);
        return false;
    }
    WriteStoredTypes(stored, payload);
    int selected = 0;
    if (!FindType(curve.type, stored.TypeNum, selected)) {
        return false;
    }
    payload[2] = static_cast<unsigned char>(selected);
    Payload bands;
    for (std::size_t band = 0; band < kEqBandCount; ++band) {
        AppendBand(bands, curve.gains[band], curve.freqs[band], curve.qIndexes[band]);
    }
    std::copy(bands.begin(), bands.end(), payload.begin() + kBandsOffset + selected * kBytesPerEqType);
    return true;
}
