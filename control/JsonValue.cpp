#include "control/JsonValue.h"

#include "framework/LogBase.h"

bool JsonValue::Enter(char* text) {
    const int parsed = pps_decoder_parse_json_str(&m_decoder, text);
    if (parsed != PPS_DECODER_OK) {
        LOGBASE(LOG_LEV_ERROR, m_handler, "CEQControlPPSModule, pps_decoder_parse_json_str return %d\n", parsed);
        return false;
    }
    const int entered = pps_decoder_push(&m_decoder, nullptr);
    if (entered != PPS_DECODER_OK) {
        LOGBASE(LOG_LEV_ERROR, m_handler, "CEQControlPPSModule, pps_decoder_push return %d\n", entered);
        return false;
    }
    return true;
}

int JsonValue::EnterArray(const std::string& key) {
    const bool isArray = pps_decoder_type(&m_decoder, key.c_str()) == PPS_TYPE_ARRAY;
    // An object would let itself be entered too; the empty key's failed push keeps it out.
    pps_decoder_push(&m_decoder, isArray ? key.c_str() : "");
    return isArray ? pps_decoder_length(&m_decoder) : 0;
}

bool JsonValue::Check(const char* message) {
    if (pps_decoder_status(&m_decoder, true) == PPS_DECODER_OK) {
        return true;
    }
    LOGBASE(LOG_LEV_ERROR, m_handler, "%s", message);
    return false;
}
