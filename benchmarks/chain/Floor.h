// The least that the interfaces allow: bare processes that pass the same bytes over the same socket hops, each blocked
// in the one read that is due.
#ifndef TLG_BENCHMARKS_CHAIN_FLOOR_H
#define TLG_BENCHMARKS_CHAIN_FLOOR_H

#include <array>
#include <chrono>
#include <memory>
#include <vector>

#include "benchmarks/chain/Peer.h"
#include "platform/posix/UniqueFd.h"

namespace chain {

enum Who : std::size_t { kHmi, kServer, kService, kMcu, kWhoCount };

/// A message from one to another.
struct Hop {
    Who from;
    Who to;
    std::size_t size;
};

class Floor {
public:
    /// Starts the processes; the caller is the HMI.
    /// @param hops of one command, in their order; the last one is to the HMI
    explicit Floor(std::vector<Hop> hops);

    /// Passes one command on. The time in nanoseconds from its first hop to the end of the last one.
    long Pass();

private:
    using Pair = std::array<UniqueFd, 2>;

    void Play(Who who) const;
    int EndOf(Who mine, Who other) const;

    std::vector<Hop> m_hops;
    std::array<std::array<Pair, kWhoCount>, kWhoCount> m_sockets; // by the lower and the higher of the two
    UniqueFd m_startRead; // where the first hop is not the HMI's, it tells that one to begin
    UniqueFd m_startWrite;
    long* m_begin = nullptr; // when the first hop began, in memory that all share
    std::vector<std::unique_ptr<Peer>> m_peers;
};

/// Nanoseconds of the monotonic clock.
inline long Now() {
    return std::chrono::steady_clock::now().time_since_epoch().count();
}

/// A number in memory that all processes made later share. Never freed.
long* SharedNumber();

} // namespace chain

#endif
