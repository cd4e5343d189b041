// The audio setting record: three bytes of bit fields, some with several decoders.
#include "framework/LogBase.h"
#include "mcu/CEQMcuFile.h"
#include "model/RecordFields.h"

namespace {

constexpr const FieldList& kFields = Layout<AUDIO_SETTING>().fields;

/// The value of a field in its byte, as the store keeps it.
std::uint8_t ByteValue(const RecordField& field, unsigned char content) {
    return static_cast<std::uint8_t>(field.ValueIn(content));
}

} // namespace

bool CEQMcuFile::ParseAudioSettingDataPacket(const unsigned char* data, int size) {
    if (data == nullptr) {
        HasStoreAndData(__FUNCTION__, data);
        return false;
    }
    int consumed = 0;
    bool isAccepted = DealDBBData(data, size, consumed);
    isAccepted |= DealSubwooferData(data, size, consumed);
    if (size <= consumed) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__,
                "CEQMcuFile, the mcu data length isn't enougth after DealDBBData \t\t\t\tand DealSubwooferData, "
                "nSize = %d\n",
                size);
        return isAccepted;
    }
    int position = consumed;
    isAccepted |= DealSpeakerModeData(data + position, size - position, consumed);
    if (size - position <= consumed) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__,
                "CEQMcuFile, the mcu data length isn't enougth after DealSpeakerModeData, size = %d\n", size);
        return isAccepted;
    }
    position += consumed;
    isAccepted |= DealFrontFilterData(data + position, size - position, consumed);
    isAccepted |= DealRearFilterData(data + position, size - position, consumed);
    return isAccepted;
}

bool CEQMcuFile::DealDBBData(const unsigned char* data, int size, int& consumed) {
    constexpr RecordField kDBB = kFields["dbb"];
    if (!FieldIsThere(__FUNCTION__, data, size, 1, consumed)) {
        return false;
    }
    m_pEQData->SetDBBData(ByteValue(kDBB, data[0]));
    return true;
}

bool CEQMcuFile::DealSubwooferData(const unsigned char* data, int size, int& consumed) {
    constexpr RecordField kOnOff = kFields["subwoofer"];
    constexpr RecordField kPhase = kFields["phase"];
    constexpr RecordField kFilter = kFields["filter"];
    if (!FieldIsThere(__FUNCTION__, data, size, 1, consumed)) {
        return false;
    }
    const tagSubwoofer value{ByteValue(kOnOff, data[0]), kPhase.ValueIn(data[0]), ByteValue(kFilter, data[0])};
    if (!kFilter.Allows(value.Filter)) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "Unknown filter(0 ~ 4):%d, function return.\n", value.Filter);
        return false;
    }
    m_pEQData->SetSubwooferData(value);
    return true;
}

bool CEQMcuFile::DealSpeakerModeData(const unsigned char* data, int size, int& consumed) {
    constexpr RecordField kMode = kFields["mode"];
    constexpr RecordField kChannel = kFields["channel"];
    if (!FieldIsThere(__FUNCTION__, data, size, 1, consumed)) {
        return false;
    }
    const tagSpeakerMode value{ByteValue(kMode, data[0]), ByteValue(kChannel, data[0])};
    if (!kChannel.Allows(value.Channel)) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "unknown channel(%d ~ %d):%d, function return.\n", kChannel.range.min,
                kChannel.range.max, value.Channel);
        return false;
    }
    m_pEQData->SetSpeakerModeData(value);
    return true;
}

bool CEQMcuFile::DealFrontFilterData(const unsigned char* data, int size, int& consumed) {
    constexpr RecordField kOnOff = kFields["front"];
    constexpr RecordField kCutoff = kFields["front_cutoff"];
    if (!FieldIsThere(__FUNCTION__, data, size, 1, consumed)) {
        return false;
    }
    m_pEQData->SetFrontFilterData({ByteValue(kOnOff, data[0]), ByteValue(kCutoff, data[0])});
    return true;
}

bool CEQMcuFile::DealRearFilterData(const unsigned char* data, int size, int& consumed) {
    constexpr RecordField kOnOff = kFields["rear"];
    constexpr RecordField kCutoff = kFields["rear_cutoff"];
    if (!FieldIsThere(__FUNCTION__, data, size, 1, consumed)) {
        return false;
    }
    m_pEQData->SetRearFilterData({ByteValue(kOnOff, data[0]), ByteValue(kCutoff, data[0])});
    return true;
}
