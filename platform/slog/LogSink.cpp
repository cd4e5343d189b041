#include "platform/slog/LogSink.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/slog.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <utility>

namespace {

/// The largest size that a user without privileges may give a pipe, by default.
constexpr int kPipeCapacity = 1 << 20;

/// Calls @p attempt(), which returns a number of bytes or -1, until no signal interrupts it.
template <typename Attempt>
ssize_t Uninterrupted(Attempt attempt) {
    ssize_t result = -1;
    do {
        result = attempt();
    } while (result < 0 && errno == EINTR);
    return result;
}

std::int64_t NowMs() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
}

bool WritePlain(std::string_view line) {
    return Uninterrupted([line] { return ::write(STDERR_FILENO, line.data(), line.size()); }) ==
           static_cast<ssize_t>(line.size());
}

} // namespace

bool LogSink::Write(std::string_view line) noexcept {
    Follow();
    bool isWritten = false;
    if (m_way == Way::Plain) {
        isWritten = ReportLoss(WritePlain) && WritePlain(line);
    } else {
        const MutexLock lock(m_mutex);
        const auto write = [this](std::string_view each) {
            m_mutex.AssumeHeld();
            return WriteWhole(each);
        };
        isWritten = ReportLoss(write) && WriteWhole(line);
    }
    if (!isWritten && errno != EAGAIN) {
        m_nextLookMs = 0; // the file may be gone
    }
    m_dropped += isWritten || line.empty() ? 0 : 1;
    return isWritten;
}

/// Looks at standard error, unless that was done just now and a wrong way to write could not wait.
void LogSink::Follow() noexcept {
    const std::int64_t now = NowMs();
    if (m_way != Way::Plain && now < m_nextLookMs) {
        return;
    }
    struct stat standardError {};
    const MutexLock lock(m_mutex);
    if (::fstat(STDERR_FILENO, &standardError) != 0) {
        m_way = Way::Plain; // every write fails
        m_device = 0;
        m_inode = 0;
        m_own.Reset();
        m_restLength = 0;
    } else if (standardError.st_dev != m_device || standardError.st_ino != m_inode) {
        Choose(standardError);
    }
    m_nextLookMs = now + kFollowMs;
}

/// Resets the members, as standard error is another file than before.
void LogSink::Choose(const struct stat& standardError) noexcept {
    m_device = standardError.st_dev;
    m_inode = standardError.st_ino;
    m_restLength = 0;
    m_own.Reset();
    m_way = S_ISREG(standardError.st_mode) ? Way::Plain : S_ISSOCK(standardError.st_mode) ? Way::Socket : Way::Asking;
    if (!S_ISFIFO(standardError.st_mode) && !S_ISCHR(standardError.st_mode)) {
        return;
    }
    UniqueFd own(::open("/proc/self/fd/2", O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat opened {};
    const bool isSame =
        own && ::fstat(own.Get(), &opened) == 0 && opened.st_dev == m_device && opened.st_ino == m_inode;
    if (isSame) {
        // So that a burst of messages finds room. If the system refuses, the pipe keeps its size.
        ::fcntl(own.Get(), F_SETPIPE_SZ, kPipeCapacity);
        m_own = std::move(own);
        m_way = Way::Own;
    }
}

/// Writes as much as there is room for now. Returns the number of bytes, or -1 for none.
ssize_t LogSink::TryWrite(std::string_view bytes) const noexcept {
    return Uninterrupted([way = m_way.load(), own = m_own.Get(), bytes]() -> ssize_t {
        pollfd standardError{STDERR_FILENO, POLLOUT, 0};
        switch (way) {
        case Way::Own:
            return ::write(own, bytes.data(), bytes.size());
        case Way::Socket:
            return ::send(STDERR_FILENO, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        case Way::Plain:
            return ::write(STDERR_FILENO, bytes.data(), bytes.size());
        case Way::Asking:
            break;
        }
        return ::poll(&standardError, 1, 0) == 1 ? ::write(STDERR_FILENO, bytes.data(), bytes.size()) : -1;
    });
}

/// Writes a line, and keeps the rest where only a part was written. False when nothing of the line was written.
bool LogSink::WriteWhole(std::string_view line) noexcept {
    if (!WriteRest()) {
        return false;
    }
    const ssize_t taken = line.empty() ? 0 : TryWrite(line);
    if (taken < 0) {
        return false;
    }
    line.remove_prefix(static_cast<std::size_t>(taken));
    std::copy(line.begin(), line.end(), m_rest.begin());
    m_restLength = line.size();
    return true;
}

/// Writes the rest of an earlier line. True when none is left.
bool LogSink::WriteRest() noexcept {
    const ssize_t taken = m_restLength == 0 ? 0 : TryWrite({m_rest.data(), m_restLength});
    if (taken < 0) {
        return false;
    }
    std::copy(m_rest.begin() + taken, m_rest.begin() + static_cast<std::ptrdiff_t>(m_restLength), m_rest.begin());
    m_restLength -= static_cast<std::size_t>(taken);
    return m_restLength == 0;
}

/// Writes the line about dropped messages, if there are any, with @p put(line). False when that fails.
template <typename Put>
bool LogSink::ReportLoss(Put put) noexcept {
    const unsigned long dropped = m_dropped.exchange(0);
    if (dropped == 0 || !m_reportsLoss) {
        return true;
    }
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "slogf: %lu messages dropped", dropped);
    if (put(LogLine(_SLOG_WARNING, 0, text.data()).Text())) {
        return true;
    }
    m_dropped += dropped;
    return false;
}
