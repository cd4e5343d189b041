#include "platform/host/PpsConnection.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <cerrno>
#include <cstring>

#include "platform/host/Root.h"
#include "platform/host/UnixSocket.h"

namespace host {

namespace {

constexpr std::chrono::milliseconds kAnswerTimeout(2000);
constexpr int kStateTimeoutMs = 2000;

UniqueFd Failed(PpsReply& reply, int error) {
    // A missing socket means that the server is missing, not the object.
    reply.error = error == ENOENT || error == ENOTDIR ? ECONNREFUSED : error;
    reply.reason =
        reply.error == ECONNREFUSED ? "no PPS server at " + BelowRoot(kPpsSocket) : std::strerror(reply.error);
    return {};
}

} // namespace

UniqueFd RequestOfPpsServer(const std::string& request, PpsReply& reply, std::chrono::milliseconds patience,
                            UniqueFd& unanswered) {
    if (request.size() > kMaxRequest) {
        return Failed(reply, ENAMETOOLONG);
    }
    UniqueFd connection = ConnectTo(BelowRoot(kPpsSocket));
    if (!connection) {
        return Failed(reply, errno);
    }
    // A server that takes no more clients answers and ends the connection before it has read the request.
    if (::send(connection.Get(), request.data(), request.size(), MSG_NOSIGNAL) < 0 && errno != EPIPE) {
        return Failed(reply, errno);
    }
    pollfd state{connection.Get(), POLLIN, 0};
    if (::poll(&state, 1, static_cast<int>(patience.count())) == 0) {
        unanswered = std::move(connection);
        return Failed(reply, EAGAIN);
    }
    std::string answer;
    if (!ReceivePacket(connection.Get(), answer)) {
        return Failed(reply, errno == 0 ? ECONNRESET : errno);
    }
    reply = ParseReply(answer);
    return reply.error == 0 ? std::move(connection) : UniqueFd();
}

UniqueFd RequestOfPpsServer(const std::string& request, PpsReply& reply) {
    UniqueFd unanswered;
    return RequestOfPpsServer(request, reply, kAnswerTimeout, unanswered);
}

UniqueFd OpenPpsObject(const std::string& path, int oflag, PpsReply& reply, mode_t mode) {
    UniqueFd connection = RequestOfPpsServer(RenderOpen(oflag, mode, path), reply);
    if (!connection) {
        return {};
    }
    std::string_view pathOnly = path;
    const PpsOptions options = SplitOptions(pathOnly);
    if ((oflag & target_flags::kAccessMask) != target_flags::kWriteOnly && !options.acknowledge) {
        // The state comes right after the answer. It is waited for, so that the first read finds it.
        pollfd state{connection.Get(), POLLIN, 0};
        ::poll(&state, 1, kStateTimeoutMs);
    }
    if (options.wait) {
        constexpr timeval kForever{0, 0};
        ::setsockopt(connection.Get(), SOL_SOCKET, SO_RCVTIMEO, &kForever, sizeof kForever);
    } else {
        ::fcntl(connection.Get(), F_SETFL, O_NONBLOCK);
    }
    return connection;
}

bool ReceivePacket(int fd, std::string& packet) {
    packet.resize(kMaxPacket);
    ssize_t length = 0;
    do {
        length = ::recv(fd, packet.data(), packet.size(), 0);
    } while (length < 0 && errno == EINTR);
    if (length < 0 && errno == ECONNRESET) {
        // The server ended the connection before it had read everything. What it sent before can still be read.
        length = ::recv(fd, packet.data(), packet.size(), MSG_DONTWAIT);
    }
    if (length == 0) {
        // When a last packet and the end come at the same moment, the kernel may report the end first.
        length = ::recv(fd, packet.data(), packet.size(), MSG_DONTWAIT);
    }
    packet.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
    if (length == 0) {
        errno = 0;
    }
    return length > 0;
}

} // namespace host
