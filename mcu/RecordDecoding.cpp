// Setting records as wholes: which decoder a record has, and the records of one or two plain bytes. Where each field
// is stands in model/RecordFields.h.
#include <cinttypes>

#include "framework/LogBase.h"
#include "mcu/CEQMcuFile.h"
#include "model/RecordFields.h"

namespace {

constexpr int kSmallestRecord = kRecordDataByte + 1;
constexpr int kEqTypeByte = Layout<EQ>().fields["type"].byte;
constexpr int kVolumeAndFadeSize = Layout<VOLUME_AND_FADE_BALANCE>().FixedSize();
constexpr int kAudioSettingSize = Layout<AUDIO_SETTING>().FixedSize();
constexpr int kExtendedVolumesSize = Layout<EQ_EXPEND>().FixedSize();

} // namespace

/// Whether there is a store to decode into and data to decode; logs in the caller's name where not.
bool CEQMcuFile::HasStoreAndData(const char* function, const unsigned char* data) const {
    if (m_pEQData != nullptr && data != nullptr) {
        return true;
    }
    LOGBASE(LOG_LEV_ERROR, function, "Param error! function return. m_pEQData[0x%" PRIxPTR "], pBuf[0x%" PRIxPTR "].\n",
            reinterpret_cast<std::uintptr_t>(m_pEQData), reinterpret_cast<std::uintptr_t>(data));
    return false;
}

/// The checks before a field is looked at: store and data are there, and the record has the field's
/// `length` bytes. `consumed` receives the length even where they are missing.
bool CEQMcuFile::FieldIsThere(const char* function, const unsigned char* data, int size, int length,
                              int& consumed) const {
    if (!HasStoreAndData(function, data)) {
        return false;
    }
    consumed = length;
    if (size < length) {
        LOGBASE(LOG_LEV_ERROR, function, "Param error! function return. nSize[%d], nLength[%d]\n", size, length);
        return false;
    }
    return true;
}

/// Decodes a field of one byte that may have any value.
bool CEQMcuFile::StoreByte(const char* function, const unsigned char* data, int size, int& consumed,
                           void (CEQData::*store)(unsigned char)) {
    if (!FieldIsThere(function, data, size, 1, consumed)) {
        return false;
    }
    (m_pEQData->*store)(data[0]);
    return true;
}

/// (The message about a short EQ record has three places for the one size.)
bool CEQMcuFile::ParseRecDataPacket(const unsigned char* payload, int size) {
    if (payload == nullptr || size < kSmallestRecord) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__,
                "Param error, function return error. pBuf[0x%" PRIxPTR "], nSize[%d], at least need: %d\n",
                reinterpret_cast<std::uintptr_t>(payload), size, kSmallestRecord);
        return false;
    }
    const unsigned char* data = payload + kRecordDataByte;
    const int dataSize = size - kRecordDataByte;
    switch (payload[kRecordTypeByte]) {
    case VOLUME_AND_FADE_BALANCE:
        if (size < kVolumeAndFadeSize) {
            LOGBASE(LOG_LEV_INFO, __FUNCTION__,
                    "case VOLUME_AND_FADE_BALANCE,the data isn't enough, need %d BYTEs, only %d BYTEs\n",
                    kVolumeAndFadeSize, size);
        }
        return ParseFadeDataPacket(data, dataSize);
    case EQ:
        if (size == kSmallestRecord) {
            LOGBASE(LOG_LEV_ERROR, __FUNCTION__,
                    "case EQ, wrong MCU data size:%d, need > %d, pBuf[%d] saves the eq type\n", size, size, size);
            return false;
        }
        return ParseEQDataPacket(payload + kEqTypeByte, size - kEqTypeByte);
    case SOURCE_GAIN:
        return DealSrcGainData(data, dataSize);
    case LISTEN_POS:
        return ParseListenPosRecord(data, dataSize);
    case AUDIO_SETTING:
        if (size < kAudioSettingSize) {
            LOGBASE(LOG_LEV_INFO, __FUNCTION__,
                    "case AUDIO_SETTING, the data isn't enough, need %d BYTEs, only %d BYTEs\n", kAudioSettingSize,
                    size);
        }
        return ParseAudioSettingDataPacket(data, dataSize);
    case ALC:
        return ParseALCDataPacket(data, dataSize);
    case EQ_EXPEND:
        // The message is for records that lack two volumes or more; the decoder refuses those that lack one, too.
        if (size < kExtendedVolumesSize - 1) {
            LOGBASE(LOG_LEV_INFO, __FUNCTION__, "case EQ_EXPEND, the data isn't enough, need %d BYTEs, only %d BYTEs\n",
                    kVolumeCount, size);
        }
        return ParseEQEXtendDataPacket(payload + kRecordTypeByte, size - kRecordTypeByte);
    default:
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "CEQMcuFile, Unknown case:%d\n", payload[kRecordTypeByte]);
        return false;
    }
}

bool CEQMcuFile::ParseListenPosRecord(const unsigned char* data, int size) {
    constexpr const char* kFunction = "ParseRecDataPacket";
    const int totalSize = size + kRecordDataByte;
    if (size == 1) {
        LOGBASE(LOG_LEV_INFO, kFunction, "case LISTEN_POS, the data isn't enough, need %d BYTEs, only %d BYTEs\n",
                Layout<LISTEN_POS>().FixedSize(), totalSize);
    }
    int consumed = 0;
    bool isAccepted = DealListenPosData(data, size, consumed);
    if (size > consumed) {
        isAccepted |= DealSRSData(data + consumed, size - consumed);
    } else {
        LOGBASE(LOG_LEV_ERROR, kFunction,
                "CEQMcuFile, the mcu data length isn't enougth after DealListenPosData, total mcu data size = %d\n",
                totalSize);
    }
    return isAccepted;
}

bool CEQMcuFile::DealListenPosData(const unsigned char* data, int size, int& consumed) {
    return StoreByte(__FUNCTION__, data, size, consumed, &CEQData::SetListenPosData);
}

bool CEQMcuFile::DealSRSData(const unsigned char* data, int size) {
    int consumed = 0;
    return StoreByte(__FUNCTION__, data, size, consumed, &CEQData::SetSRSData);
}

bool CEQMcuFile::ParseALCDataPacket(const unsigned char* data, int size) {
    if (!HasStoreAndData(__FUNCTION__, data)) {
        return false;
    }
    if (size <= 0) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "Param error! function return. nSize[%d] <= 0.\n", size);
        return false;
    }
    m_pEQData->SetALCData(data[0]);
    return true;
}
