// AF_UNIX sockets of type SOCK_SEQPACKET: one packet is one message.
#ifndef TLG_PLATFORM_HOST_UNIXSOCKET_H
#define TLG_PLATFORM_HOST_UNIXSOCKET_H

#include <string>

#include "platform/posix/UniqueFd.h"

namespace host {

enum class Waiting { Yes, No };

/// Connects to the socket at @p path, which may be of any length. Gives up after two seconds with
/// EAGAIN. Empty on failure, with errno set.
/// @param waiting No: gives up at once, and neither reads nor writes of the connection wait
UniqueFd ConnectTo(const std::string& path, Waiting waiting = Waiting::Yes);

/// A listening socket at a path. It holds the lock of the file ".NAME.lock" beside the socket, so that only one process
/// at a time serves the path. The destructor removes the socket. Not thread-safe.
class Listener {
public:
    Listener() = default;
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;
    ~Listener();

    /// Listens at @p path. Missing directories are made with mode 0755. A socket left by a server that has ended is
    /// replaced. False with errno set on failure: EADDRINUSE when another process serves the path, EPERM when the
    /// lock file is not this user's, EEXIST when something other than a socket is there.
    bool Open(const std::string& path);

    /// Lets every user of the machine connect. False with errno set on failure.
    bool ShareWithAll() const;

    /// Ends listening and removes the socket, so that newcomers are refused at once; the lock stays.
    void EndListening();

    int Fd() const { return m_socket.Get(); }

    /// Accepts one waiting connection without blocking; empty when there is none, with errno set.
    UniqueFd Accept() const;

private:
    bool Lock(const std::string& name);

    UniqueFd m_directory;
    UniqueFd m_lock;
    std::string m_name; // of the socket in the directory; empty before there is one
    UniqueFd m_socket;
};

} // namespace host

#endif
