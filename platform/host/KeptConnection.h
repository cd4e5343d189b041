#ifndef TLG_PLATFORM_HOST_KEPTCONNECTION_H
#define TLG_PLATFORM_HOST_KEPTCONNECTION_H

#include <string>

#include "platform/host/PpsProtocol.h"
#include "platform/posix/UniqueFd.h"

namespace host {

/// Opens an existing PPS object for writing alone, as OpenPpsObject does, for those who open an object for each write:
/// the connection is kept, and the next open of the same object needs no answer of the server. So an open waits for
/// nobody, but for the first one, which waits for 300 ms at most, and not again until the server has answered.
/// A server that has ended, and an object that was deleted, are found out at each open. Any thread may call it.
///
/// @param path "/pps/..." without options
UniqueFd OpenKept(const std::string& path, PpsReply& reply);

} // namespace host

#endif
