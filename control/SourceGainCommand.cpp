// The source gain command. Its payload: 2, the record type; the count; id and gain of each source.
#include "control/CEQControlPPSModule.h"
#include "control/CommandChecks.h"
#include "control/ControlKeys.h"
#include "control/JsonValue.h"
#include "framework/LogBase.h"
#include "model/RecordTypes.h"

namespace {

constexpr const char* kHandler = "OnCmdSrcGain";

/// The record counts its sources in one byte.
constexpr int kMaxCount = 255;

/// So many fit a packet: two bytes each, behind the record's type and the count, in 250 bytes.
constexpr int kMaxSentSources = 124;

struct NamedGain {
    const char* name = nullptr;
    int gain = -1;
};

/// Enters an array that must have one element a source; @p message takes the length and the count.
bool EnterArrayOf(JsonValue& json, const std::string& key, int count, const char* message) {
    const int length = json.EnterArray(key);
    if (length != count) {
        LOGBASE(LOG_LEV_ERROR, kHandler, message, length, count);
        return false;
    }
    return true;
}

bool Read(char* text, std::vector<NamedGain>& sources) {
    JsonValue json(kHandler);
    if (!json.Enter(text)) {
        return false;
    }
    int count = -1;
    json.Get(SOURCE_GAIN_COUNT, count);
    if (count < 0 || count > kMaxCount) {
        LOGBASE(LOG_LEV_ERROR, kHandler, "CEQControlPPSModule, sourceCount(0~255):%d\n", count);
        return false;
    }
    sources.resize(static_cast<std::size_t>(count));
    if (!EnterArrayOf(json, SOURCE_GAIN_SRC, count,
                      "CEQControlPPSModule, src array's length in pps is wrong, pps length = %d, source count: %d\n")) {
        return false;
    }
    for (NamedGain& source : sources) {
        json.GetNext(source.name);
    }
    json.LeaveArray();
    if (!EnterArrayOf(
            json, SOURCE_GAIN_GAIN, count,
            "CEQControlPPSModule, gain array's length in pps is wrong, pps length = %d, source count: %d\n")) {
        return false;
    }
    int position = 0;
    for (NamedGain& source : sources) {
        json.GetNext(source.gain);
        if (source.gain < 0 || source.gain > kMaxSourceGain) {
            LOGBASE(LOG_LEV_ERROR, kHandler, "CEQControlPPSModule, wrong cmdGain[%d]:%d, (%d ~ %d)\n", position,
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
    if (!Check(kHandler, {{value != nullptr, "CEQControlPPSModule, szValue is NULL.\n"},
                          {m_pEQData != nullptr, "Param error! m_pEQData is NULL.\n"},
                          {EncodingIsJson(encoding), "EncodingIsJson isn't json\n"}})) {
        return false;
    }
    std::vector<NamedGain> sources;
    if (!Read(value, sources)) {
        return false;
    }
    if (sources.size() > kMaxSentSources) {
        LOGBASE(LOG_LEV_ERROR, kHandler, "CEQControlPPSModule, %zu sources don't fit a packet, at most %d\n",
                sources.size(), kMaxSentSources);
        return false;
    }
    payload = {SOURCE_GAIN, static_cast<unsigned char>(sources.size())};
    for (const NamedGain& source : sources) {
        unsigned char id = 0;
        if (!m_sources.GetSrcIdByName(source.name, id)) {
            LOGBASE(LOG_LEV_ERROR, kHandler, "Cann't get the src id by name, name:%s.\n", source.name);
            return false;
        }
        payload.push_back(id);
        payload.push_back(static_cast<unsigned char>(source.gain));
    }
    return true;
}
