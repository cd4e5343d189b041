#include "tools/panel/PeerUser.h"

#include <arpa/inet.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

namespace panel {

std::optional<uid_t> UserOfPeer(int peerPort, int ownPort) {
    // Addresses are in the machine's order of bytes, ports are not.
    std::array<char, 64> connection{};
    std::snprintf(connection.data(), connection.size(), "%08X:%04X %08X:%04X", ::htonl(INADDR_LOOPBACK),
                  static_cast<unsigned>(peerPort), ::htonl(INADDR_LOOPBACK), static_cast<unsigned>(ownPort));
    std::ifstream connections("/proc/net/tcp");
    for (std::string line; std::getline(connections, line);) {
        if (line.find(connection.data()) == std::string::npos) {
            continue;
        }
        // number local remote state queues timer retransmissions user ...
        std::istringstream words(line);
        std::string skipped;
        uid_t user = 0;
        for (int i = 0; i < 7; ++i) {
            words >> skipped;
        }
        return words >> user ? std::optional(user) : std::nullopt;
    }
    return std::nullopt;
}

} // namespace panel
