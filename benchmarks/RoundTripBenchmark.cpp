// The time from the HMI's write to the status attribute that it reads. The whole service runs in this process, with a
// PPS server and an MCU on threads of their own. The floor is the time of a bare packet over as many sockets.
#include <benchmark/benchmark.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include "platform/host/PpsConnection.h"
#include "service/CEQMidController.h"
#include "tools/mcusim/Simulator.h"
#include "tools/ppsd/Server.h"

namespace {

/// A server of the bench on a thread; @p Program has Run(stopFd, ...).
template <typename Program>
class Running {
public:
    template <typename Run>
    Running(Program& program, Run run) : m_stop(::eventfd(0, 0)) {
        std::string error;
        if (!program.Start(error)) {
            throw std::runtime_error(error);
        }
        m_thread = std::thread([this, run] { run(m_stop.Get()); });
    }
    ~Running() {
        ::eventfd_write(m_stop.Get(), 1);
        m_thread.join();
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

private:
    UniqueFd m_stop;
    std::thread m_thread;
};

/// The time in seconds that a packet takes through @p hops pairs of sockets, each with a thread.
double FloorSeconds(int hops) {
    std::vector<std::array<int, 2>> pairs(static_cast<std::size_t>(hops));
    std::vector<std::thread> relays;
    for (auto& pair : pairs) {
        if (::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, pair.data()) != 0) {
            throw std::runtime_error("socketpair");
        }
    }
    const auto relay = [](int from, int to) {
        std::array<char, 64> packet{};
        for (ssize_t n = ::read(from, packet.data(), packet.size()); n > 0;
             n = ::read(from, packet.data(), packet.size())) {
            if (::write(to, packet.data(), static_cast<std::size_t>(n)) != n) {
                return;
            }
        }
        ::shutdown(to, SHUT_WR);
    };
    for (std::size_t i = 0; i + 1 < pairs.size(); ++i) {
        relays.emplace_back(relay, pairs[i][1], pairs[i + 1][0]);
    }
    constexpr int kRounds = 2000;
    std::array<char, 64> packet{};
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < kRounds; ++i) {
        if (::write(pairs.front()[0], packet.data(), packet.size()) < 0 ||
            ::read(pairs.back()[1], packet.data(), packet.size()) < 0) {
            throw std::runtime_error("relay");
        }
    }
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    ::shutdown(pairs.front()[0], SHUT_WR);
    for (std::thread& each : relays) {
        each.join();
    }
    for (const auto& pair : pairs) {
        ::close(pair[0]);
        ::close(pair[1]);
    }
    return taken.count() / kRounds;
}

void CommandRoundTrip(benchmark::State& state) {
    std::string root = (std::filesystem::temp_directory_path() / "melvane.XXXXXX").string();
    ::setenv("TLG_ROOT", ::mkdtemp(root.data()), 1);
    ::setenv("TLG_SLOG_LEVEL", "0", 1);
    {
        ppsd::Server server;
        const Running<ppsd::Server> ppsd(server, [&](int stop) { server.Run(stop); });
        mcusim::Simulator simulator({});
        const UniqueFd noOrders(::eventfd(0, 0));
        const Running<mcusim::Simulator> mcu(simulator, [&](int stop) { simulator.Run(stop, noOrders.Get()); });
        CEQMidController controller;
        if (!controller.Init() || !controller.Start()) {
            throw std::runtime_error("the service does not start");
        }
        host::PpsReply reply;
        const UniqueFd control = host::OpenPpsObject("/pps/tolvyn/eq/control?wait", 0x102, reply);
        const UniqueFd status = host::OpenPpsObject("/pps/tolvyn/eq/status?delta,wait", 0x102, reply);
        std::string packet;
        int value = 0;
        for ([[maybe_unused]] auto _ : state) {
            value = value == 1 ? 2 : 1;
            const std::string command = "zosubwoofer_gain::" + std::to_string(value);
            const std::string published = "zosubwoofer_gain:n:" + std::to_string(value) + "\n";
            if (::write(control.Get(), command.data(), command.size()) < 0) {
                throw std::runtime_error("write");
            }
            do {
                host::ReceivePacket(status.Get(), packet);
            } while (packet.find(published) == std::string::npos);
        }
        controller.Stop();
        controller.Close();
    }
    std::filesystem::remove_all(root);
    // HMI, server, service, MCU, service, server, HMI.
    const double floor = FloorSeconds(6);
    state.counters["floor_us"] = floor * 1e6;
}
BENCHMARK(CommandRoundTrip)->UseRealTime()->Unit(benchmark::kMicrosecond);

} // namespace
