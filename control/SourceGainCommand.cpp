// The source gain command. It replaces the whole record.
#include <array>

#include "control/CEQControlPPSModule.h"
#include "control/CommandChecks.h"
#include "control/ControlKeys.h"
#include "control/JsonValue.h"
#include "framework/LogBase.h"
#include "framework/McuPacket.h"
#include "model/RecordPayload.h"

namespace {

constexpr const char* kFunction = "OnCmdSrcGain";

/// The record counts its sources in one byte.
constexpr int kMaxCount = 255;

constexpr const RecordLayout& kRecord = Layout<SOURCE_GAIN>();

/// What fits a packet, after the fixed fields.
constexpr int kMaxSentSources = (TLG::ZOCAR::kMcuPayloadSize - kRecord.FixedSize()) / kRecord.entries.EntrySize();

struct NamedGain {
    const char* name = nullptr;
    int gain = -1;
};

void AppendSource(std::vector<unsigned char>& payload, unsigned char id, int gain) {
    constexpr FieldList kSource = kRecord.entries.fields;
    constexpr RecordField kId = kSource["id"];
    constexpr RecordField kGain = kSource["gain"];
    std::array<unsigned char, kSource.EndByte()> bytes{};
    bytes[kId.byte] = id;
    bytes[kGain.byte] = static_cast<unsigned char>(gain);
    payload.insert(payload.end(), bytes.begin(), bytes.end());
}

/// Enters an array that must have one element for each source.
bool EnterArrayOf(JsonValue& json, const std::string& key, int count) {
    const int length = json.EnterArray(key);
    if (length != count) {
        LOGBASE(LOG_LEV_ERROR, kFunction,
                "CEQControlPPSModule, %s array's length in pps is wrong, pps length = %d, source count: %d\n",
                key.c_str(), length, count);
        return false;
    }
    return true;
}

bool Read(char* text, std::vector<NamedGain>& sources) {
    JsonValue json(kFunction);
    if (!json.Enter(text)) {
        return false;
    }
    int count = -1;
    json.Get(SOURCE_GAIN_COUNT, count);
    if (count < 0 || count > kMaxCount) {
        LOGBASE(LOG_LEV_ERROR, kFunction, "CEQControlPPSModule, sourceCount(0~255):%d\n", count);
        return false;
    }
    sources.resize(static_cast<std::size_t>(count));
    if (!EnterArrayOf(json, SOURCE_GAIN_SRC, count)) {
        return false;
    }
    for (NamedGain& source : sources) {
        json.GetNext(source.name);
    }
    json.LeaveArray();
    if (!EnterArrayOf(json, SOURCE_GAIN_GAIN, count)) {
        return false;
    }
    int position = 0;
    for (NamedGain& source : sources) {
        json.GetNext(source.gain);
        if (source.gain < 0 || source.gain > kMaxSourceGain) {
            LOGBASE(LOG_LEV_ERROR, kFunction, "CEQControlPPSModule, wrong cmdGain[%d]:%d, (%d ~ %d)\n", position,
                    source.gain, 0, kMaxSourceGain);
            return false;
        }
        ++position;
    }
    json.LeaveArray();
    return json.Check("CEQControlPPSModule, pps_decoder_*() failed.\n");
}

} // namespace

bool CEQControlPPSModule::OnCmdSrcGain(char* encoding, char* value, Payload& payload) {
    if (!Check(kFunction, {{value != nullptr, "CEQControlPPSModule, szValue is NULL.\n"},
                           {m_pEQData != nullptr, "Param error! m_pEQData is NULL.\n"},
                           {EncodingIsJson(encoding), "EncodingIsJson isn't json\n"}})) {
        return false;
    }
    std::vector<NamedGain> sources;
    if (!Read(value, sources)) {
        return false;
    }
    if (sources.size() > kMaxSentSources) {
        LOGBASE(LOG_LEV_ERROR, kFunction, "CEQControlPPSModule, %zu sources don't fit a packet, at most %d\n",
                sources.size(), kMaxSentSources);
        return false;
    }
    constexpr RecordField kCount = kRecord.fields["count"];
    WriteRecord(SOURCE_GAIN, {}, payload);
    payload[PayloadIndex(kCount)] = static_cast<unsigned char>(sources.size());
    for (const NamedGain& source : sources) {
        unsigned char id = 0;
        if (!m_sources.GetSrcIdByName(source.name, id)) {
            LOGBASE(LOG_LEV_ERROR, kFunction, "Cann't get the src id by name, name:%s.\n", source.name);
            return false;
        }
        AppendSource(payload, id, source.gain);
    }
    return true;
}
