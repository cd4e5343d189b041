// Setting records as wholes. Offsets are those of the payload:
//
//   type  record                from byte 3 on
//   0     volume and fade       audio processor status; volume block of 7; FF, FR, BL, BR; subwoofer gain;
//                               centre gain; loudness
//   1     EQ                    reserved; current EQ type; 15 bytes for each EQ type
//   2     source gain           count; source id and gain of each source
//   3     listen position       listening position; surround effect
//   4     audio setting         three bytes of bit fields
//   5     ALC                   value
//   7     extended volumes      four volume bytes
#include <cinttypes>

#include "framework/LogBase.h"
#include "mcu/CEQMcuFile.h"
#include "model/RecordTypes.h"

namespace {

constexpr int kDataOffset = 3;

} // namespace

bool CEQMcuFile::ParseRecDataPacket(const unsigned char* payload, int size) {
    constexpr int kSmallestRecord = 4;
    if (payload == nullptr || size < kSmallestRecord) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__,
                "Param error, function return error. pBuf[0x%" PRIxPTR "], nSize[%d], at least need: %d\n",
                reinterpret_cast<std::uintptr_t>(payload), size, kSmallestRecord);
        return false;
    }
    const unsigned char* data = payload + kDataOffset;
    const int dataSize = size - kDataOffset;
    switch (payload[2]) {
    case VOLUME_AND_FADE_BALANCE:
        if (size < 18) {
            LOGBASE(LOG_LEV_INFO, __FUNCTION__,
                    "case VOLUME_AND_FADE_BALANCE,the data isn't enough, need %d BYTEs, only %d BYTEs\n", 18, size);
        }
        return ParseFadeDataPacket(data, dataSize);
    case EQ:
        if (size == kSmallestRecord) {
            // The message has three places for the one size.
            LOGBASE(LOG_LEV_ERROR, __FUNCTION__,
                    "case EQ, wrong MCU data size:%d, need > %d, pBuf[%d] saves the eq type\n", size, size, size);
            return false;
        }
        return ParseEQDataPacket(payload + 4, size - 4);
    case SOURCE_GAIN:
        return DealSrcGainData(data, dataSize);
    case LISTEN_POS:
        return ParseListenPosRecord(data, dataSize);
    case AUDIO_SETTING:
        if (size < 6) {
            LOGBASE(LOG_LEV_INFO, __FUNCTION__,
                    "case AUDIO_SETTING, the data isn't enough, need %d BYTEs, only %d BYTEs\n", 6, size);
        }
        return ParseAudioSettingDataPacket(data, dataSize);
    case ALC:
        return ParseALCDataPacket(data, dataSize);
    case EQ_EXPEND:
        // Said for records that lack two volumes and more; the decoder refuses those that lack one, too.
        if (size < 6) {
            LOGBASE(LOG_LEV_INFO, __FUNCTION__, "case EQ_EXPEND, the data isn't enough, need %d BYTEs, only %d BYTEs\n",
                    4, size);
        }
        return ParseEQEXtendDataPacket(payload + 2, size - 2);
    default:
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "CEQMcuFile, Unknown case:%d\n", payload[2]);
        return false;
    }
}

bool CEQMcuFile::ParseListenPosRecord(const unsigned char* data, int size) {
    constexpr const char* kFunc = "ParseRecDataPacket";
    const int totalSize = size + kDataOffset;
    if (size == 1) {
        LOGBASE(LOG_LEV_INFO, kFunc, "case LISTEN_POS, the data isn't enough, need %d BYTEs, only %d BYTEs\n", 5,
                totalSize);
    }
    int consumed = 0;
    bool accepted = DealListenPosData(data, size, consumed);
    if (size > consumed) {
        accepted |= DealSRSData(data + consumed, size - consumed);
    } else {
        LOGBASE(LOG_LEV_ERROR, kFunc,
                "CEQMcuFile, the mcu data length isn't enougth after DealListenPosData, total mcu data size = %d\n",
                totalSize);
    }
    return accepted;
}

bool CEQMcuFile::ParseFadeDataPacket(const unsigned char* data, int size) {
    struct Field {
        bool (CEQMcuFile::*decode)(const unsigned char*, int, int&);
        const char* cutAfter; // the message where no further field is there
    };
    static constexpr Field kFields[] = {
        {&CEQMcuFile::DealAudioICData,
         "CEQMcuFile, the mcu data length isn't enougth after DealAudioICData, nSize = %d\n"},
        {&CEQMcuFile::DealVolumeData,
         "CEQMcuFile, the mcu data length isn't enougth after DealVolumeData, nSize = %d\n"},
        {&CEQMcuFile::DealFadBalData,
         "CEQMcuFile, the mcu data length isn't enougth after DealFadBalData, nSize = %d\n"},
        {&CEQMcuFile::DealSubWGainData,
         "CEQMcuFile, the mcu data length isn't enougth after DealSubWGainData, nSize = %d\n"},
        {&CEQMcuFile::DealCenterGainData,
         "CEQMcuFile, the mcu data length isn't enougth after DealCenterGainData, nSize = %d\n"},
    };
    if (data == nullptr) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "Param error! function return, pBuf[0x%" PRIxPTR "].\n",
                reinterpret_cast<std::uintptr_t>(data));
        return false;
    }
    bool accepted = false;
    int position = 0;
    for (const Field& field : kFields) {
        int consumed = 0;
        accepted |= (this->*field.decode)(data + position, size - position, consumed);
        if (size - position <= consumed) {
            LOGBASE(LOG_LEV_ERROR, __FUNCTION__, field.cutAfter, size);
            return accepted;
        }
        position += consumed;
    }
    return DealLoudData(data + position, size - position) || accepted;
}

bool CEQMcuFile::ParseAudioSettingDataPacket(const unsigned char* data, int size) {
    if (data == nullptr) {
        HasStoreAndData(__FUNCTION__, data);
        return false;
    }
    int consumed = 0;
    bool accepted = DealDBBData(data, size, consumed);
    accepted |= DealSubwooferData(data, size, consumed);
    if (size <= consumed) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__,
                "CEQMcuFile, the mcu data length isn't enougth after DealDBBData \t\t\t\tand DealSubwooferData, "
                "nSize = %d\n",
                size);
        return accepted;
    }
    int position = consumed;
    accepted |= DealSpeakerModeData(data + position, size - position, consumed);
    if (size - position <= consumed) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__,
                "CEQMcuFile, the mcu data length isn't enougth after DealSpeakerModeData, size = %d\n", size);
        return accepted;
    }
    position += consumed;
    accepted |= DealFrontFilterData(data + position, size - position, consumed);
    accepted |= DealRearFilterData(data + position, size - position, consumed);
    return accepted;
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
