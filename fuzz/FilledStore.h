#ifndef TLG_FUZZ_FILLEDSTORE_H
#define TLG_FUZZ_FILLEDSTORE_H

#include <cstdint>

#include "mcu/CEQMcuFile.h"
#include "tools/mcusim/RandomReports.h"

/// Brings a store into one of 256 states: as it is before any report for 0, otherwise as a sequence of random reports
/// of the simulated MCU leaves it, in the volume scheme 1 for odd numbers.
inline void FillStore(CEQData& store, CEQMcuFile& link, std::uint8_t state) {
    if (state == 0) {
        return;
    }
    constexpr int kReports = 32;
    store.SetVolumeScheme(state & 1);
    mcusim::RandomReports reports(state);
    for (int i = 0; i < kReports; ++i) {
        mculink::Bytes packet = reports.Next();
        link.ProcessDataPacket(packet.data(), static_cast<int>(packet.size()));
    }
}

/// Whether the MCU side takes at least a field of the record, which is given from its type on.
inline bool McuAccepts(CEQMcuFile& link, const std::vector<unsigned char>& payload) {
    std::vector<unsigned char> record{8, 2};
    record.insert(record.end(), payload.begin(), payload.end());
    return link.ParseRecDataPacket(record.data(), static_cast<int>(record.size()));
}

#endif
