#ifndef TLG_TOOLS_MCUSIM_SIMULATOR_H
#define TLG_TOOLS_MCUSIM_SIMULATOR_H

#include <chrono>
#include <deque>
#include <map>
#include <optional>
#include <string>

#include "platform/host/UnixSocket.h"
#include "platform/posix/Epoll.h"
#include "tools/mcusim/Faults.h"
#include "tools/mcusim/Knobs.h"
#include "tools/mcusim/OrderDesk.h"
#include "tools/mcusim/RandomReports.h"
#include "tools/mcusim/Settings.h"

namespace mcusim {

struct Options {
    std::string at;                    ///< the socket to listen at; empty: the MCU device below the root
    bool trace = false;                ///< print every packet
    std::optional<std::uint32_t> seed; ///< send random reports
    int reportsPerSecond = 200;        ///< at most; fewer where the service reads more slowly
    std::optional<long> reportCount;   ///< how many are sent in all; empty: no end
    std::string script;                ///< a file with orders; empty: none
};

constexpr std::size_t kMaxBlock = 64U * 1024U;
// A service that does not read misses reports, as it would on a real device. Many more answers are kept.
constexpr std::size_t kMaxWaitingReports = 1024;

/// The simulated audio MCU: one epoll loop on the thread that calls Run. It reads also while it can't send.
class Simulator {
public:
    explicit Simulator(const Options& options);

    /// Listens at the MCU device and for orders. False, with the reason in @p error, on failure.
    bool Start(std::string& error);

    /// Serves until @p stopFd is readable. Lines from @p commandFd are orders such as "volume navi 20"; where it is a
    /// terminal, the end of its prompt is the end, too. False where an order of the script is wrong.
    bool Run(int stopFd, int commandFd);

    // ---- What orders do; on the thread of Run ----

    /// Takes over a record, and reports it.
    void Turn(const Change& change);
    /// Takes over all records, and reports those that changed.
    void TakeAndReport(const Settings& settings);
    /// Sends this packet, whatever it holds, to all that are connected.
    void Send(const Bytes& packet);
    /// @param count how often from now on; 0: no more; Faults::kAlways: until another order
    void SetFault(Fault fault, long count);
    /// @param delay of answers from now on; answers that wait already are sent within this time at the latest
    void SetDelay(std::chrono::milliseconds delay);
    void ClearFaults();
    /// Ends all connections.
    void HangUp();
    /// Ends all connections and faults, and goes on with these settings.
    void Restart(const Settings& settings);
    const Settings& CurrentSettings() const { return m_settings; }
    bool HasService() const { return !m_connections.empty(); }
    /// How many packets of a kind ("commands", "keys", "queries") came so far; null for other words.
    const long* CounterOf(std::string_view word) const;
    /// The settings, a record a line as Describe() writes it, and what was received so far.
    std::string Show() const;

private:
    using Clock = std::chrono::steady_clock;

    // In the epoll set; connections have their number.
    static constexpr std::uint64_t kListenerId = ~std::uint64_t{0};
    static constexpr std::uint64_t kStopId = kListenerId - 1;

    struct Connection {
        UniqueFd fd;
        std::deque<Bytes> outbox; // what waits for room
        std::optional<Bytes> heldBack;
    };
    struct Later {
        Clock::time_point due;
        std::uint64_t connection;
        Bytes packet;
    };
    struct Counts {
        long commands = 0; ///< numbered ones
        long keys = 0;
        long queries = 0;
    };

    void AcceptAll();
    void ListenAgain();
    void Handle(std::uint64_t id, std::uint32_t events);
    void Answer(std::uint64_t id, std::string_view block);
    void Reply(std::uint64_t id, const Bytes& payload, std::int32_t number);
    void Deliver(std::uint64_t id, const Bytes& packet);
    void SendPacket(Connection& connection, const Bytes& packet);
    void Broadcast(const Bytes& payload) { Send(mculink::MakePacket(payload, 0)); }
    void Flush(Connection& connection);
    void Watch(const Connection& connection) const;
    void SendLater();
    void SendRandomReports();
    bool IsReportDue() const;
    int TimeoutMs() const;
    void Trace(const char* direction, std::string_view block) const;

    Options m_options;
    Settings m_settings;
    Faults m_faults;
    Counts m_counts;
    bool m_cutNext = true; // how the next corrupt answer is damaged
    Epoll m_epoll;
    host::Listener m_listener;
    OrderDesk m_desk;
    std::map<std::uint64_t, Connection> m_connections; // by number, which is never used again
    std::uint64_t m_nextConnection = 0;
    std::deque<Later> m_later; // in their order
    std::optional<RandomReports> m_random;
    long m_reportsSent = 0;
    Clock::time_point m_nextReport;
};

} // namespace mcusim

#endif
