#include "tools/ppsd/Connection.h"

#include <poll.h>
#include <sys/socket.h>

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

bool Connection::HasHungUp() const noexcept {
    pollfd state{Fd(), POLLRDHUP, 0};
    return ::poll(&state, 1, 0) > 0 && state.revents != 0;
}

} // namespace ppsd
