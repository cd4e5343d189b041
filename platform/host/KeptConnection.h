#ifndef TLG_PLATFORM_HOST_KEPTCONNECTION_H
#define TLG_PLATFORM_HOST_KEPTCONNECTION_H

#include <string>

#include "platform/host/PpsProtocol.h"
#include "platform/posix/UniqueFd.h"

namespace host {

/// Opens an existing PPS object for writing alone, for callers that open an object for each write. The connection is
/// kept, so the next open of the same object needs no answer of the server. Only the first open waits, for 300 ms at
/// most. Where no answer comes in that time, opens fail at once until the server has answered. Each open notices
/// when the server has ended or the object was deleted. Any thread may call it.
///
/// @param path "/pps/..." without options
UniqueFd OpenKept(const std::string& path, PpsReply& reply);

} // namespace host

#endif
