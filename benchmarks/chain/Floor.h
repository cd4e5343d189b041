// The least that the interfaces allow: bare processes that pass the same bytes over the same socket hops, each blocked
// in the one read that is due.
#ifndef TLG_BENCHMARKS_CHAIN_FLOOR_H
#define TLG_BENCHMARKS_CHAIN_FLOOR_H

#include <sys/mman.h>

#include <array>
#include <memory>
#include <new>
#include <stdexcept>
#include <vector>

#include "benchmarks/common/Peer.h"
#include "benchmarks/common/Pipe.h"
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
    bench::Pipe m_start;     // where the first hop is not the HMI's, it tells that one to begin
    long* m_begin = nullptr; // when the first hop began, in memory that all share
    std::vector<std::unique_ptr<bench::Peer>> m_peers;
};

/// A value in memory that all processes made later share. Never freed.
template <typename Value>
Value* Shared() {
    void* memory = ::mmap(nullptr, sizeof(Value), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::runtime_error("no memory");
    }
    return new (memory) Value();
}

} // namespace chain

#endif
