#include "tools/ppsd/Connection.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

namespace ppsd {

Channel::Sent Connection::Send(std::string_view packet) noexcept {
    if (::send(Fd(), packet.data(), packet.size(), MSG_NOSIGNAL | MSG_DONTWAIT) >= 0) {
        return Sent::Yes;
    }
    const bool isFull = errno == EAGAIN || errno == EINTR || errno == ENOBUFS || errno == ENOMEM;
    return isFull ? Sent::NoRoom : Sent::Broken;
}

void Connection::WatchForRoom(bool watch) noexcept {
    m_epoll.Modify(Fd(), watch ? EPOLLIN | EPOLLOUT : EPOLLIN, Id());
}

Connection::Received Connection::Receive(std::string& buffer, std::string_view& packet, bool& hungUp) const {
    const ssize_t length = ::recv(Fd(), buffer.data(), buffer.size(), MSG_DONTWAIT | MSG_TRUNC);
    if (length > 0) {
        packet = {buffer.data(), std::min(static_cast<std::size_t>(length), buffer.size())};
        return Received::Content;
    }
    if (length < 0 && errno == ECONNRESET) {
        // The client ended without reading everything. What it wrote before can still be read.
        hungUp = true;
        return Received::Empty;
    }
    if (length < 0) {
        return errno == EAGAIN || errno == EINTR ? Received::Nothing : Received::Ended;
    }
    if (hungUp) {
        return Received::Ended;
    }
    // Either the end or an empty packet, for which nothing is to be done. When a last packet and the end come at the
    // same moment, the kernel may report the end first. Then the packet is there, and is read next.
    pollfd state{Fd(), POLLRDHUP, 0};
    hungUp = ::poll(&state, 1, 0) > 0 && state.revents != 0;
    return Received::Empty;
}

} // namespace ppsd
