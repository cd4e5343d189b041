// What a band of an equaliser curve may be: both directions check and translate it with these tables.
#ifndef TLG_MODEL_EQTABLES_H
#define TLG_MODEL_EQTABLES_H

#include <iterator>

#include "model/SettingRecords.h"

constexpr int kAllowedQCount = 4;

/// The smallest and the largest frequency index of each band.
inline constexpr int EQ_BAND_FC_MIN[kEqBandCount] = {0, 3, 6, 9, 12};
inline constexpr int EQ_BAND_FC_MAX[kEqBandCount] = {2, 5, 8, 11, 14};

/// The quality factors by Q index.
inline constexpr double EQ_Q[] = {0.75, 1.0, 1.25, 1.5, 2.0};

/// The Q indexes that the first two bands, and the last three, may have.
inline constexpr int EQ_BAND_1TO2_Q_INDEX[kAllowedQCount] = {1, 2, 3, 4};
inline constexpr int EQ_BAND_3TO5_Q_INDEX[kAllowedQCount] = {0, 1, 2, 4};

/// The allowed Q indexes of a band (0 to 4).
constexpr const int (&AllowedQIndexes(int band))[kAllowedQCount] {
    return band < 2 ? EQ_BAND_1TO2_Q_INDEX : EQ_BAND_3TO5_Q_INDEX;
}

/// Whether a band (0 to 4) may have the frequency index.
constexpr bool IsFreqAllowed(int band, int freq) {
    return freq >= EQ_BAND_FC_MIN[band] && freq <= EQ_BAND_FC_MAX[band];
}

/// The allowed Q indexes of a band (0 to 4) as bits.
constexpr unsigned AllowedQBits(int band) {
    unsigned bits = 0;
    for (const int allowed : AllowedQIndexes(band)) {
        bits |= 1U << allowed;
    }
    return bits;
}

/// Whether a band (0 to 4) may have the Q index.
constexpr bool IsQIndexAllowed(int band, int qIndex) {
    constexpr unsigned kBits[] = {AllowedQBits(0), AllowedQBits(1), AllowedQBits(2), AllowedQBits(3), AllowedQBits(4)};
    static_assert(std::size(kBits) == kEqBandCount);
    return static_cast<unsigned>(qIndex) < std::size(EQ_Q) && (kBits[band] >> qIndex & 1U) != 0;
}

/// The Q index that a band (0 to 4) takes for exactly this quality factor; -1 where it has none.
constexpr int AllowedQIndexOf(int band, double q) {
    for (const int allowed : AllowedQIndexes(band)) {
        if (EQ_Q[allowed] == q) {
            return allowed;
        }
    }
    return -1;
}

/// The place of exactly this quality factor in EQ_Q; 0 where it has none.
constexpr int QIndexOf(double q) {
    int index = 0;
    for (const double known : EQ_Q) {
        if (known == q) {
            return index;
        }
        ++index;
    }
    return 0;
}

#endif
