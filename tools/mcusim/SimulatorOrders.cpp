// How the simulator takes orders, and what they do.
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <utility>

#include "tools/mcusim/Orders.h"
#include "tools/mcusim/Simulator.h"

namespace mcusim {

namespace {

constexpr std::size_t kMaxOrder = 1024;

} // namespace

void Simulator::AcceptOrders() {
    while (UniqueFd fd = m_orderListener.Accept()) {
        const std::uint64_t id = m_nextConnection++;
        if (m_epoll.Add(fd.Get(), EPOLLIN, id)) {
            m_orderConnections[id] = std::move(fd);
        }
    }
    if (errno != EAGAIN) {
        m_epoll.Modify(m_orderListener.Fd(), 0, kOrdersId);
    }
}

/// Answers the one order of a connection, and ends it.
void Simulator::AnswerOrder(std::uint64_t id) {
    const UniqueFd fd = std::move(m_orderConnections[id]);
    m_orderConnections.erase(id);
    std::array<char, kMaxOrder> text{};
    const ssize_t length = ::recv(fd.Get(), text.data(), text.size(), MSG_DONTWAIT);
    const OrderResult result = Obey(*this, {text.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0))});
    const std::string answer = (result.isObeyed ? "ok " : "no ") + result.text;
    ::send(fd.Get(), answer.data(), answer.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    ListenAgain();
}

bool Simulator::ChangeVolume(const std::string& name, int level) {
    const Bytes report = m_settings.ChangeVolume(name, level);
    if (!report.empty()) {
        Broadcast(report);
    }
    return !report.empty();
}

void Simulator::SetFault(Fault fault, long count) {
    m_faults.Set(fault, count);
    for (auto& [id, connection] : m_connections) {
        if (!m_faults.IsOn(Fault::kReorder)) {
            if (const std::optional<Bytes> earlier = std::exchange(connection.heldBack, std::nullopt)) {
                SendPacket(connection, *earlier);
            }
        }
        Watch(connection);
    }
}

void Simulator::SetDelay(std::chrono::milliseconds delay) {
    m_faults.delay = delay;
    for (Later& later : m_later) {
        later.due = std::min(later.due, Clock::now() + delay);
    }
}

void Simulator::ClearFaults() {
    m_faults.Clear();
    SetDelay(std::chrono::milliseconds(0));
    SetFault(Fault::kReorder, 0);
}

void Simulator::HangUp() {
    m_connections.clear();
    m_later.clear();
    ListenAgain();
}

void Simulator::Restart(std::optional<std::uint32_t> seed) {
    HangUp();
    m_faults.Clear();
    m_settings = seed ? Settings(*seed) : Settings();
}

std::string Simulator::Show() const {
    std::string text;
    for (const RecordLayout& layout : kRecordLayouts) {
        mculink::Packet packet;
        mculink::ParsePacket(mculink::View(mculink::MakePacket(m_settings.Answer(layout.type), 0)), packet);
        text += mculink::Describe(packet) + "\n";
    }
    return text + "received commands=" + std::to_string(m_counts.commands) + " keys=" + std::to_string(m_counts.keys) +
           " queries=" + std::to_string(m_counts.queries);
}

/// Reads and obeys orders; false at their end.
bool Simulator::ReadOrders(int commandFd) {
    std::array<char, kMaxOrder> text{};
    const ssize_t length = ::read(commandFd, text.data(), text.size());
    if (length <= 0) {
        m_epoll.Remove(commandFd);
        if (!m_orders.empty()) {
            ObeyTyped(std::exchange(m_orders, {}));
        }
        return false;
    }
    m_orders.append(text.data(), static_cast<std::size_t>(length));
    for (std::size_t end = m_orders.find('\n'); end != std::string::npos; end = m_orders.find('\n')) {
        ObeyTyped(m_orders.substr(0, end));
        m_orders.erase(0, end + 1);
    }
    if (m_orders.size() > kMaxOrder) {
        ObeyTyped(std::exchange(m_orders, {}));
    }
    return true;
}

void Simulator::ObeyTyped(const std::string& line) {
    const OrderResult result = Obey(*this, line);
    std::FILE* out = result.isObeyed ? stdout : stderr;
    if (!result.text.empty()) {
        std::fprintf(out, "%s%s\n", result.isObeyed ? "" : "mcusim: ", result.text.c_str());
        std::fflush(out);
    }
}

} // namespace mcusim
