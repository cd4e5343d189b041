// The volume and fade record: its decoders in the order of the bytes. Each checks its fields and hands them to the
// store; the volume block's decoder is in VolumeDecoding.cpp.
#include <algorithm>
#include <cinttypes>

#include "framework/LogBase.h"
#include "mcu/CEQMcuFile.h"
#include "model/RecordFields.h"

namespace {

constexpr const RecordLayout& kRecord = Layout<VOLUME_AND_FADE_BALANCE>();
constexpr RecordField kAudioIC = kRecord.fields["ic"];
constexpr RecordField kCenterGain = kRecord.fields["center_gain"];
constexpr RecordField kLoud = kRecord.fields["loud"];

struct Step {
    const char* decoder; ///< as the message names it after which the record ends too early
    bool (CEQMcuFile::*decode)(const unsigned char* data, int size, int& consumed);
    int length;
};

constexpr Step kSteps[] = {
    {"DealAudioICData", &CEQMcuFile::DealAudioICData, kRecord.fields.BytesOf("ic")},
    {"DealVolumeData", &CEQMcuFile::DealVolumeData, kRecord.fields.BytesOf("main", "source_mute")},
    {"DealFadBalData", &CEQMcuFile::DealFadBalData, kRecord.fields.BytesOf("ff", "br")},
    {"DealSubWGainData", &CEQMcuFile::DealSubWGainData, kRecord.fields.BytesOf("subwoofer_gain")},
    {"DealCenterGainData", &CEQMcuFile::DealCenterGainData, kRecord.fields.BytesOf("center_gain")},
    {"DealLoudData", &CEQMcuFile::DealLoudData, kRecord.fields.BytesOf("loud")},
};

constexpr int LengthOfAllSteps() {
    int length = 0;
    for (const Step& step : kSteps) {
        length += step.length;
    }
    return length;
}
static_assert(kRecordDataByte + LengthOfAllSteps() == kRecord.FixedSize(), "each byte of the record has a decoder");

} // namespace

bool CEQMcuFile::ParseFadeDataPacket(const unsigned char* data, int size) {
    if (data == nullptr) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "Param error! function return, pBuf[0x%" PRIxPTR "].\n",
                reinterpret_cast<std::uintptr_t>(data));
        return false;
    }
    bool isAccepted = false;
    int position = 0;
    for (const Step& step : kSteps) {
        int consumed = 0;
        isAccepted |= (this->*step.decode)(data + position, size - position, consumed);
        if (&step != std::end(kSteps) - 1 && size - position <= consumed) {
            LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "CEQMcuFile, the mcu data length isn't enougth after %s, nSize = %d\n",
                    step.decoder, size);
            break;
        }
        position += consumed;
    }
    return isAccepted;
}

bool CEQMcuFile::DealAudioICData(const unsigned char* data, int size, int& consumed) {
    if (!FieldIsThere(__FUNCTION__, data, size, 1, consumed)) {
        return false;
    }
    if (!kAudioIC.Allows(data[0])) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "status error! function return. status[%d].\n", data[0]);
        return false;
    }
    m_pEQData->SetAudioICStatus(data[0]);
    return true;
}

bool CEQMcuFile::DealFadBalData(const unsigned char* data, int size, int& consumed) {
    constexpr int kLength = kRecord.fields.BytesOf("ff", "br");
    if (!FieldIsThere(__FUNCTION__, data, size, kLength, consumed)) {
        return false;
    }
    const tagFadeBalance levels{data[0], data[1], data[2], data[3]};
    if (std::any_of(data, data + kLength, [](unsigned char level) { return level > kMaxFadeLevel; })) {
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
    if (!kCenterGain.Allows(data[0])) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "Center gain's value is wrong(%d~%d):%d\n", kCenterGain.range.min,
                kCenterGain.range.max, data[0]);
        return false;
    }
    m_pEQData->SetCenterGainData(data[0]);
    return true;
}

bool CEQMcuFile::DealLoudData(const unsigned char* data, int size, int& consumed) {
    if (!FieldIsThere(__FUNCTION__, data, size, 1, consumed)) {
        return false;
    }
    if (!kLoud.Allows(data[0])) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "Loud status's value is wrong:%d\n", data[0]);
        return false;
    }
    m_pEQData->SetLoudData(data[0]);
    return true;
}

bool CEQMcuFile::DealLoudData(const unsigned char* data, int size) {
    int consumed = 0;
    return DealLoudData(data, size, consumed);
}
