#ifndef TLG_MODEL_VOLUMEANDFADEPAYLOAD_H
#define TLG_MODEL_VOLUMEANDFADEPAYLOAD_H

#include <cstdint>
#include <vector>

#include "model/CEQData.h"

/// What the volume and fade record holds, as the store has it; a builder replaces what its command
/// changes. From the record's type on:
///
///   byte       content
///   0          0, the record type
///   1          audio processor status
///   2          main volume level; bit 7 marks a change by the user
///   3          maximum volume
///   4 to 6     navigation, call and voice volume levels
///   7          maximum power volume
///   8          system mute in bit 0, source mute in bit 1
///   9 to 12    FF, FR, BL, BR
///   13         subwoofer gain
///   14         centre gain
///   15         loudness
struct VolumeAndFadePayload {
    /// Reads the values from the store, each group under its own hold of the store's lock.
    explicit VolumeAndFadePayload(const CEQData& data);

    /// Empties @p payload and appends the sixteen bytes.
    void WriteTo(std::vector<unsigned char>& payload) const;

    std::uint8_t audioIC;
    tagSpeaker speaker;
    tagFadeBalance fade;
    std::uint8_t mainChangeMark = 0; ///< kChangeMark where the user changed the main volume
};

#endif
