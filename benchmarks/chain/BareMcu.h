#ifndef TLG_BENCHMARKS_CHAIN_BAREMCU_H
#define TLG_BENCHMARKS_CHAIN_BAREMCU_H

#include <cstddef>
#include <string>

namespace chain {

/// What the bench wants to know of the MCU, in memory that both share.
struct McuTrace {
    long begun = 0;           ///< when the last report was sent
    std::size_t received = 0; ///< the size of the last packet from the service
    std::size_t sent = 0;     ///< the size of the last packet to it
};

/// Is an MCU that does only what must be: answers queries, acknowledges commands, reports what mute keys and audio
/// mixing ask for. Serves one service, and returns when that ends.
/// @param path    the device's socket, at which it listens
/// @param readyFd becomes readable for the bench when it listens
/// @param orderFd each byte read from it has it report another ALC value
void RunBareMcu(const std::string& path, int readyFd, int orderFd, McuTrace& trace);

} // namespace chain

#endif
