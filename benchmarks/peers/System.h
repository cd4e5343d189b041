#ifndef TLG_BENCHMARKS_PEERS_SYSTEM_H
#define TLG_BENCHMARKS_PEERS_SYSTEM_H

#include <memory>
#include <optional>
#include <string>

#include "benchmarks/chain/BareMcu.h"
#include "benchmarks/common/Peer.h"
#include "benchmarks/peers/Broker.h"
#include "benchmarks/peers/Job.h"
#include "platform/posix/UniqueFd.h"

namespace peers {

/// A broker, a service on it that passes on what it must, and the chain's bare MCU. The caller is the HMI.
class System {
public:
    /// @param directory for its sockets
    System(std::unique_ptr<Broker> broker, const std::string& directory);

    const char* Name() const { return m_broker->Name(); }

    /// Has one job done. The time in nanoseconds from its beginning to the last message received.
    long Pass(const Job& job);

private:
    std::unique_ptr<Broker> m_broker;
    chain::McuTrace* m_trace;
    UniqueFd m_order; // has the MCU report
    std::optional<bench::Peer> m_mcu;
    std::optional<bench::Peer> m_service;
    std::unique_ptr<Endpoint> m_hmi;
    bool m_isSecond = false; // which values are next
};

} // namespace peers

#endif
