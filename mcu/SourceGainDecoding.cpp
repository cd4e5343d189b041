// The source gain record: a count, then the id and the gain of each source.
#include <cinttypes>

#include "framework/LogBase.h"
#include "mcu/CEQMcuFile.h"
#include "model/RecordFields.h"

bool CEQMcuFile::DealSrcGainData(const unsigned char* data, int size) {
    if (m_pEQData == nullptr || data == nullptr || size <= 0) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__,
                "Param error! function return. m_pEQData[0x%" PRIxPTR "], pBuf[0x%" PRIxPTR "], nSize[%d].\n",
                reinterpret_cast<std::uintptr_t>(m_pEQData), reinterpret_cast<std::uintptr_t>(data), size);
        return false;
    }
    constexpr const RepeatedEntries& kEntries = Layout<SOURCE_GAIN>().entries;
    constexpr RecordField kId = kEntries.fields["id"];
    constexpr RecordField kGain = kEntries.fields["gain"];
    tagSourceParam source;
    source.Count = data[0];
    const int need = kEntries.EntrySize() * source.Count + 1;
    if (need > size) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "Param error! function return. nSize[%d], nLength[%d]\n", size, need);
        return false;
    }
    for (int i = 0; i < source.Count; ++i) {
        const unsigned char* bytes = data + 1 + i * kEntries.EntrySize();
        const tagSourceGain entry{bytes[kId.byte], bytes[kGain.byte]};
        if (!kGain.Allows(entry.Gain)) {
            LOGBASE(LOG_LEV_ERROR, __FUNCTION__,
                    "EQMcuFile::DealSrcGainData(), source ID: %d,gain is out of range(%d~%d):%d\n", entry.SrcId,
                    kGain.range.min, kGain.range.max, entry.Gain);
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
