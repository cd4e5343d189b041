#ifndef TLG_PLATFORM_HOST_PPSCONNECTION_H
#define TLG_PLATFORM_HOST_PPSCONNECTION_H

#include <chrono>
#include <string>

#include "platform/host/PpsProtocol.h"
#include "platform/posix/UniqueFd.h"

namespace host {

/// Connects to the PPS server and makes one request.
///
/// @param request as in PpsProtocol.h
/// @param reply   receives the server's answer, or why there is none; a missing server is ECONNREFUSED
/// @return the connection; empty unless the reply is "ok". It blocks, for two seconds at most in each step.
UniqueFd RequestOfPpsServer(const std::string& request, PpsReply& reply);

/// The same, but waits for the answer for @p patience at most. Without an answer in that time, @p unanswered receives
/// the connection on which the answer is still to come.
UniqueFd RequestOfPpsServer(const std::string& request, PpsReply& reply, std::chrono::milliseconds patience,
                            UniqueFd& unanswered);

/// Opens a PPS object as on the target: the descriptor is read, written and polled, and reads do not
/// block unless the path has the option "wait".
///
/// @param path  "/pps/..." with options
/// @param oflag the target's open flags
/// @param mode  the permissions of an object that this open creates
UniqueFd OpenPpsObject(const std::string& path, int oflag, PpsReply& reply, mode_t mode = kDefaultMode);

/// Receives one packet of at most kMaxPacket bytes. False on errors, with errno set, and at the end of
/// the connection, with errno 0.
bool ReceivePacket(int fd, std::string& packet);

} // namespace host

#endif
