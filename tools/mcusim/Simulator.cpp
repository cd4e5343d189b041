#include "tools/mcusim/Simulator.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <utility>

#include "framework/SystemFiles.h"
#include "model/McuCommands.h"
#include "platform/host/Root.h"

namespace mcusim {

namespace {

constexpr std::uint64_t kListenerId = ~std::uint64_t{0};
constexpr std::uint64_t kStopId = kListenerId - 1;
constexpr std::uint64_t kOrdersId = kListenerId - 2;
constexpr std::size_t kMaxBlock = 64U * 1024U;
constexpr std::size_t kMaxOrder = 1024;
constexpr std::size_t kMaxQuoted = 60;
constexpr std::size_t kMaxOutbox = 1024;
constexpr auto kLargestLag = std::chrono::milliseconds(10);

std::string_view View(const Bytes& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

} // namespace

Simulator::Simulator(const Options& options) : m_options(options) {
    if (options.seed) {
        m_random.emplace(*options.seed);
    }
}

bool Simulator::Start(std::string& error) {
    const std::string path = host::BelowRoot(TLG::ZOCAR::g_eqMCU.path);
    if (!m_listener.Open(path) || !m_epoll.Open() || !m_epoll.Add(m_listener.Fd(), EPOLLIN, kListenerId)) {
        error =
            "cannot listen at " + path + ": " + (errno == EADDRINUSE ? "another MCU runs there" : std::strerror(errno));
        return false;
    }
    return true;
}

void Simulator::Run(int stopFd, int commandFd) {
    m_epoll.Add(stopFd, EPOLLIN, kStopId);
    if (!m_epoll.Add(commandFd, EPOLLIN, kOrdersId) && errno == EPERM) {
        // A regular file is always ready and can't be watched: what it holds is obeyed at once.
        while (TakeOrders(commandFd)) {
        }
    }
    m_nextReport = Clock::now();
    for (bool stop = false; !stop;) {
        m_epoll.Wait(TimeoutMs(), [&](std::uint64_t id, std::uint32_t events) {
            if (id == kStopId) {
                stop = true;
            } else if (id == kListenerId) {
                AcceptAll();
            } else if (id == kOrdersId) {
                TakeOrders(commandFd);
            } else {
                Handle(id, events);
            }
        });
        SendRandomReports();
    }
}

void Simulator::AcceptAll() {
    while (UniqueFd fd = m_listener.Accept()) {
        const auto id = static_cast<std::uint64_t>(fd.Get());
        if (m_epoll.Add(fd.Get(), EPOLLIN, id)) {
            m_connections[id].fd = std::move(fd);
        }
    }
    if (errno != EAGAIN) {
        // No descriptor is left: newcomers wait until a connection ends.
        m_epoll.Modify(m_listener.Fd(), 0, kListenerId);
    }
}

void Simulator::Handle(std::uint64_t id, std::uint32_t events) {
    const auto found = m_connections.find(id);
    if (found == m_connections.end()) {
        return;
    }
    Connection& connection = found->second;
    if ((events & EPOLLOUT) != 0 && !Flush(connection)) {
        return;
    }
    std::array<char, kMaxBlock> block{};
    const ssize_t length = ::recv(connection.fd.Get(), block.data(), block.size(), MSG_DONTWAIT);
    if (length > 0) {
        Answer(connection, {block.data(), static_cast<std::size_t>(length)});
    } else if (length == 0 || (errno != EAGAIN && errno != ECONNRESET)) {
        // After ECONNRESET, what was sent before is still to be had.
        m_connections.erase(found);
        m_epoll.Modify(m_listener.Fd(), EPOLLIN, kListenerId);
    }
}

void Simulator::Answer(Connection& connection, std::string_view block) {
    Trace("<-", block);
    Packet packet;
    if (!ParsePacket(block, packet) || packet.payload.empty()) {
        return;
    }
    const std::int32_t number = packet.header.PacketNo;
    const auto acknowledge = [&](bool accepted) {
        Send(connection, {kAcknowledgement, static_cast<std::uint8_t>(accepted ? 0 : 1)}, number);
    };
    switch (packet.header.Cmd) {
    case kControlCommand:
        acknowledge(m_settings.Apply(packet.payload));
        break;
    case kQueryCommand:
        if (const Bytes answer = m_settings.Answer(packet.payload.size() < 2 ? -1 : packet.payload[1]);
            !answer.empty()) {
            Send(connection, answer, 0);
        }
        break;
    case kKeyCommand:
        if (const Bytes report = m_settings.PressKey(packet.payload); !report.empty()) {
            Broadcast(report);
        }
        break;
    case kAudioMixCommand:
        // Answered by the report alone, unless the state is unknown.
        if (const Bytes report = Settings::Mix(packet.payload); !report.empty()) {
            Send(connection, report, number);
        } else {
            acknowledge(false);
        }
        break;
    default:
        break;
    }
}

void Simulator::Send(Connection& connection, const Bytes& payload, std::int32_t number) {
    SendPacket(connection, MakePacket(payload, number));
}

void Simulator::SendPacket(Connection& connection, const Bytes& packet) {
    if (connection.outbox.size() >= kMaxOutbox) {
        // A service that takes nothing misses reports, as it would on a real device.
        return;
    }
    Trace("->", View(packet));
    connection.outbox.push_back(packet);
    Flush(connection);
}

void Simulator::Broadcast(const Bytes& payload) {
    for (auto& [id, connection] : m_connections) {
        Send(connection, payload, 0);
    }
}

/// Sends what there is room for; true when all of it went out.
bool Simulator::Flush(Connection& connection) {
    const int fd = connection.fd.Get();
    const auto id = static_cast<std::uint64_t>(fd);
    while (!connection.outbox.empty()) {
        const Bytes& packet = connection.outbox.front();
        if (::send(fd, packet.data(), packet.size(), MSG_NOSIGNAL | MSG_DONTWAIT) < 0 && errno == EAGAIN) {
            m_epoll.Modify(fd, EPOLLOUT, id);
            return false;
        }
        connection.outbox.pop_front();
    }
    m_epoll.Modify(fd, EPOLLIN, id);
    return true;
}

int Simulator::TimeoutMs() const {
    if (!m_random || m_connections.empty() || (m_options.reportCount && m_reportsSent >= *m_options.reportCount)) {
        return -1;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_nextReport - Clock::now()).count();
    return static_cast<int>(std::max<decltype(left)>(left, 0));
}

void Simulator::SendRandomReports() {
    if (TimeoutMs() != 0) {
        return;
    }
    for (auto& [id, connection] : m_connections) {
        // Reports are not saved up for a service that does not keep pace.
        if (connection.outbox.empty()) {
            SendPacket(connection, m_random->Next());
            ++m_reportsSent;
        }
    }
    // What is late, after a time without a service, is not made up for.
    const auto interval = std::chrono::microseconds(1000000 / m_options.reportsPerSecond);
    m_nextReport = std::max(m_nextReport + interval, Clock::now() - kLargestLag);
}

/// Reads and obeys orders; false at their end.
bool Simulator::TakeOrders(int commandFd) {
    std::array<char, kMaxOrder> text{};
    const ssize_t length = ::read(commandFd, text.data(), text.size());
    if (length <= 0) {
        m_epoll.Remove(commandFd);
        if (!m_orders.empty()) {
            Obey(std::exchange(m_orders, {}));
        }
        return false;
    }
    m_orders.append(text.data(), static_cast<std::size_t>(length));
    for (std::size_t end = m_orders.find('\n'); end != std::string::npos; end = m_orders.find('\n')) {
        Obey(m_orders.substr(0, end));
        m_orders.erase(0, end + 1);
    }
    if (m_orders.size() > kMaxOrder) {
        Obey(std::exchange(m_orders, {}));
    }
    return true;
}

void Simulator::Obey(const std::string& line) {
    std::istringstream words(line);
    std::string order;
    std::string name;
    int level = -1;
    std::string rest;
    const bool isOrder = words >> order >> name >> level && !(words >> rest) && order == "volume";
    const Bytes report = isOrder ? m_settings.ChangeVolume(name, level) : Bytes{};
    if (report.empty()) {
        std::fprintf(stderr, "mcusim: not an order: '%s' (volume NAME LEVEL)\n", line.substr(0, kMaxQuoted).c_str());
        return;
    }
    Broadcast(report);
}

void Simulator::Trace(const char* direction, std::string_view block) const {
    if (!m_options.trace) {
        return;
    }
    Packet packet;
    const std::string text =
        ParsePacket(block, packet) ? Describe(packet) : "a block of " + std::to_string(block.size()) + " bytes";
    std::printf("%s %s\n", direction, text.c_str());
    std::fflush(stdout);
}

} // namespace mcusim
