#include "platform/host/UnixSocket.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace host {

namespace {

constexpr timeval kConnectTimeout{2, 0};

/// The address of a socket in an open directory. A socket address has room for about a hundred bytes.
/// Naming the directory by its descriptor allows paths of any length.
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

/// Makes a directory and the missing ones above it. They have mode 0755, whatever the umask.
bool MakeDirectories(const std::filesystem::path& path) {
    constexpr mode_t kMode = 0755;
    struct stat status {};
    if (path.empty() || ::stat(path.c_str(), &status) == 0) {
        return true;
    }
    if (path.has_relative_path() && !MakeDirectories(path.parent_path())) {
        return false;
    }
    if (::mkdir(path.c_str(), kMode) != 0) {
        return errno == EEXIST;
    }
    const UniqueFd made(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    return made && ::fchmod(made.Get(), kMode) == 0;
}

const sockaddr* Generic(const sockaddr_un& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

} // namespace

UniqueFd ConnectTo(const std::string& path, Waiting waiting) {
    const std::filesystem::path full(path);
    const UniqueFd directory = OpenDirectory(full.parent_path());
    sockaddr_un address{};
    if (!directory || !AddressIn(directory.Get(), full.filename(), address)) {
        return {};
    }
    const int type = SOCK_SEQPACKET | SOCK_CLOEXEC | (waiting == Waiting::No ? SOCK_NONBLOCK : 0);
    UniqueFd connection(::socket(AF_UNIX, type, 0));
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
    if (!MakeDirectories(full.parent_path())) {
        return false;
    }
    m_directory = OpenDirectory(full.parent_path());
    const std::string name = full.filename();
    sockaddr_un address{};
    if (!m_directory || !AddressIn(m_directory.Get(), name, address) || !Lock("." + name + ".lock")) {
        return false;
    }
    // While we hold the lock, no process serves a socket that is still there. Other kinds of files are not removed.
    struct stat status {};
    if (::fstatat(m_directory.Get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
        if (!S_ISSOCK(status.st_mode)) {
            errno = EEXIST;
            return false;
        }
        ::unlinkat(m_directory.Get(), name.c_str(), 0);
    }
    m_socket.Reset(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!m_socket || ::bind(m_socket.Get(), Generic(address), sizeof address) != 0) {
        return false;
    }
    m_name = name;
    return ::listen(m_socket.Get(), SOMAXCONN) == 0;
}

/// Takes the lock of the file @p name beside the socket. Only its owner can open the file, so no other user can lock
/// it. The file is never removed: another process may already hold the lock of the removed file, while a third makes a
/// new file and locks that.
bool Listener::Lock(const std::string& name) {
    constexpr mode_t kOwnerOnly = 0600;
    m_lock.Reset(
        ::openat(m_directory.Get(), name.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, kOwnerOnly));
    struct stat status {};
    if (!m_lock || ::fstat(m_lock.Get(), &status) != 0) {
        return false;
    }
    if (!S_ISREG(status.st_mode) || status.st_uid != ::geteuid()) {
        errno = EPERM;
        return false;
    }
    if (::fchmod(m_lock.Get(), kOwnerOnly) != 0) {
        return false;
    }
    if (::flock(m_lock.Get(), LOCK_EX | LOCK_NB) != 0) {
        errno = errno == EWOULDBLOCK ? EADDRINUSE : errno;
        return false;
    }
    return true;
}

bool Listener::ShareWithAll() const {
    constexpr mode_t kEverybody = 0666;
    // By a descriptor, so that never the mode of a file is changed to which a link points.
    const UniqueFd file(::openat(m_directory.Get(), m_name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (!file || ::fstat(file.Get(), &status) != 0) {
        return false;
    }
    if (!S_ISSOCK(status.st_mode)) {
        errno = ENOTSOCK;
        return false;
    }
    return ::chmod(("/proc/self/fd/" + std::to_string(file.Get())).c_str(), kEverybody) == 0;
}

Listener::~Listener() {
    EndListening();
}

void Listener::EndListening() {
    if (!m_name.empty()) {
        ::unlinkat(m_directory.Get(), m_name.c_str(), 0);
        m_name.clear();
    }
    m_socket.Reset();
}

UniqueFd Listener::Accept() const {
    return UniqueFd(::accept4(m_socket.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
}

} // namespace host
