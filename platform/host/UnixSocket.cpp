#include "platform/host/UnixSocket.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace host {

namespace {

constexpr timeval kConnectTimeout{2, 0};

/// The address of a socket in an open directory. A socket address holds some hundred bytes at most;
/// the detour over the descriptor makes room for paths of any length.
bool AddressIn(int directory, const std::string& name, sockaddr_un& address) {
    address = {};
    address.sun_family = AF_UNIX;
    const std::string path = "/proc/self/fd/" + std::to_string(directory) + "/" + name;
    if (path.size() >= sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        return false;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return true;
}

UniqueFd OpenDirectory(const std::filesystem::path& path) {
    return UniqueFd(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

const sockaddr* Generic(const sockaddr_un& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

} // namespace

UniqueFd ConnectTo(const std::string& path) {
    const std::filesystem::path full(path);
    const UniqueFd directory = OpenDirectory(full.parent_path());
    sockaddr_un address{};
    if (!directory || !AddressIn(directory.Get(), full.filename(), address)) {
        return {};
    }
    UniqueFd connection(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    if (!connection) {
        return {};
    }
    ::setsockopt(connection.Get(), SOL_SOCKET, SO_SNDTIMEO, &kConnectTimeout, sizeof kConnectTimeout);
    ::setsockopt(connection.Get(), SOL_SOCKET, SO_RCVTIMEO, &kConnectTimeout, sizeof kConnectTimeout);
    if (::connect(connection.Get(), Generic(address), sizeof address) != 0) {
        return {};
    }
    return connection;
}

bool Listener::Open(const std::string& path) {
    const std::filesystem::path full(path);
    std::error_code error;
    std::filesystem::create_directories(full.parent_path(), error);
    if (error) {
        errno = error.value();
        return false;
    }
    m_directory = OpenDirectory(full.parent_path());
    if (!m_directory) {
        return false;
    }
    if (::flock(m_directory.Get(), LOCK_EX | LOCK_NB) != 0) {
        errno = errno == EWOULDBLOCK ? EADDRINUSE : errno;
        return false;
    }
    sockaddr_un address{};
    if (!AddressIn(m_directory.Get(), full.filename(), address)) {
        return false;
    }
    // With the lock held, a socket that is still there belongs to nobody.
    ::unlink(path.c_str());
    m_socket.Reset(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!m_socket || ::bind(m_socket.Get(), Generic(address), sizeof address) != 0) {
        return false;
    }
    m_path = path;
    return ::listen(m_socket.Get(), SOMAXCONN) == 0;
}

Listener::~Listener() {
    if (!m_path.empty()) {
        ::unlink(m_path.c_str());
    }
}

UniqueFd Listener::Accept() const {
    return UniqueFd(::accept4(m_socket.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
}

} // namespace host
