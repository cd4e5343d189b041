#include "control/JsonValue.h"

#include "framework/LogBase.h"

bool JsonValue::Enter(char* text) {
    const int parsed = pps_decoder_parse_json_str(&m_decoder, text);
    if (parsed != PPS_DECODER_OK) {
        LOGBASE(LOG_LEV_ERROR, m_function, "CEQControlPPSModule, pps_decoder_parse_json_str return %d\n", parsed);
        return false;
    }
    const int entered = pps_decoder_push(&m_decoder, nullptr);
    if (entered != PPS_DECODER_OK) {
        LOGBASE(LOG_LEV_ERROR, m_function, "CEQControlPPSModule, pps_decoder_push return %d\n", entered);
        return false;
    }
    return true;
}

int JsonValue::EnterArray(const std::string& key) {
    // Objects would let themselves be entered, too.
    m_isInArray = pps_decoder_type(&m_decoder, key.c_str()) == PPS_TYPE_ARRAY;
    if (!m_isInArray) {
        m_missesArray = true;
        return 0;
    }
    pps_decoder_push(&m_decoder, key.c_str());
    return pps_decoder_length(&m_decoder);
}

void JsonValue::LeaveArray() {
    if (m_isInArray) {
        pps_decoder_pop(&m_decoder);
        m_isInArray = false;
    }
}

bool JsonValue::Check(const char* message) {
    const bool hasFailed = pps_decoder_status(&m_decoder, true) != PPS_DECODER_OK;
    if (!hasFailed && !m_missesArray) {
        return true;
    }
    LOGBASE(LOG_LEV_ERROR, m_function, "%s", message);
    return false;
}
