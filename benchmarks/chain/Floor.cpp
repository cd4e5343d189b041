#include "benchmarks/chain/Floor.h"

#include <sys/socket.h>

#include <algorithm>
#include <utility>

#include "benchmarks/common/Clock.h"

namespace chain {

namespace {

constexpr std::size_t kMaxMessage = 4096;
using Message = std::array<char, kMaxMessage>;

void Check(ssize_t result) {
    if (result <= 0) {
        ::_exit(0); // the bench has ended
    }
}

} // namespace

Floor::Floor(std::vector<Hop> hops) : m_hops(std::move(hops)), m_begin(Shared<long>()) {
    for (std::size_t low = 0; low < kWhoCount; ++low) {
        for (std::size_t high = low + 1; high < kWhoCount; ++high) {
            int ends[2] = {-1, -1};
            if (::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends) != 0) {
                throw std::runtime_error("no sockets");
            }
            m_sockets.at(low).at(high) = {UniqueFd(ends[0]), UniqueFd(ends[1])};
        }
    }
    for (const Who who : {kServer, kService, kMcu}) {
        m_peers.push_back(std::make_unique<bench::Peer>([this, who] {
            for (;;) {
                Play(who);
            }
        }));
    }
}

int Floor::EndOf(Who mine, Who other) const {
    return m_sockets.at(std::min(mine, other)).at(std::max(mine, other)).at(mine < other ? 0 : 1).Get();
}

/// Does this one's part of one command.
void Floor::Play(Who who) const {
    Message message{};
    if (who == m_hops.front().from) {
        if (who != kHmi) {
            Check(::read(m_start.read.Get(), message.data(), 1));
        }
        *m_begin = bench::Now();
    }
    for (const Hop& hop : m_hops) {
        if (hop.from == who) {
            Check(::write(EndOf(who, hop.to), message.data(), hop.size));
        } else if (hop.to == who) {
            Check(::read(EndOf(who, hop.from), message.data(), message.size()));
        }
    }
}

long Floor::Pass() {
    if (m_hops.front().from != kHmi) {
        Check(::write(m_start.write.Get(), "", 1));
    }
    Play(kHmi);
    return bench::Now() - *m_begin;
}

} // namespace chain
