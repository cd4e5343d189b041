#ifndef TLG_TOOLS_PANEL_PEERUSER_H
#define TLG_TOOLS_PANEL_PEERUSER_H

#include <sys/types.h>

#include <optional>

namespace panel {

/// The user who has the other end of a TCP connection within this machine, at 127.0.0.1. Nothing where the kernel does
/// not tell.
std::optional<uid_t> UserOfPeer(int peerPort, int ownPort);

} // namespace panel

#endif
