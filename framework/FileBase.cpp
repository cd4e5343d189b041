#include "framework/FileBase.h"

#include <fcntl.h>
#include <poll.h>

#include <cerrno>
#include <chrono>
#include <cstring>

#include "framework/LogBase.h"

namespace TLG::ZOCAR {

namespace {

constexpr int kRoomTimeoutMs = 1000;
constexpr int kRoomSliceMs = 20;
constexpr auto kLongReopening = std::chrono::milliseconds(500);
constexpr auto kReopenPause = std::chrono::seconds(5);

UniqueFd OpenFile(const fileTagInfo& info, int oflag) {
    return UniqueFd(::open(info.path.c_str(), oflag, static_cast<mode_t>(info.mode)));
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
    Replace(std::make_shared<const UniqueFd>(std::move(opened)));
    return true;
}

void FileBase::Close() {
    // First of all closed, so that a delivery under way comes to its end.
    Replace(nullptr);
    const std::lock_guard<std::recursive_mutex> delivery(m_deliveryMutex);
}

void FileBase::Replace(Descriptor descriptor) const {
    const std::lock_guard<Mutex> lock(m_descriptorMutex);
    m_descriptor = std::move(descriptor);
    m_previous = nullptr;
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
    // Old commands are thrown away when the service starts, but not when it finds its way back to a server that
    // restarted: what lies there then is new.
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

/// Reopens for a write, unless a server that does not answer was waited for a moment ago.
bool FileBase::ReopenSoon(const Descriptor& lost) const {
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    if (start.time_since_epoch().count() < m_noReopenBefore) {
        return false;
    }
    const bool isOpen = Reopen(lost);
    if (!isOpen && Clock::now() - start > kLongReopening) {
        m_noReopenBefore = (Clock::now() + kReopenPause).time_since_epoch().count();
    }
    return isOpen;
}

bool FileBase::WriteTo(const Descriptor& descriptor, const void* data, int length) const {
    for (int waited = 0;; waited += kRoomSliceMs) {
        const ssize_t written = ::write(descriptor->Get(), data, static_cast<std::size_t>(length));
        if (written >= 0) {
            m_isCongested = false;
            errno = EMSGSIZE;
            return written == length;
        }
        if (errno != EAGAIN && errno != EINTR) {
            return false;
        }
        if (m_isCongested || waited >= kRoomTimeoutMs) {
            m_isCongested = true;
            errno = ETIMEDOUT;
            return false;
        }
        // There may be room long before poll says so, which is why the write is tried anew after each slice.
        pollfd room{descriptor->Get(), POLLOUT, 0};
        ::poll(&room, 1, kRoomSliceMs);
        if (Current() != descriptor) {
            errno = EBADF;
            return false;
        }
    }
}

bool FileBase::Write(const void* data, int length) const {
    const Descriptor descriptor = Current();
    if (!descriptor) {
        errno = EBADF;
        return false;
    }
    return WriteTo(descriptor, data, length);
}

bool FileBase::WriteReopening(const void* data, int length) const {
    const Descriptor descriptor = Current();
    if (!descriptor) {
        errno = EBADF;
        return false;
    }
    if (WriteTo(descriptor, data, length)) {
        return true;
    }
    return PeerWentAway(errno) && ReopenSoon(descriptor) && Write(data, length);
}

} // namespace TLG::ZOCAR
