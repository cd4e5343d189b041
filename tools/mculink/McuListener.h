#ifndef TLG_TOOLS_MCULINK_MCULISTENER_H
#define TLG_TOOLS_MCULINK_MCULISTENER_H

#include <string>

#include "platform/host/UnixSocket.h"

namespace mculink {

/// Listens where the service finds its MCU. False, with the reason in @p error, on failure.
bool ListenAsMcu(host::Listener& listener, const std::string& path, std::string& error);

} // namespace mculink

#endif
