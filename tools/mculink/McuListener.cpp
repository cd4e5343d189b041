#include "tools/mculink/McuListener.h"

#include <cerrno>
#include <cstring>

namespace mculink {

bool ListenAsMcu(host::Listener& listener, const std::string& path, std::string& error) {
    if (listener.Open(path)) {
        return true;
    }
    error = "cannot listen at " + path + ": " + (errno == EADDRINUSE ? "another MCU runs there" : std::strerror(errno));
    return false;
}

} // namespace mculink
