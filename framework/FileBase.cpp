#include "framework/FileBase.h"

#include <fcntl.h>
#include <poll.h>

#include <cerrno>
#include <cstring>

#include "framework/LogBase.h"

namespace TLG::ZOCAR {

namespace {

constexpr int kWriteTimeoutMs = 1000;

/// The target's O_TRUNC. Old commands are thrown away when the service starts, but not when it finds
/// its way back to a server that restarted: what lies there then is new.
constexpr int kTruncate = 0x200;

UniqueFd OpenFile(const fileTagInfo& info, int oflag) {
    return UniqueFd(::open(info.path.c_str(), oflag, static_cast<mode_t>(info.mode)));
}

bool WriteTo(int fd, const void* data, int length) {
    for (;;) {
        const ssize_t written = ::write(fd, data, static_cast<std::size_t>(length));
        if (written == length) {
            return true;
        }
        if (written >= 0) {
            errno = EMSGSIZE;
            return false;
        }
        if (errno == EAGAIN) {
            pollfd room{fd, POLLOUT, 0};
            if (::poll(&room, 1, kWriteTimeoutMs) == 0) {
                errno = ETIMEDOUT;
                return false;
            }
        } else if (errno != EINTR) {
            return false;
        }
    }
}

bool PeerWentAway(int error) {
    return error == EPIPE || error == ECONNRESET || error == ENOTCONN || error == ECONNREFUSED;
}

} // namespace

bool FileBase::Init() {
    return true;
}

bool FileBase::Open() {
    return OpenLogged("device");
}

void FileBase::OnDataChange(unsigned char* /*data*/, int /*length*/) {}

bool FileBase::OpenLogged(const char* what) {
    UniqueFd opened = OpenFile(m_info, m_info.oflag);
    if (!opened) {
        LOGBASE(LOG_LEV_ERROR, "Open", "can't open the %s %s: %s\n", what, m_info.path.c_str(), std::strerror(errno));
        return false;
    }
    Replace(std::make_shared<const UniqueFd>(std::move(opened)), nullptr);
    return true;
}

void FileBase::Close() {
    const std::lock_guard<std::recursive_mutex> delivery(m_deliveryMutex);
    Replace(nullptr, nullptr);
}

void FileBase::Replace(Descriptor descriptor, Descriptor previous) const {
    const std::lock_guard<Mutex> lock(m_descriptorMutex);
    m_descriptor = std::move(descriptor);
    m_previous = std::move(previous);
}

FileBase::Descriptor FileBase::Current() const {
    const std::lock_guard<Mutex> lock(m_descriptorMutex);
    return m_descriptor;
}

bool FileBase::Reopen(const Descriptor& lost) const {
    const std::lock_guard<Mutex> reopening(m_reopenMutex);
    const Descriptor current = Current();
    if (current != lost) {
        return current != nullptr;
    }
    UniqueFd opened = OpenFile(m_info, m_info.oflag & ~kTruncate);
    if (!opened) {
        return false;
    }
    const std::lock_guard<Mutex> lock(m_descriptorMutex);
    if (m_descriptor != lost) {
        return false;
    }
    m_descriptor = std::make_shared<const UniqueFd>(std::move(opened));
    m_previous = lost;
    return true;
}

bool FileBase::Write(const void* data, int length) const {
    const Descriptor descriptor = Current();
    if (!descriptor) {
        errno = EBADF;
        return false;
    }
    return WriteTo(descriptor->Get(), data, length);
}

bool FileBase::WriteReopening(const void* data, int length) const {
    const Descriptor descriptor = Current();
    if (!descriptor) {
        errno = EBADF;
        return false;
    }
    if (WriteTo(descriptor->Get(), data, length)) {
        return true;
    }
    return PeerWentAway(errno) && Reopen(descriptor) && Write(data, length);
}

} // namespace TLG::ZOCAR
