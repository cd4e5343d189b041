#include "tools/mculink/Link.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "tools/common/Time.h"
#include "tools/mculink/McuListener.h"

namespace mculink {

namespace {

constexpr std::uint64_t kStopId = 0;
constexpr std::uint64_t kListenerId = 1;
constexpr std::uint64_t kServiceId = 2;
constexpr std::uint64_t kMcuId = 3;

constexpr auto kFirstDelay = std::chrono::milliseconds(100);
constexpr auto kLongestDelay = std::chrono::milliseconds(1000);
/// After this time without a byte, the rest of a packet does not come any more.
constexpr auto kLongestSilence = std::chrono::milliseconds(1000);
constexpr std::size_t kLargestRead = 256U * 1024U;
constexpr int kReadsPerTurn = 64;

enum class ReadResult { Something, Nothing, Ended };

/// One read, with errno set where it ended for another reason than its peer's end.
ReadResult Read(int fd, std::string& text) {
    text.resize(kLargestRead);
    const ssize_t length = ::read(fd, text.data(), text.size());
    text.resize(static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    if (length > 0) {
        return ReadResult::Something;
    }
    if (length < 0) {
        return errno == EAGAIN || errno == EINTR || errno == ECONNRESET ? ReadResult::Nothing : ReadResult::Ended;
    }
    // An empty packet reads like an end.
    pollfd state{fd, POLLIN | POLLRDHUP, 0};
    const bool isEnded = ::poll(&state, 1, 0) != 1 || (state.revents & (POLLRDHUP | POLLHUP | POLLERR)) != 0;
    errno = 0;
    return isEnded ? ReadResult::Ended : ReadResult::Something;
}

std::string Reason() {
    return errno == 0 ? "closed by its peer" : std::strerror(errno);
}

} // namespace

Link::Link(LinkOptions options, std::function<void(const LinkPacket&)> observe, std::function<void()> ready,
           std::function<void(const std::string&)> notice)
    : m_options(std::move(options)),
      m_observe(std::move(observe)),
      m_ready(std::move(ready)),
      m_notice(std::move(notice)) {}

bool Link::Run(int stopFd, std::string& error) {
    if (!m_epoll.Open() || !m_epoll.Add(stopFd, EPOLLIN, kStopId)) {
        error = std::string("cannot wait for packets: ") + std::strerror(errno);
        return false;
    }
    m_nextReach = Clock::now();
    for (bool isStopped = false; !isStopped;) {
        if (m_nextReach && *m_nextReach <= Clock::now() && !ReachMcu(error)) {
            return false;
        }
        OnSilence();
        m_epoll.Wait(TimeoutMs(), [&](std::uint64_t id, std::uint32_t events) {
            isStopped = isStopped || id == kStopId;
            OnEvent(id, events);
        });
        Watch();
    }
    return true;
}

/// Opens the MCU's port and then the device. False, with the reason, where another program has the device.
bool Link::ReachMcu(std::string& error) {
    std::string reason;
    McuPort port = OpenMcuPort(m_options.to, m_options.baud, reason);
    if (!port.fd || !m_epoll.Add(port.fd.Get(), EPOLLIN, kMcuId)) {
        ScheduleReach(port.fd ? std::strerror(errno) : reason);
        return true;
    }
    m_mcu = {std::move(port.fd), port.isStream, {}, 0};
    m_stream = {};
    m_listener.emplace();
    if (!ListenAsMcu(*m_listener, m_options.device, error)) {
        return false;
    }
    if (!m_epoll.Add(m_listener->Fd(), EPOLLIN, kListenerId)) {
        error = std::string("cannot wait for the service: ") + std::strerror(errno);
        return false;
    }
    m_nextReach.reset();
    m_reachDelay = {};
    if (!m_reachReason.empty()) {
        m_notice(m_options.to + ": reached");
        m_reachReason.clear();
    }
    if (const auto ready = std::exchange(m_ready, nullptr)) {
        ready();
    }
    return true;
}

void Link::ScheduleReach(const std::string& reason) {
    if (reason != m_reachReason) {
        m_notice(m_options.to + ": " + reason + "; trying again until it is there");
        m_reachReason = reason;
    }
    m_reachDelay = std::clamp<std::chrono::milliseconds>(m_reachDelay * 2, kFirstDelay, kLongestDelay);
    m_nextReach = Clock::now() + m_reachDelay;
}

void Link::LoseMcu(const std::string& reason) {
    GiveUpWaiting();
    m_mcu = {};
    m_listener.reset();
    Flush(m_service); // the MCU's last words
    LoseService();
    ScheduleReach(reason);
}

/// Accepts the service, if there is none yet; another one waits until its connection ends.
void Link::AcceptService() {
    if (!m_service.fd) {
        m_service.fd = m_listener->Accept();
        if (m_service.fd && !m_epoll.Add(m_service.fd.Get(), EPOLLIN, kServiceId)) {
            LoseService();
        }
    }
}

void Link::LoseService() {
    m_service = {};
}

void Link::OnEvent(std::uint64_t id, std::uint32_t events) {
    Side& side = id == kServiceId ? m_service : m_mcu;
    // Then all that is left is read at once, since the event stays.
    const bool isEnding = (events & (EPOLLHUP | EPOLLERR)) != 0;
    if ((id == kServiceId || id == kMcuId) && side.fd && (events & EPOLLOUT) != 0) {
        Flush(side);
    }
    if (id == kListenerId && m_listener) {
        AcceptService();
    } else if (id == kServiceId && m_service.fd) {
        ReadService(isEnding);
    } else if (id == kMcuId && m_mcu.fd) {
        m_mcu.isStream ? ReadMcuStream(isEnding) : ReadMcu(isEnding);
    }
}

void Link::ReadService(bool isEnding) {
    std::string block;
    for (int i = 0; i < kReadsPerTurn && (isEnding || !m_mcu.IsFull()); ++i) {
        const ReadResult result = Read(m_service.fd.Get(), block);
        if (result == ReadResult::Ended) {
            LoseService();
        }
        if (result != ReadResult::Something) {
            return;
        }
        PassOn(Direction::ToMcu, block);
    }
}

void Link::ReadMcu(bool isEnding) {
    std::string block;
    for (int i = 0; i < kReadsPerTurn && (isEnding || !m_service.IsFull()); ++i) {
        const ReadResult result = Read(m_mcu.fd.Get(), block);
        if (result == ReadResult::Ended) {
            LoseMcu(Reason());
        }
        if (result != ReadResult::Something) {
            return;
        }
        PassOn(Direction::FromMcu, block);
    }
}

void Link::ReadMcuStream(bool isEnding) {
    if (m_service.IsFull() && !isEnding) {
        return;
    }
    std::string bytes;
    const ReadResult result = Read(m_mcu.fd.Get(), bytes);
    if (result == ReadResult::Something && !bytes.empty()) {
        m_stream.Add(bytes);
        TakeFromStream();
        m_silenceEnd = m_stream.IsWaiting() ? std::optional(Clock::now() + kLongestSilence) : std::nullopt;
    } else if (result == ReadResult::Ended || result == ReadResult::Something) {
        LoseMcu(Reason());
    }
}

void Link::TakeFromStream() {
    while (std::optional<std::string> packet = m_stream.Next()) {
        TellPassedOver();
        PassOn(Direction::FromMcu, std::move(*packet));
    }
}

void Link::TellPassedOver() {
    if (const std::size_t count = m_stream.TakePassedOver()) {
        m_notice(m_options.to + ": " + std::to_string(count) + " bytes that are no packet, passed over");
    }
}

void Link::OnSilence() {
    if (m_silenceEnd && *m_silenceEnd <= Clock::now()) {
        GiveUpWaiting();
    }
}

/// Looks for whole packets in what waits for a rest that does not come any more.
void Link::GiveUpWaiting() {
    m_silenceEnd.reset();
    while (m_stream.IsWaiting()) {
        m_stream.GiveUpWaiting();
        TakeFromStream();
    }
    TellPassedOver();
}

void Link::PassOn(Direction direction, std::string block) {
    const bool isToMcu = direction == Direction::ToMcu;
    Side& receiver = isToMcu ? m_mcu : m_service;
    m_observe({std::chrono::system_clock::now().time_since_epoch(), direction, block});
    if (!receiver.fd) {
        return; // nobody listens to the MCU
    }
    if (receiver.isStream) {
        // What is as long as it says can be told from what follows it.
        const std::optional<std::size_t> size = AnnouncedSize(block);
        if (!size || *size > block.size()) {
            m_notice("a damaged packet of " + std::to_string(block.size()) + " bytes from the service, not passed on");
            return;
        }
        block.resize(*size);
    }
    receiver.outbox.push_back(std::move(block));
    Flush(receiver);
}

/// Writes what waits, as far as there is room. What can't be written is dropped: reading will say why.
void Link::Flush(Side& side) {
    while (!side.outbox.empty()) {
        const std::string& block = side.outbox.front();
        const ssize_t length = ::write(side.fd.Get(), block.data() + side.written, block.size() - side.written);
        if (length < 0 && (errno == EAGAIN || errno == EINTR)) {
            return;
        }
        side.written += static_cast<std::size_t>(std::max<ssize_t>(length, 0));
        if (length < 0 || !side.isStream || side.written == block.size()) {
            side.outbox.pop_front();
            side.written = 0;
        }
    }
}

void Link::Watch() const {
    const auto events = [](const Side& side, const Side& other) {
        return (other.IsFull() ? 0U : EPOLLIN) | (side.outbox.empty() ? 0U : EPOLLOUT);
    };
    if (m_service.fd) {
        m_epoll.Modify(m_service.fd.Get(), events(m_service, m_mcu), kServiceId);
    }
    if (m_mcu.fd) {
        m_epoll.Modify(m_mcu.fd.Get(), events(m_mcu, m_service), kMcuId);
    }
    if (m_listener) {
        m_epoll.Modify(m_listener->Fd(), m_service.fd ? 0U : EPOLLIN, kListenerId);
    }
}

int Link::TimeoutMs() const {
    std::optional<Clock::time_point> due = m_nextReach;
    if (m_silenceEnd) {
        due = due ? std::min(*due, *m_silenceEnd) : *m_silenceEnd;
    }
    return due ? MillisecondsUntil(*due) : -1;
}

} // namespace mculink
