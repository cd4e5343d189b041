#ifndef TLG_MODEL_MCUCOMMANDS_H
#define TLG_MODEL_MCUCOMMANDS_H

#include <cstdint>

/// Command ids of packets, which are also byte 0 of their payloads.
enum McuCommand : std::uint8_t {
    kControlCommand = 8,       ///< to the MCU: a setting record; numbered and kept pending
    kQueryCommand = 9,         ///< to the MCU: asks for one setting group
    kKeyCommand = 12,          ///< to the MCU: the mute key; not numbered
    kAudioMixCommand = 50,     ///< to the MCU: audio mixing; numbered and kept pending
    kAcknowledgement = 136,    ///< from the MCU: {136, status}, 0 means accepted
    kQueryAnswer = 137,        ///< from the MCU: a setting record
    kReport = 138,             ///< from the MCU, unasked: a setting record
    kKeyAcknowledgement = 140, ///< from the MCU; nothing follows from it
    kAudioMixReport = 178      ///< from the MCU: {178, state}
};

#endif
