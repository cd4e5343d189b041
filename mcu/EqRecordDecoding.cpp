// The EQ record: the current EQ type, then the five bands of each EQ type.
#include <algorithm>

#include "framework/LogBase.h"
#include "mcu/CEQMcuFile.h"
#include "model/RecordFields.h"

namespace {

constexpr const RepeatedEntries& kBands = Layout<EQ>().entries;
constexpr int kBytesPerEqType = kBands.GroupSize();

} // namespace

bool CEQMcuFile::ParseEQDataPacket(const unsigned char* data, int size) {
    if (data == nullptr) {
        HasStoreAndData(__FUNCTION__, data);
        return false;
    }
    int consumed = 0;
    bool isAccepted = DealEqTypeData(data, size, consumed);
    const int rest = size - 1;
    if (rest <= 1) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__,
                "CEQMcuFile, after DealEqTypeData the received data size = %d, total size = %d\n", rest, size);
        return isAccepted;
    }
    if (rest % kBytesPerEqType != 0) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__,
                "case EQ, the data length from the MCU isn't right, \t\t\t    need to be an intergral multiple of "
                "the data numbers needed by one type, \t\t\t    one type need:%d, the received data length:%d, total "
                "MCU size: %d\n",
                kBytesPerEqType, rest, size);
        return isAccepted;
    }
    if (m_pEQData == nullptr) {
        return isAccepted;
    }
    const int count = std::min(rest / kBytesPerEqType, kEqTypeCount);
    m_pEQData->SetEqTypeNumData(count);
    for (int type = 0; type < count; ++type) {
        isAccepted |= DealEqDataByIndex(type, data + 1 + type * kBytesPerEqType, kBytesPerEqType);
    }
    return isAccepted;
}

bool CEQMcuFile::DealEqTypeData(const unsigned char* data, int size, int& consumed) {
    return StoreByte(__FUNCTION__, data, size, consumed, &CEQData::SetEqTypeData);
}

bool CEQMcuFile::DealEqDataByIndex(int index, const unsigned char* data, int size) {
    constexpr RecordField kGain = kBands.fields["gain"];
    constexpr RecordField kFreq = kBands.fields["freq"];
    constexpr RecordField kQ = kBands.fields["q"];
    int consumed = 0;
    if (!FieldIsThere(__FUNCTION__, data, size, kBytesPerEqType, consumed)) {
        return false;
    }
    static thread_local std::vector<tagEQBand> bands(kEqBandCount); // kept for the next EQ type
    for (int band = 0; band < kEqBandCount; ++band) {
        const unsigned char* bytes = data + band * kBands.EntrySize();
        const int freq = bytes[kFreq.byte];
        const int qIndex = bytes[kQ.byte];
        if (!kFreq.Allows(freq, band)) {
            LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "EQMcuFile, eqtype:%d, band %d unkown freq(%d~%d):%d\n", index,
                    band + 1, EQ_BAND_FC_MIN[band], EQ_BAND_FC_MAX[band], freq);
            return false;
        }
        if (!kQ.Allows(qIndex, band)) {
            LOGBASE(LOG_LEV_ERROR, __FUNCTION__,
                    "Deal EqData error! function return, eqtype[%d], band[%d], unkown q:[%d]\n", index, band + 1,
                    qIndex);
            return false;
        }
        bands[static_cast<std::size_t>(band)] = {bytes[kGain.byte], freq, qIndex, EQ_Q[qIndex]};
    }
    m_pEQData->SetEqDataByIndex(index, bands);
    return true;
}
