// The data of the source gain record: a count, then for each source its id and its gain (0 to 12).
#include <cinttypes>

#include "framework/LogBase.h"
#include "mcu/CEQMcuFile.h"
#include "model/RecordTypes.h"

bool CEQMcuFile::DealSrcGainData(const unsigned char* data, int size) {
    if (m_pEQData == nullptr || data == nullptr || size <= 0) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__,
                "Param error! function return. m_pEQData[0x%" PRIxPTR "], pBuf[0x%" PRIxPTR "], nSize[%d].\n",
                reinterpret_cast<std::uintptr_t>(m_pEQData), reinterpret_cast<std::uintptr_t>(data), size);
        return false;
    }
    tagSourceParam source;
    source.Count = data[0];
    const int need = 2 * source.Count + 1;
    if (need > size) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "Param error! function return. nSize[%d], nLength[%d]\n", size, need);
        return false;
    }
    for (int i = 0; i < source.Count; ++i) {
        const tagSourceGain entry{data[1 + 2 * i], data[2 + 2 * i]};
        if (entry.Gain > kMaxSourceGain) {
            LOGBASE(LOG_LEV_ERROR, __FUNCTION__,
                    "EQMcuFile::DealSrcGainData(), source ID: %d,gain is out of range(%d~%d):%d\n", entry.SrcId, 0,
                    kMaxSourceGain, entry.Gain);
            return false;
        }
        // More than the table holds is refused by the store, by the count.
        if (i < kSourceCount) {
            source.Src[i] = entry;
        }
    }
    m_pEQData->SetSrcGainData(source);
    return true;
}
