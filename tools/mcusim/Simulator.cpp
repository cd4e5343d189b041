#include "tools/mcusim/Simulator.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include "framework/SystemFiles.h"
#include "model/McuCommands.h"
#include "platform/host/Root.h"
#include "tools/common/Time.h"
#include "tools/mculink/McuListener.h"

namespace mcusim {

namespace {

constexpr int kBlocksPerTurn = 64;
constexpr auto kLargestLag = std::chrono::milliseconds(10);
constexpr std::int32_t kOtherNumber = 100000; // by how much the number of a renumbered answer is wrong
constexpr std::size_t kMaxWaiting = 65536;    // packets of a connection

} // namespace

Simulator::Simulator(const Options& options)
    : m_options(options),
      m_desk(
          m_epoll, [this](std::string_view line) { return Obey(*this, line); }, [this] { ListenAgain(); }) {
    if (options.seed) {
        m_random.emplace(*options.seed);
    }
}

bool Simulator::Start(std::string& error) {
    const std::string path = m_options.at.empty() ? host::BelowRoot(TLG::ZOCAR::g_eqMCU.path) : m_options.at;
    if (!mculink::ListenAsMcu(m_listener, path, error)) {
        return false;
    }
    if (!m_epoll.Open() || !m_epoll.Add(m_listener.Fd(), EPOLLIN, kListenerId)) {
        error = std::string("cannot wait for connections: ") + std::strerror(errno);
        return false;
    }
    return m_desk.Listen(error) && (m_options.script.empty() || m_desk.TakeScript(m_options.script, error));
}

bool Simulator::Run(int stopFd, int commandFd) {
    m_epoll.Add(stopFd, EPOLLIN, kStopId);
    m_desk.TakeInput(commandFd);
    m_desk.GoOn();
    m_nextReport = Clock::now();
    for (bool stop = false; !stop && !m_desk.IsEnded() && !m_desk.HasScriptFailed();) {
        m_epoll.Wait(TimeoutMs(), [&](std::uint64_t id, std::uint32_t events) {
            if (id == kStopId) {
                stop = true;
            } else if (id == kListenerId) {
                AcceptAll();
            } else if (id >= OrderDesk::kFirstId) {
                m_desk.Handle(id, events);
            } else {
                Handle(id, events);
            }
        });
        SendLater();
        SendRandomReports();
        m_desk.GoOn();
    }
    return !m_desk.HasScriptFailed();
}

void Simulator::AcceptAll() {
    while (UniqueFd fd = m_listener.Accept()) {
        const std::uint64_t id = m_nextConnection++;
        if (m_epoll.Add(fd.Get(), EPOLLIN, id)) {
            Connection& connection = m_connections[id];
            connection.fd = std::move(fd);
            Watch(connection);
        }
    }
    if (errno != EAGAIN) {
        // No descriptor is left: newcomers wait until a connection ends.
        m_epoll.Modify(m_listener.Fd(), 0, kListenerId);
    }
}

/// Called when a descriptor is free: accepts newcomers that had to wait.
void Simulator::ListenAgain() {
    m_epoll.Modify(m_listener.Fd(), EPOLLIN, kListenerId);
    m_desk.ListenAgain();
}

void Simulator::Handle(std::uint64_t id, std::uint32_t events) {
    for (int block = 0; block < kBlocksPerTurn; ++block) {
        const auto found = m_connections.find(id);
        if (found == m_connections.end()) {
            return;
        }
        if ((events & EPOLLOUT) != 0) {
            Flush(found->second);
            events &= ~std::uint32_t{EPOLLOUT};
        }
        if (m_faults.IsOn(Fault::kDeaf) && (events & (EPOLLHUP | EPOLLERR)) == 0) {
            return;
        }
        std::array<char, kMaxBlock> text{};
        const ssize_t length = ::recv(found->second.fd.Get(), text.data(), text.size(), MSG_DONTWAIT);
        if (length > 0) {
            Answer(id, {text.data(), static_cast<std::size_t>(length)});
        } else if (length == 0 || (errno != EAGAIN && errno != ECONNRESET)) {
            // After ECONNRESET, what was sent before can still be read.
            m_connections.erase(found);
            ListenAgain();
        } else if (errno == EAGAIN) {
            return;
        }
    }
}

void Simulator::Answer(std::uint64_t id, std::string_view block) {
    Trace("<-", block);
    mculink::Packet packet;
    if (!mculink::ParsePacket(block, packet) || packet.payload.empty()) {
        return;
    }
    const std::int32_t number = packet.header.PacketNo;
    const auto acknowledge = [&](bool isAccepted) {
        Reply(id, {kAcknowledgement, static_cast<std::uint8_t>(isAccepted ? 0 : 1)}, number);
    };
    switch (packet.header.Cmd) {
    case kControlCommand:
        ++m_counts.commands;
        acknowledge(!m_faults.Happens(Fault::kRefuse) && m_settings.Apply(packet.payload));
        break;
    case kQueryCommand:
        ++m_counts.queries;
        if (const Bytes answer = m_settings.Answer(packet.payload.size() < 2 ? -1 : packet.payload[1]);
            !answer.empty()) {
            Reply(id, answer, 0);
        }
        break;
    case kKeyCommand:
        ++m_counts.keys;
        if (const Bytes report = m_settings.PressKey(packet.payload); !report.empty()) {
            Broadcast(report);
        }
        break;
    case kAudioMixCommand:
        ++m_counts.commands;
        // Answered by the report alone, unless the state is unknown.
        if (const Bytes report = Settings::Mix(packet.payload); !report.empty() && !m_faults.Happens(Fault::kRefuse)) {
            Reply(id, report, number);
        } else {
            acknowledge(false);
        }
        break;
    default:
        break;
    }
}

/// Sends an answer, with the faults that happen to answers.
void Simulator::Reply(std::uint64_t id, const Bytes& payload, std::int32_t number) {
    if (m_faults.Happens(Fault::kDrop)) {
        return;
    }
    const std::int32_t otherNumber = number < kOtherNumber ? number + kOtherNumber : number - kOtherNumber;
    Bytes packet = mculink::MakePacket(payload, m_faults.Happens(Fault::kRenumber) ? otherNumber : number);
    if (m_faults.Happens(Fault::kCorrupt)) {
        // By turns: a payload that is not as long as announced, or less than a header.
        const bool isCut = std::exchange(m_cutNext, !m_cutNext);
        packet.resize(isCut ? packet.size() - 1 : sizeof(TLG::ZOCAR::PacketHeader_s) - 1);
    }
    const int times = m_faults.Happens(Fault::kDuplicate) ? 2 : 1;
    for (int i = 0; i < times; ++i) {
        if (m_faults.delay.count() > 0 || !m_later.empty()) {
            m_later.push_back({Clock::now() + m_faults.delay, id, packet});
        } else {
            Deliver(id, packet);
        }
    }
}

/// Sends an answer now, or after the next one.
void Simulator::Deliver(std::uint64_t id, const Bytes& packet) {
    const auto found = m_connections.find(id);
    if (found == m_connections.end()) {
        return;
    }
    Connection& connection = found->second;
    if (!connection.heldBack && m_faults.Happens(Fault::kReorder)) {
        connection.heldBack = packet;
        return;
    }
    SendPacket(connection, packet);
    if (const std::optional<Bytes> earlier = std::exchange(connection.heldBack, std::nullopt)) {
        SendPacket(connection, *earlier);
    }
}

void Simulator::SendPacket(Connection& connection, const Bytes& packet) {
    if (connection.outbox.size() >= kMaxWaiting || m_faults.IsOn(Fault::kSilence)) {
        return;
    }
    Trace("->", mculink::View(packet));
    connection.outbox.push_back(packet);
    Flush(connection);
}

/// Sends waiting packets, as far as there is room.
void Simulator::Flush(Connection& connection) {
    while (!connection.outbox.empty()) {
        const Bytes& packet = connection.outbox.front();
        if (::send(connection.fd.Get(), packet.data(), packet.size(), MSG_NOSIGNAL | MSG_DONTWAIT) < 0 &&
            errno == EAGAIN) {
            break;
        }
        connection.outbox.pop_front();
    }
    Watch(connection);
}

void Simulator::Watch(const Connection& connection) const {
    const auto isThis = [&](const auto& each) { return &each.second == &connection; };
    const auto found = std::find_if(m_connections.begin(), m_connections.end(), isThis);
    const std::uint32_t events =
        (m_faults.IsOn(Fault::kDeaf) ? 0U : EPOLLIN) | (connection.outbox.empty() ? 0U : EPOLLOUT);
    m_epoll.Modify(connection.fd.Get(), events, found->first);
}

bool Simulator::IsReportDue() const {
    return m_random && !m_connections.empty() && !(m_options.reportCount && m_reportsSent >= *m_options.reportCount);
}

int Simulator::TimeoutMs() const {
    std::optional<Clock::time_point> due = m_desk.Due();
    if (IsReportDue()) {
        due = std::min(due.value_or(m_nextReport), m_nextReport);
    }
    if (!m_later.empty()) {
        due = std::min(due.value_or(m_later.front().due), m_later.front().due);
    }
    return due ? MillisecondsUntil(*due) : -1;
}

/// Sends the answers whose time has come.
void Simulator::SendLater() {
    while (!m_later.empty() && m_later.front().due <= Clock::now()) {
        const Later later = std::move(m_later.front());
        m_later.pop_front();
        Deliver(later.connection, later.packet);
    }
}

void Simulator::SendRandomReports() {
    if (!IsReportDue() || m_nextReport > Clock::now()) {
        return;
    }
    for (auto& [id, connection] : m_connections) {
        // Reports are not kept for a service that is slower.
        if (connection.outbox.empty()) {
            SendPacket(connection, m_random->Next());
            ++m_reportsSent;
        }
    }
    // Reports that were due while no service was connected are not sent later.
    const auto interval = std::chrono::microseconds(1000000 / m_options.reportsPerSecond);
    m_nextReport = std::max(m_nextReport + interval, Clock::now() - kLargestLag);
}

void Simulator::Trace(const char* direction, std::string_view block) const {
    if (!m_options.trace) {
        return;
    }
    mculink::Packet packet;
    const std::string text = mculink::ParsePacket(block, packet)
                                 ? mculink::Describe(packet)
                                 : "a block of " + std::to_string(block.size()) + " bytes";
    m_desk.Print(direction + (" " + text));
}

} // namespace mcusim
