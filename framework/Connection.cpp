#include "framework/Connection.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <new>

namespace TLG::ZOCAR {

namespace {

bool IsSocket(int fd) {
    int type = 0;
    socklen_t size = sizeof type;
    return ::getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size) == 0;
}

bool HasHungUp(int fd) {
    pollfd state{fd, POLLRDHUP, 0};
    return ::poll(&state, 1, 0) > 0 && state.revents != 0;
}

bool IsNoRoom(int error) {
    return error == EAGAIN || error == EINTR || error == ENOBUFS || error == ENOMEM;
}

/// One read. After a reset, what the peer wrote before it can still be read.
ssize_t ReadOnce(int fd, unsigned char* buffer, std::size_t size) {
    const ssize_t length = ::read(fd, buffer, size);
    return length < 0 && errno == ECONNRESET ? ::read(fd, buffer, size) : length;
}

} // namespace

UniqueFd Connection::OpenDescriptor(int oflag) const {
    try {
        UniqueFd opened(::open(m_info.path.c_str(), oflag, static_cast<mode_t>(m_info.mode)));
        if (opened) {
            const int flags = ::fcntl(opened.Get(), F_GETFL);
            ::fcntl(opened.Get(), F_SETFL, flags | O_NONBLOCK);
        }
        return opened;
    } catch (const std::bad_alloc&) {
        // On the host, open() is replaced by code that may need memory.
        errno = ENOMEM;
        return {};
    }
}

void Connection::Observe(ConnectionObserver* observer) {
    const MutexLock lock(m_mutex);
    m_observer = observer;
}

bool Connection::IsObserved() const {
    const MutexLock lock(m_mutex);
    return m_observer != nullptr;
}

bool Connection::Open() {
    UniqueFd opened = OpenDescriptor(m_info.oflag);
    if (!opened) {
        return false;
    }
    const MutexLock lock(m_mutex);
    m_descriptor = std::move(opened);
    m_state = State::kOpen;
    return true;
}

void Connection::Close() {
    const MutexLock lock(m_mutex);
    m_outbox.Close();
    m_descriptor.Reset();
    m_isStarved = false;
    m_state = State::kClosed;
}

void Connection::Lose() {
    const MutexLock lock(m_mutex);
    if (m_state == State::kOpen) {
        m_outbox.Drop("its link is gone");
        m_descriptor.Reset();
        m_isStarved = false;
        m_state = State::kLost;
    }
}

int Connection::Reopen() {
    {
        const MutexLock lock(m_mutex);
        if (m_state != State::kLost) {
            return 0;
        }
        m_state = State::kReopening;
    }
    // The first opening throws away old commands; this one does not. After a restart the server has new commands
    // only, since objects with commands don't survive it. (A server that ended the connection alone would send the
    // old ones again.)
    UniqueFd opened = OpenDescriptor(m_info.oflag & ~kTruncate);
    const int error = opened ? 0 : errno;
    const MutexLock lock(m_mutex);
    if (m_state != State::kReopening) {
        return 0;
    }
    m_descriptor = std::move(opened);
    m_state = m_descriptor ? State::kReturned : State::kLost;
    return error;
}

bool Connection::TakeOver() {
    const MutexLock lock(m_mutex);
    if (m_state != State::kReturned) {
        return false;
    }
    m_state = State::kOpen;
    return true;
}

ReadResult Connection::Read(unsigned char* buffer, std::size_t size) {
    const MutexLock lock(m_mutex);
    if (m_state != State::kOpen) {
        return {};
    }
    const int fd = m_descriptor.Get();
    ssize_t length = ReadOnce(fd, buffer, size);
    if (length == 0 && IsSocket(fd)) {
        if (!HasHungUp(fd)) {
            return {ReadResult::kBlock, 0, 0}; // a packet without content
        }
        // The connection has ended, but a last packet may have come since the first read.
        length = ReadOnce(fd, buffer, size);
    }
    if (length > 0) {
        return {ReadResult::kBlock, static_cast<std::size_t>(length), 0};
    }
    if (length < 0 && (errno == EAGAIN || errno == EINTR)) {
        return {};
    }
    return {ReadResult::kEnded, 0, length == 0 ? 0 : errno};
}

bool Connection::Write(const void* data, std::size_t length) {
    const MutexLock lock(m_mutex);
    if (m_state != State::kOpen) {
        if (m_state != State::kClosed && m_observer != nullptr) {
            m_observer->OnWriteLost();
        }
        errno = m_state == State::kClosed ? EBADF : ENOTCONN;
        return false;
    }
    const ssize_t written = ::write(m_descriptor.Get(), data, length);
    if (written >= 0) {
        errno = EMSGSIZE;
        return static_cast<std::size_t>(written) == length;
    }
    if (IsNoRoom(errno)) {
        m_isStarved = true;
        if (m_observer != nullptr) {
            m_observer->OnRoomNeeded();
        }
        errno = EAGAIN;
    }
    return false;
}

bool Connection::Send(const unsigned char* data, std::size_t length) {
    const MutexLock lock(m_mutex);
    if (m_state != State::kOpen) {
        if (m_state != State::kClosed) {
            m_outbox.CountLost(1, "its link is gone");
        }
        return false;
    }
    std::size_t sent = 0;
    if (m_outbox.Empty()) {
        const ssize_t written = ::write(m_descriptor.Get(), data, length);
        if (written < 0 && !IsNoRoom(errno)) {
            m_outbox.CountLost(1, std::strerror(errno));
            return false;
        }
        sent = written < 0 ? 0 : static_cast<std::size_t>(written);
        if (sent == length) {
            m_outbox.Recover();
            return true;
        }
    }
    if (m_observer != nullptr) {
        m_observer->OnRoomNeeded();
    }
    return m_outbox.Keep(data + sent, length - sent);
}

void Connection::FlushOutbox() {
    while (!m_outbox.Empty()) {
        const auto& packet = m_outbox.Front();
        const ssize_t written = ::write(m_descriptor.Get(), packet.data(), packet.size());
        if (written < 0) {
            if (!IsNoRoom(errno)) {
                // The connection has ended. A read will find that and handle it.
                m_outbox.Drop(std::strerror(errno));
            }
            return;
        }
        m_outbox.Written(static_cast<std::size_t>(written));
    }
    m_outbox.Recover();
}

bool Connection::Flush() {
    const MutexLock lock(m_mutex);
    if (m_state != State::kOpen) {
        return false;
    }
    if (!m_outbox.Empty()) {
        FlushOutbox();
    }
    const bool wasStarved = m_isStarved;
    m_isStarved = false;
    return wasStarved;
}

bool Connection::NeedsRoom() const {
    const MutexLock lock(m_mutex);
    return m_isStarved || !m_outbox.Empty();
}

} // namespace TLG::ZOCAR
