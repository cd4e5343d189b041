#ifndef TLG_BENCHMARKS_CHAIN_CHAIN_H
#define TLG_BENCHMARKS_CHAIN_CHAIN_H

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "benchmarks/chain/Floor.h"
#include "benchmarks/chain/Kind.h"
#include "benchmarks/chain/Usage.h"

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
    ~Chain();
    Chain(const Chain&) = delete;
    Chain& operator=(const Chain&) = delete;

    /// Has one command of this kind done. The time in nanoseconds from the write to the last message read.
    long Pass(const Kind& kind);

    /// The hops of one command of this kind, as they go through this chain.
    std::vector<Hop> HopsOf(const Kind& kind);

    /// The time in nanoseconds that @p count commands take with @p underWay of them written ahead.
    long PassMany(const Kind& kind, int count, int underWay);

    /// The processes: "ppsd" and "melvane".
    std::vector<Process> Processes() const;

private:
    void StartPrograms(const std::string& programs, const LogMode& log, const std::string& preload);
    void Write(const Kind& kind);
    std::size_t ReadHeard(const Kind& kind);

    std::string m_root;
    long* m_begun;
    UniqueFd m_order;                           // has the MCU report
    std::vector<std::unique_ptr<Peer>> m_peers; // in the order of their start
    pid_t m_server = 0;
    pid_t m_service = 0;
    UniqueFd m_control;
    UniqueFd m_status;
    UniqueFd m_settings;
    std::map<const Kind*, bool> m_isSecond; // whether its second line is next
    std::size_t m_lastSize = 0;
};

} // namespace chain

#endif
