#ifndef TLG_TOOLS_COMMON_READY_H
#define TLG_TOOLS_COMMON_READY_H

#include <sys/socket.h>
#include <sys/un.h>

#include <cstddef>
#include <cstdlib>
#include <string>

#include "platform/posix/UniqueFd.h"
#include "tools/common/Output.h"

/// Tells systemd that the program serves now, where it was started as a unit that waits for that.
inline void NotifyReady() {
    const char* const path = std::getenv("NOTIFY_SOCKET");
    sockaddr_un address{};
    const std::size_t length = path == nullptr ? 0 : std::string(path).copy(address.sun_path, sizeof address.sun_path);
    if (length == 0 || length == sizeof address.sun_path) {
        return;
    }
    if (address.sun_path[0] == '@') {
        address.sun_path[0] = '\0'; // an abstract name
    }
    address.sun_family = AF_UNIX;
    const UniqueFd socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    constexpr char kReady[] = "READY=1";
    ::sendto(socket.Get(), kReady, sizeof kReady - 1, MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&address),
             static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length));
}

/// Prints that the program serves now, and tells systemd.
inline void SayReady(const std::string& program) {
    PrintLine(program + ": ready");
    NotifyReady();
}

#endif
