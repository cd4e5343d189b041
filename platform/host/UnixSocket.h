// AF_UNIX sockets of type SOCK_SEQPACKET: one packet is one message.
#ifndef TLG_PLATFORM_HOST_UNIXSOCKET_H
#define TLG_PLATFORM_HOST_UNIXSOCKET_H

#include <string>

#include "platform/posix/UniqueFd.h"

namespace host {

/// Connects to the socket at @p path, however long that is; gives up after two seconds with
/// EAGAIN. Empty on failure, with errno set.
UniqueFd ConnectTo(const std::string& path);

/// A listening socket at a path. It holds a lock on the path's directory as long as it lives, so that
/// one process at a time serves the path, and removes the socket at the end.
class Listener {
public:
    Listener() = default;
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;
    ~Listener();

    /// Listens at @p path. Missing directories are made; what a dead server left is replaced.
    /// False with errno set on failure; EADDRINUSE when another process serves the path.
    bool Open(const std::string& path);

    int Fd() const { return m_socket.Get(); }

    /// Takes one waiting connection, non-blocking; empty when there is none, with errno set.
    UniqueFd Accept() const;

private:
    std::string m_path;
    UniqueFd m_directory; // holds the lock
    UniqueFd m_socket;
};

} // namespace host

#endif
