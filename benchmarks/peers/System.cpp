#include "benchmarks/peers/System.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <deque>
#include <utility>

#include "benchmarks/chain/Floor.h"
#include "benchmarks/common/Clock.h"
#include "benchmarks/common/Pipe.h"
#include "model/McuCommands.h"
#include "platform/host/UnixSocket.h"
#include "tools/mculink/Packet.h"

namespace peers {

namespace {

/// Sends the MCU each command, and publishes what it has acknowledged or reports. It checks and keeps nothing.
class Service {
public:
    Service(Endpoint& endpoint, int mcu) : m_endpoint(endpoint), m_mcu(mcu) {}

    void Run() {
        std::array<pollfd, 2> ready{{{m_endpoint.Fd(), POLLIN, 0}, {m_mcu, POLLIN, 0}}};
        for (bool isServing = true; isServing;) {
            ::poll(ready.data(), ready.size(), -1);
            if (ready[0].revents != 0) {
                m_endpoint.Receive([this](const std::string& name, const Values& values) { Command(name, values); });
            }
            isServing = ready[1].revents == 0 || TakePacket();
        }
    }

private:
    void Command(const std::string& name, const Values& values) {
        const Job& job = JobOf(name);
        mculink::Bytes payload = job.payload;
        std::copy(values.begin(), values.end(), payload.begin() + static_cast<std::ptrdiff_t>(job.place));
        const mculink::Bytes packet = mculink::MakePacket(payload, ++m_number);
        m_pending.emplace_back(job, values);
        ::send(m_mcu, packet.data(), packet.size(), MSG_NOSIGNAL);
    }

    /// False when the MCU has ended.
    bool TakePacket() {
        std::array<char, 4096> block{};
        const ssize_t length = ::recv(m_mcu, block.data(), block.size(), 0);
        mculink::Packet packet;
        if (length <= 0 || !mculink::ParsePacket({block.data(), static_cast<std::size_t>(length)}, packet)) {
            return false;
        }
        if (packet.header.Cmd == kAcknowledgement) {
            const auto [job, values] = m_pending.front();
            m_pending.pop_front();
            for (int i = 0; i < job.messages + job.unheard; ++i) {
                m_endpoint.Send(job.name, values, i < job.messages);
            }
        } else {
            m_endpoint.Send("report", {packet.payload.back()}, true);
        }
        return true;
    }

    Endpoint& m_endpoint;
    int m_mcu;
    std::int32_t m_number = 0;
    std::deque<std::pair<const Job&, Values>> m_pending;
};

} // namespace

System::System(std::unique_ptr<Broker> broker, const std::string& directory)
    : m_broker(std::move(broker)), m_trace(chain::Shared<chain::McuTrace>()) {
    const std::string device = directory + "/mcu-" + m_broker->Name();
    const bench::Pipe ready;
    bench::Pipe orders;
    m_order = std::move(orders.write);
    m_mcu.emplace([&] { chain::RunBareMcu(device, ready.write.Get(), orders.read.Get(), *m_trace); });
    char byte = 0;
    if (::read(ready.read.Get(), &byte, 1) != 1) {
        throw std::runtime_error("the MCU did not start");
    }
    m_service.emplace([&] {
        const std::unique_ptr<Endpoint> endpoint = m_broker->Connect(Role::kService);
        const UniqueFd mcu = host::ConnectTo(device);
        if (::write(ready.write.Get(), "s", 1) == 1) {
            Service(*endpoint, mcu.Get()).Run();
        }
    });
    m_hmi = m_broker->Connect(Role::kHmi);
    if (::read(ready.read.Get(), &byte, 1) != 1) {
        throw std::runtime_error("the service did not start");
    }
}

long System::Pass(const Job& job) {
    const bool isReport = job.payload.empty();
    const long begin = bench::Now();
    if (isReport) {
        if (::write(m_order.Get(), "", 1) != 1) {
            throw std::runtime_error("the MCU has ended");
        }
    } else {
        m_isSecond = !m_isSecond;
        m_hmi->Send(job.name, job.values[m_isSecond ? 1 : 0], true);
    }
    pollfd ready{m_hmi->Fd(), POLLIN, 0};
    for (int heard = 0; heard < job.messages;) {
        constexpr int kPatienceMs = 10000;
        if (::poll(&ready, 1, kPatienceMs) != 1) {
            throw std::runtime_error(std::string(Name()) + " does not answer");
        }
        m_hmi->Receive([&](const std::string& name, const Values& /*values*/) { heard += name == job.name ? 1 : 0; });
    }
    return bench::Now() - (isReport ? m_trace->begun : begin);
}

} // namespace peers
