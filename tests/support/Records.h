// Records that tests begin with and change by the names of their fields.
#ifndef TLG_TESTS_SUPPORT_RECORDS_H
#define TLG_TESTS_SUPPORT_RECORDS_H

#include <utility>

#include "tools/mcusim/Record.h"

using mcusim::Record;

/// Each field has a value of its own.
inline Record VolumeAndFade() {
    Record record(VOLUME_AND_FADE_BALANCE);
    record.With("ic", 1).With("main", 10).With("max", 40).With("navi", 20).With("call", 15).With("voice", 8);
    record.With("max_power", 30).With("ff", 1).With("fr", 2).With("bl", 3).With("br", 4);
    return record.With("subwoofer_gain", 5).With("center_gain", 6).With("loud", 1);
}

/// Flat curves, each band at the lowest frequency that it may have.
inline Record Curves(int types = kEqTypeCount) {
    Record record(EQ);
    for (int entry = 0; entry < types * kEqBandCount; ++entry) {
        record.Add({0, EQ_BAND_FC_MIN[entry % kEqBandCount], 1});
    }
    return record;
}

/// @param entries id and gain of each source
inline Record Sources(std::initializer_list<std::pair<int, int>> entries) {
    Record record(SOURCE_GAIN);
    record.With("count", static_cast<int>(entries.size()));
    for (const auto& [id, gain] : entries) {
        record.Add({id, gain});
    }
    return record;
}

#endif
