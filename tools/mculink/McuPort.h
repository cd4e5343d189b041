#ifndef TLG_TOOLS_MCULINK_MCUPORT_H
#define TLG_TOOLS_MCULINK_MCUPORT_H

#include <optional>
#include <string>

#include "platform/posix/UniqueFd.h"

namespace mculink {

/// A connection to an MCU.
struct McuPort {
    UniqueFd fd;           ///< does not block
    bool isStream = false; ///< a character device, whose reads fall anywhere
};

/// Whether a serial line can have this rate, in bits a second.
bool IsBaudRate(int rate);

/// Opens a socket or a character device; a terminal (a serial line or a pty) becomes raw.
///
/// @param baud of a serial line; it keeps its own without
/// @return without a descriptor, and with the reason in @p error, on failure
McuPort OpenMcuPort(const std::string& path, std::optional<int> baud, std::string& error);

} // namespace mculink

#endif
