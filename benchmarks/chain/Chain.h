#ifndef TLG_BENCHMARKS_CHAIN_CHAIN_H
#define TLG_BENCHMARKS_CHAIN_CHAIN_H

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "benchmarks/chain/BareMcu.h"
#include "benchmarks/chain/Floor.h"
#include "benchmarks/chain/Kind.h"
#include "benchmarks/common/PpsServer.h"
#include "benchmarks/common/Usage.h"

namespace chain {

/// What becomes of the service's log.
struct LogMode {
    const char* name;
    int level;
    bool hasReader; ///< a process reads it from a pipe; otherwise it goes to nothing
};

/// The real programs below a root of their own: ppsd, melvane and a bare MCU. The caller is the HMI.
class Chain {
public:
    /// @param preload a library that the service and the server are started with; empty: none
    Chain(const std::string& programs, const LogMode& log, const std::string& preload = "");
    Chain(const Chain&) = delete;
    Chain& operator=(const Chain&) = delete;

    /// Has one command of this kind done. The time in nanoseconds from the write to the last message read.
    long Pass(const Kind& kind);

    /// The hops of one command of this kind, as they go through this chain.
    std::vector<Hop> HopsOf(const Kind& kind);

    /// The time in nanoseconds that @p count commands take with @p underWay of them written ahead.
    long PassMany(const Kind& kind, int count, int underWay);

    /// The processes: "ppsd" and "melvane".
    std::vector<bench::Process> Processes() const;

private:
    void StartMcu();
    void StartService(const std::string& programs, const LogMode& log, const std::string& preload);
    void Write(const Kind& kind);
    std::size_t ReadHeard(const Kind& kind);

    bench::PpsServer m_server;
    McuTrace* m_trace;
    UniqueFd m_order; // has the MCU report
    std::optional<bench::Peer> m_mcu;
    std::optional<bench::Peer> m_logReader;
    std::optional<bench::Peer> m_service;
    UniqueFd m_control;
    UniqueFd m_status;
    UniqueFd m_settings;
    std::map<const Kind*, bool> m_isSecond; // whether its second line is next
    std::vector<std::size_t> m_heardSizes;  // of the last command's messages
};

} // namespace chain

#endif
