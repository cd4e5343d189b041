#include "framework/InstanceGuard.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>

namespace TLG::ZOCAR {

bool InstanceGuard::Hold() {
    const char* root = std::getenv("TLG_ROOT");
    struct stat status {};
    if (::stat(root == nullptr || *root == '\0' ? "/" : root, &status) != 0) {
        // Without a root nothing can be opened, as opening will tell.
        return true;
    }
    // An abstract socket address: a leading zero, and no file.
    std::string name(1, '\0');
    name.append("tlg.").append(program_invocation_short_name).append(".");
    name.append(std::to_string(status.st_dev)).append(".").append(std::to_string(status.st_ino));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    name.resize(std::min(name.size(), sizeof address.sun_path));
    std::memcpy(address.sun_path, name.data(), name.size());
    m_name.Reset(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
    return ::bind(m_name.Get(), reinterpret_cast<const sockaddr*>(&address), length) == 0 || errno != EADDRINUSE;
}

} // namespace TLG::ZOCAR
