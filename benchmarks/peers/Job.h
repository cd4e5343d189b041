#ifndef TLG_BENCHMARKS_PEERS_JOB_H
#define TLG_BENCHMARKS_PEERS_JOB_H

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "benchmarks/peers/Broker.h"
#include "tools/mculink/Packet.h"

namespace peers {

/// One of the chain's kinds, as the other systems do it.
struct Job {
    std::string name;
    std::string kind;             ///< of the chain
    std::array<Values, 2> values; ///< that the HMI gives in turns; empty: the MCU reports on its own
    mculink::Bytes payload;       ///< of the command to the MCU
    std::size_t place;            ///< where the values stand in the payload, a byte each
    int messages;                 ///< that the service publishes and the HMI reads
    int unheard;                  ///< that the service publishes besides, to nobody
};

const std::vector<Job>& Jobs();

/// The one of that name.
const Job& JobOf(const std::string& name);

} // namespace peers

#endif
