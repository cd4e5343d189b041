#ifndef TLG_TOOLS_MCUSIM_SIMULATOR_H
#define TLG_TOOLS_MCUSIM_SIMULATOR_H

#include <chrono>
#include <deque>
#include <map>
#include <optional>
#include <string>

#include "platform/host/Epoll.h"
#include "platform/host/UnixSocket.h"
#include "tools/mcusim/RandomReports.h"
#include "tools/mcusim/Settings.h"

namespace mcusim {

struct Options {
    bool trace = false;                ///< print every packet
    std::optional<std::uint32_t> seed; ///< send random reports
    int reportsPerSecond = 200;        ///< so many, where the service takes them
    std::optional<long> reportCount;   ///< and then no more
};

/// The simulated audio MCU: one epoll loop on the thread that calls Run.
class Simulator {
public:
    explicit Simulator(const Options& options);

    /// Listens at the MCU device below the root. False, with the reason in @p error, on failure.
    bool Start(std::string& error);

    /// Serves until @p stopFd is readable. Lines from @p commandFd are orders such as "volume navi 20".
    void Run(int stopFd, int commandFd);

private:
    struct Connection {
        UniqueFd fd;
        std::deque<Bytes> outbox; // what waits for room; meanwhile nothing is taken in
    };

    void AcceptAll();
    void Handle(std::uint64_t id, std::uint32_t events);
    void Answer(Connection& connection, std::string_view block);
    void Send(Connection& connection, const Bytes& payload, std::int32_t number);
    void SendPacket(Connection& connection, const Bytes& packet);
    void Broadcast(const Bytes& payload);
    bool Flush(Connection& connection);
    void SendRandomReports();
    int TimeoutMs() const;
    bool TakeOrders(int commandFd);
    void Obey(const std::string& line);
    void Trace(const char* direction, std::string_view block) const;

    using Clock = std::chrono::steady_clock;

    Options m_options;
    Settings m_settings;
    host::Epoll m_epoll;
    host::Listener m_listener;
    std::map<std::uint64_t, Connection> m_connections; // by descriptor
    std::string m_orders;                              // the unfinished line
    std::optional<RandomReports> m_random;
    long m_reportsSent = 0;
    Clock::time_point m_nextReport;
};

} // namespace mcusim

#endif
