#ifndef TLG_TOOLS_PANEL_PACKETDETAIL_H
#define TLG_TOOLS_PANEL_PACKETDETAIL_H

#include <string>

#include "tools/mculink/LinkPacket.h"

namespace panel {

/// A packet byte by byte, for people: the header number by number, then a line for each byte of the payload, with the
/// fields in it.
std::string DetailOf(const mculink::LinkPacket& packet);

} // namespace panel

#endif
