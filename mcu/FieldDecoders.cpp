// The fields of the fixed records, one decoder each: checks its bytes and hands the value to the store.
#include "framework/LogBase.h"
#include "mcu/CEQMcuFile.h"
#include "model/RecordTypes.h"

/// The checks before a field is looked at: store and data are there, and the record has the field's
/// `length` bytes. `consumed` receives the length even where they are missing.
bool CEQMcuFile::FieldIsThere(const char* func, const unsigned char* data, int size, int length, int& consumed) const {
    if (!HasStoreAndData(func, data)) {
        return false;
    }
    consumed = length;
    if (size < length) {
        LOGBASE(LOG_LEV_ERROR, func, "Param error! function return. nSize[%d], nLength[%d]\n", size, length);
        return false;
    }
    return true;
}

/// Decodes a field of one byte that may have any value.
bool CEQMcuFile::StoreByte(const char* func, const unsigned char* data, int size, int& consumed,
                           void (CEQData::*store)(unsigned char)) {
    if (!FieldIsThere(func, data, size, 1, consumed)) {
        return false;
    }
    (m_pEQData->*store)(data[0]);
    return true;
}

bool CEQMcuFile::DealAudioICData(const unsigned char* data, int size, int& consumed) {
    if (!FieldIsThere(__FUNCTION__, data, size, 1, consumed)) {
        return false;
    }
    if (data[0] > 1) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "status error! function return. status[%d].\n", data[0]);
        return false;
    }
    m_pEQData->SetAudioICStatus(data[0]);
    return true;
}

bool CEQMcuFile::DealFadBalData(const unsigned char* data, int size, int& consumed) {
    if (!FieldIsThere(__FUNCTION__, data, size, 4, consumed)) {
        return false;
    }
    const tagFadeBalance levels{data[0], data[1], data[2], data[3]};
    if (levels.FF > kMaxFadeLevel || levels.FR > kMaxFadeLevel || levels.BL > kMaxFadeLevel ||
        levels.BR > kMaxFadeLevel) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "Fade balance's value is wrong(0~%d), ff:%d, fr:%d, bl:%d, br:%d\n",
                kMaxFadeLevel, levels.FF, levels.FR, levels.BL, levels.BR);
        return false;
    }
    m_pEQData->SetFadBalData(levels);
    return true;
}

bool CEQMcuFile::DealSubWGainData(const unsigned char* data, int size, int& consumed) {
    return StoreByte(__FUNCTION__, data, size, consumed, &CEQData::SetSubWGainData);
}

bool CEQMcuFile::DealCenterGainData(const unsigned char* data, int size, int& consumed) {
    if (!FieldIsThere(__FUNCTION__, data, size, 1, consumed)) {
        return false;
    }
    if (data[0] > kMaxCenterGain) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "Center gain's value is wrong(%d~%d):%d\n", 0, kMaxCenterGain, data[0]);
        return false;
    }
    m_pEQData->SetCenterGainData(data[0]);
    return true;
}

bool CEQMcuFile::DealLoudData(const unsigned char* data, int size) {
    int consumed = 0;
    if (!FieldIsThere(__FUNCTION__, data, size, 1, consumed)) {
        return false;
    }
    if (data[0] > 1) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "Loud status's value is wrong:%d\n", data[0]);
        return false;
    }
    m_pEQData->SetLoudData(data[0]);
    return true;
}

bool CEQMcuFile::DealEqTypeData(const unsigned char* data, int size, int& consumed) {
    return StoreByte(__FUNCTION__, data, size, consumed, &CEQData::SetEqTypeData);
}

bool CEQMcuFile::DealListenPosData(const unsigned char* data, int size, int& consumed) {
    return StoreByte(__FUNCTION__, data, size, consumed, &CEQData::SetListenPosData);
}

bool CEQMcuFile::DealSRSData(const unsigned char* data, int size) {
    int consumed = 0;
    return StoreByte(__FUNCTION__, data, size, consumed, &CEQData::SetSRSData);
}

/// Bit 0 of the first byte of the audio setting record.
bool CEQMcuFile::DealDBBData(const unsigned char* data, int size, int& consumed) {
    if (!FieldIsThere(__FUNCTION__, data, size, 1, consumed)) {
        return false;
    }
    m_pEQData->SetDBBData(data[0] & 0x01);
    return true;
}

/// Bits 1 to 5 of the same byte: bit 1 the switch, bit 2 the reversed phase, bits 3 to 5 the filter.
bool CEQMcuFile::DealSubwooferData(const unsigned char* data, int size, int& consumed) {
    if (!FieldIsThere(__FUNCTION__, data, size, 1, consumed)) {
        return false;
    }
    const tagSubwoofer value{static_cast<std::uint8_t>(data[0] >> 1 & 0x01),
                             (data[0] >> 2 & 0x01) != 0 ? kReversedPhase : 0,
                             static_cast<std::uint8_t>(data[0] >> 3 & 0x07)};
    if (value.Filter > kMaxSubwooferFilter) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "Unknown filter(0 ~ 4):%d, function return.\n", value.Filter);
        return false;
    }
    m_pEQData->SetSubwooferData(value);
    return true;
}

/// The second byte: bit 0 the mode, bits 1 to 3 the channel.
bool CEQMcuFile::DealSpeakerModeData(const unsigned char* data, int size, int& consumed) {
    if (!FieldIsThere(__FUNCTION__, data, size, 1, consumed)) {
        return false;
    }
    const tagSpeakerMode value{static_cast<std::uint8_t>(data[0] & 0x01),
                               static_cast<std::uint8_t>(data[0] >> 1 & 0x07)};
    if (value.Channel > kMaxSpeakerChannel) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "unknown channel(%d ~ %d):%d, function return.\n", 0, kMaxSpeakerChannel,
                value.Channel);
        return false;
    }
    m_pEQData->SetSpeakerModeData(value);
    return true;
}

namespace {

/// A half of the third byte: bits 0 to 2 the cut-off, bit 3 the switch.
tagStereoFilterParam StereoFilterOf(int half) {
    return {static_cast<std::uint8_t>(half >> 3 & 0x01), static_cast<std::uint8_t>(half & 0x07)};
}

} // namespace

bool CEQMcuFile::DealFrontFilterData(const unsigned char* data, int size, int& consumed) {
    if (!FieldIsThere(__FUNCTION__, data, size, 1, consumed)) {
        return false;
    }
    m_pEQData->SetFrontFilterData(StereoFilterOf(data[0]));
    return true;
}

bool CEQMcuFile::DealRearFilterData(const unsigned char* data, int size, int& consumed) {
    if (!FieldIsThere(__FUNCTION__, data, size, 1, consumed)) {
        return false;
    }
    m_pEQData->SetRearFilterData(StereoFilterOf(data[0] >> 4));
    return true;
}
