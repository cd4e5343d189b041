#ifndef TLG_BENCHMARKS_CHAIN_BAREMCU_H
#define TLG_BENCHMARKS_CHAIN_BAREMCU_H

#include <string>

namespace chain {

/// Is an MCU that does only what must be: answers queries, acknowledges commands, reports what mute keys and audio
/// mixing ask for. Serves one service, and returns when that ends.
/// @param path    the device's socket, at which it listens
/// @param readyFd becomes readable for the bench when it listens
/// @param orderFd each byte read from it has it report another ALC value
/// @param begun   receives the time at which such a report is sent
void RunBareMcu(const std::string& path, int readyFd, int orderFd, long* begun);

} // namespace chain

#endif
